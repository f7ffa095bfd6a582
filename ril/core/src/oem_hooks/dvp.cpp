#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/oem_hooks/oem_hooks.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

// The answers carry no stack: they are taken for the first one's, also in the second one's process.
constexpr uint32_t c_first_stack = 0;

void get_dvp_info_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    const auto& info = *static_cast<const UtaNetGetDvpInfoRspParams*>(p_params);
    if (info.result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s failed to get dvp state info\n", __func__);
        qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    char text[] = {info.state >= 1 && info.state <= 3 ? '1' : '0', '\0'};
    char* answer = text;
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &answer, sizeof(answer));
}

void net_configure_dvp_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    const bool good = static_cast<const UtaNetConfigureDvpRspParams*>(p_params)->result == 0;
    if (!good) {
        RIL_TRACE(TRACE_ERROR, "%s failed to configure dvp state\n", __func__);
    }
    qelril_complete_and_return(ctxt_id, good ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE, nullptr, 0);
}

void net_dvp_info_ind_cb(uint32_t sim_id, const void* p_params) {
    (void)sim_id;
    RIL_TRACE(TRACE_EVENT, "%s current dvp state = %d\n", __func__,
              static_cast<const UtaNetDvpInfoIndParams*>(p_params)->state);
}

}  // namespace

int32_t oem_hook_get_dvp_state(request_context& context) {
    if (RemUtaMsNetGetDvpInfoReq(context.uta_id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaMsNetGetDvpInfoReq failed\n", __func__);
        return -1;
    }
    return 0;
}

int32_t oem_hook_set_dvp_state(request_context& context, uint8_t state) {
    const UtaNetConfigureDvpReqParams param = {state == 1 ? 1 : 0};
    if (RemUtaMsNetConfigureDvpReq(&param, context.uta_id()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaMsNetConfigureDvpReq failed\n", __func__);
        return -1;
    }
    return 0;
}

void UtaMsNetGetDvpInfoRspCb(const UtaNetGetDvpInfoRspParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(c_first_stack, param, context_id, get_dvp_info_rsp_cb);
}

void UtaMsNetConfigureDvpRspCb(const UtaNetConfigureDvpRspParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(c_first_stack, param, context_id, net_configure_dvp_rsp_cb);
}

void UtaMsNetDvpInfoIndCb(const UtaNetDvpInfoIndParams* param) {
    qelril_post_utamsindcb(c_first_stack, param, net_dvp_info_ind_cb);
}
