#include "ril/core/src/gprs/suspend.h"

#include <array>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

namespace {

constexpr int32_t c_oem_data_service = 211;
enum data_service : int32_t { DATA_SUSPENDED = 0, DATA_RESUMED = 1 };

uint32_t b_data_suspended = 0;

void tell_android(uint32_t sim_id, data_service state) {
    const std::array<int32_t, 2> message = {c_oem_data_service, state};
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_OEM_HOOK_RAW, message.data(), sizeof(message));
}

void ind_cb_net_gprs_suspend(uint32_t sim_id, const void* p_params) {
    RIL_TRACE(TRACE_DETAIL, "%s: cause = %d\n", __func__,
              static_cast<const UtaCallPsSuspendIndCbParams*>(p_params)->cause);
    if (b_data_suspended != 1) {
        b_data_suspended = 1;
        tell_android(sim_id, DATA_SUSPENDED);
    }
}

void ind_cb_net_gprs_resume(uint32_t sim_id, const void* p_params) {
    (void)p_params;
    if (b_data_suspended == 1) {
        b_data_suspended = 0;
        tell_android(sim_id, DATA_RESUMED);
    }
}

void ind_cb_net_gprs_class(uint32_t sim_id, const void* p_params) {
    (void)sim_id;
    constexpr std::array<const char*, 5> c_classes = {"A", "B", "C", "CC", "CG"};
    const auto value = static_cast<uint32_t>(static_cast<const UtaNetGprsClassIndParam*>(p_params)->gprs_class);
    if (value < c_classes.size()) {
        RIL_TRACE(TRACE_EVENT, "ME CLASS %s", c_classes[value]);
    } else {
        RIL_TRACE(TRACE_EVENT, "NO CLASS");
    }
}

}  // namespace

void suspend_start() {
    b_data_suspended = 0;
}

void UtaMsCallPsSuspendIndCb(uint32_t sim_id, const UtaCallPsSuspendIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, ind_cb_net_gprs_suspend);
}

void UtaMsCallPsResumeIndCb(uint32_t sim_id) {
    qelril_post_utamsindcb(sim_id, nullptr, ind_cb_net_gprs_resume);
}

void UtaMsNetGprsClassIndCb(uint32_t sim_id, const UtaNetGprsClassIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, ind_cb_net_gprs_class);
}
