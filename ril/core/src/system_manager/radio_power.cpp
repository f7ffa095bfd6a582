#include "ril/core/src/system_manager/radio_power.h"

#include <cutils/properties.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/sms/sms.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/core/src/system_manager/modules.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_stack_off = 0;
constexpr int32_t c_stack_on = 1;
// With the SIM it runs the other way.
constexpr int32_t c_sim_on = 0;
constexpr int32_t c_sim_off = 1;
constexpr int32_t c_no_call = -1;

constexpr uint32_t c_mode_unknown = 7;

// The last known functional mode, for whoever debugs. Written on the RIL thread, the modem event thread and, for an
// indication, the RPC dispatch thread.
std::array<std::atomic<uint32_t>, 2> s_cfun_current_state = {c_mode_unknown, c_mode_unknown};

// Written on the RIL thread, and by the start before that thread has work.
uint32_t radio_off_ongoing = 0;

struct mode_response {
    int32_t mode;
    int32_t result;
};

void note_mode(uint32_t sim_id, uint32_t mode) {
    if (sim_id < s_cfun_current_state.size()) {
        s_cfun_current_state[sim_id].store(mode, std::memory_order_relaxed);
    }
}

void ril_unsol_restricted_state_changed(uint32_t sim_id) {
    int state = 0;
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_RESTRICTED_STATE_CHANGED, &state, sizeof(state));
}

void boot_cps_set_mode_rspcb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto [mode, result] = *static_cast<const mode_response*>(p_params);
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Functional mode change failed\n", __func__);
        qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    if (mode == c_stack_on) {
        note_mode(sim_id, FUN_MODE_SIM_STACK_ON);
        set_radio_state(sim_id, RADIO_STATE_ON);
        ril_unsol_restricted_state_changed(sim_id);
        sim_radio_is_on(sim_id);
        postRadioPoweron(sim_id);
    } else if (mode == c_stack_off) {
        note_mode(sim_id, FUN_MODE_STACK_OFF);
        set_radio_state(sim_id, RADIO_STATE_OFF);
        radio_off_ongoing = 0;
        if (rilreq_state_info[ctxt_id].token != nullptr) {
            ril_unsol_restricted_state_changed(sim_id);
        }
    } else if (mode < static_cast<int32_t>(c_mode_unknown)) {
        RIL_TRACE(TRACE_ERROR, "%s not handled\n", __func__);
    }
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
}

void cps_set_sim_mode_rspcb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto [mode, result] = *static_cast<const mode_response*>(p_params);
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: sim mode change failed\n", __func__);
        qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    if (mode == c_sim_on) {
        note_mode(sim_id, FUN_MODE_SIM_ON);
    } else if (mode == c_sim_off) {
        note_mode(sim_id, FUN_MODE_SIM_OFF);
    }
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
}

void UtaMsCpsSetModeRspCb(uint32_t sim_id, int32_t mode, uint32_t context_id, int32_t result) {
    if (sim_id != ril_instance) {
        RIL_TRACE(TRACE_ERROR, "%s, call back for diff sim", __func__);
        return;
    }
    const mode_response params{mode, result};
    qelril_post_utamsrspcb(sim_id, &params, context_id, boot_cps_set_mode_rspcb);
}

void UtaMsCpsSetSimModeRspCb(uint32_t sim_id, int32_t mode, uint32_t context_id, int32_t result) {
    const mode_response params{mode, result};
    qelril_post_utamsrspcb(sim_id, &params, context_id, cps_set_sim_mode_rspcb);
}

// One row of the modes: what is configured first, then what is requested.
struct mode_row {
    uint32_t mode;
    int32_t stack_configuration;  // or c_no_call
    int32_t sim_configuration;
    bool requests_stack;  // else the SIM
    int32_t request;
};

constexpr std::array<mode_row, 5> c_modes = {{
    {FUN_MODE_STACK_OFF, c_stack_off, c_sim_on, true, c_stack_off},
    {FUN_MODE_SIM_STACK_OFF, c_stack_off, c_sim_off, true, c_stack_off},
    {FUN_MODE_SIM_STACK_ON, c_stack_on, c_sim_on, true, c_stack_on},
    {FUN_MODE_SIM_OFF, c_no_call, c_sim_off, false, c_sim_off},
    {FUN_MODE_SIM_ON, c_no_call, c_sim_on, false, c_sim_on},
}};

int32_t set_mode(uint32_t sim_id, const mode_row& row, uint32_t context_id) {
    if (row.stack_configuration != c_no_call &&
        RemUtaMsCpsSetStackModeConfiguration(sim_id, row.stack_configuration) != 0) {
        return -1;
    }
    if (RemUtaMsCpsSetSimModeConfiguration(sim_id, row.sim_configuration) != 0) {
        return -1;
    }
    return row.requests_stack ? RemUtaMsCpsSetModeReq(sim_id, row.request, 0, UtaMsCpsSetModeRspCb, context_id)
                              : RemUtaMsCpsSetSimModeReq(sim_id, row.request, UtaMsCpsSetSimModeRspCb, context_id);
}

int32_t phone_functionality_operation_state(uint32_t sim_id, uint32_t mode, uint32_t context_id) {
    for (const mode_row& row : c_modes) {
        if (row.mode == mode) {
            return set_mode(sim_id, row, context_id);
        }
    }
    RIL_TRACE(TRACE_ERROR, "%s: Error:default case\n", __func__);
    return -1;
}

}  // namespace

void radio_power_start() {
    for (uint32_t sim_id = 0; sim_id < s_cfun_current_state.size(); ++sim_id) {
        note_mode(sim_id, c_mode_unknown);
    }
    radio_off_ongoing = 0;
}

int32_t get_mode_ctxt_id() {
    return qelril_get_free_ctxt_id(nullptr, boot_cps_set_mode_rspcb);
}

int32_t request_set_phone_functionality(uint32_t sim_id, uint32_t mode, uint32_t context_id) {
    const int32_t result = phone_functionality_operation_state(sim_id, mode, context_id);
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Error: phone_functionality_operation_state failed res = %d\n", __func__, result);
    }
    return result;
}

int32_t sim_stack_power_on(uint32_t sim_id, uint32_t context_id) {
    sms_mngr_init(sim_id);
    net_module_init(sim_id);
    const int32_t result = request_set_phone_functionality(sim_id, FUN_MODE_SIM_STACK_ON, context_id);
    if (result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Error setting sim%d radio to CFUN1\n", __func__, static_cast<int>(sim_id));
    }
    return result;
}

int32_t sim_stack_power_off(uint32_t sim_id, uint32_t state, uint32_t context_id) {
    RIL_TRACE(TRACE_DETAIL, "%s: state = %u\n", __func__, state);
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_DATA_CALL_LIST_CHANGED, nullptr, 0);
    return request_set_phone_functionality(sim_id, FUN_MODE_SIM_STACK_OFF, context_id);
}

int32_t sim_power_off(uint32_t sim_id, uint32_t context_id) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_DATA_CALL_LIST_CHANGED, nullptr, 0);
    return request_set_phone_functionality(sim_id, FUN_MODE_SIM_OFF, context_id);
}

int32_t sim_power_on(uint32_t sim_id, uint32_t context_id) {
    return request_set_phone_functionality(sim_id, FUN_MODE_SIM_ON, context_id);
}

int32_t other_stack_power_off(uint32_t sim_id) {
    return set_mode(sim_id, c_modes[1], uta_context_id(0));
}

bool radio_off_is_ongoing() {
    return radio_off_ongoing != 0;
}

void set_radio_off_ongoing() {
    radio_off_ongoing = 1;
}

bool is_sim_off(uint32_t sim_id) {
    char key[PROPERTY_KEY_MAX];
    char value[PROPERTY_VALUE_MAX];
    snprintf(key, sizeof(key), "gsm.simmanager.set_off_sim%d", static_cast<int>(sim_id + 1));
    property_get(key, value, "a");
    return strcmp(value, "true") == 0;
}

void UtaMsCpsSetModeIndCb(uint32_t sim_id, const UtaCpsSetModeParams* param) {
    if (param->mode == c_stack_off) {
        note_mode(sim_id, FUN_MODE_STACK_OFF);
    } else if (param->mode == c_stack_on) {
        note_mode(sim_id, FUN_MODE_SIM_STACK_ON);
    }
}

void UtaMsCpsStartupIndCb(uint32_t sim_id, const UtaCpsStartupIndParam* param) {
    (void)sim_id;
    (void)param;
    RIL_TRACE_FUNCTION();
}
