// Fixed dialling (3GPP TS 22.101, A.24): switched with PIN2, and the card's state of it.
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/pin.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

struct sim_pin2_specific {
    int32_t sim_fdn_requested_state;
    int32_t sim_fdn_activation_state;
    int32_t sim_flag_pin2_verification_required;  // 1 after PIN2 was found blocked
    int32_t sim_fdn_request_pending;              // 1 while the modem owes the state that was set
    uint32_t sim_fdn_request_ctxt_id;
};

constexpr sim_pin2_specific c_start_values = {UTA_SIM_FDN_NOT_POSSIBLE, UTA_SIM_FDN_NOT_POSSIBLE, 0, 0, 0};
std::array<sim_pin2_specific, 2> s_sim_pin2_specific = {c_start_values, c_start_values};

// The state comes without attempts: Android gets as many as a fresh PIN2 has.
constexpr int32_t c_attempts = 3;

// A request that ends in another way is not pending any more.
void on_released(uint32_t ctxt_id) {
    for (sim_pin2_specific& fdn : s_sim_pin2_specific) {
        if (fdn.sim_fdn_request_ctxt_id == ctxt_id) {
            fdn.sim_fdn_request_pending = 0;
        }
    }
}

bool is_pending(uint32_t sim_id) {
    return s_sim_pin2_specific[sim_id].sim_fdn_request_pending == 1;
}

// Ends the pending request, with 0 or an error.
void end_pending(uint32_t sim_id, int32_t error) {
    sim_pin2_specific& fdn = s_sim_pin2_specific[sim_id];
    fdn.sim_fdn_request_pending = 0;
    ril_request_set_facility_lock_onrequest_complete(sim_id, error, c_attempts, fdn.sim_fdn_request_ctxt_id);
}

// A request that is pending fails: the next state would be taken for its own.
void fail_pending(uint32_t sim_id) {
    if (is_pending(sim_id)) {
        end_pending(sim_id, -1);
    }
}

// Sets the state; the answer is the next indication. The request has ended when the modem refuses.
void set_fdn(uint32_t sim_id, int32_t attempts, uint32_t ctxt_id) {
    sim_pin2_specific& fdn = s_sim_pin2_specific[sim_id];
    fail_pending(sim_id);
    fdn.sim_fdn_request_pending = 1;
    fdn.sim_fdn_request_ctxt_id = ctxt_id;
    rilreq_state_info[ctxt_id].p_released = on_released;
    const int32_t result = RemUtaMsSimSetFdnReq(sim_id, fdn.sim_fdn_requested_state);
    if (result != 0) {
        fdn.sim_fdn_request_pending = 0;
        ril_request_set_facility_lock_onrequest_complete(sim_id, result, attempts, ctxt_id);
        return;
    }
    RIL_TRACE(TRACE_DETAIL, "%s: Making UTA remote call UtaSimSetFdnReq successful\n", __func__);
}

// PIN2 stands in the way: nothing is asked for any more.
int32_t refuse(uint32_t sim_id, int32_t error) {
    s_sim_pin2_specific[sim_id].sim_flag_pin2_verification_required = 1;
    s_sim_pin2_specific[sim_id].sim_fdn_requested_state = UTA_SIM_FDN_NOT_POSSIBLE;
    return error;
}

int32_t sim_handle_fdn_facility_lock(uint32_t sim_id, bool on, const char* password, uint32_t ctxt_id) {
    const int32_t chv2 = sim_get_chv_status(sim_id, 1);
    const bool no_password = password[0] == '\0';
    if (chv2 == CHV_BLOCKED) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA_SIM_BLOCKED\n", __func__);
        return refuse(sim_id, SIM_ERR_PUK2_REQUIRED);
    }
    if (chv2 == CHV_NEEDED && no_password) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA_SIM_NEEDED == chv2_status && *pPassword == NULL\n", __func__);
        return refuse(sim_id, -1);
    }
    fail_pending(sim_id);
    s_sim_pin2_specific[sim_id].sim_fdn_requested_state = on ? UTA_SIM_FDN_ON : UTA_SIM_FDN_OFF;
    if (chv2 == CHV_VERIFIED && no_password) {
        set_fdn(sim_id, c_attempts, ctxt_id);
        return 0;
    }
    return sim_handle_pin_activities(sim_id, SIM_ENTER_PIN2, password, nullptr, ctxt_id);
}

void sim_fdn_state_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& ind = *static_cast<const UtaSimFdnStateIndParam*>(p_params);
    RIL_TRACE(TRACE_DETAIL, "%s: status = %d, fdn_state = %d\n", __func__, ind.status, ind.fdn_state);
    sim_pin2_specific& fdn = s_sim_pin2_specific[sim_id];
    fdn.sim_fdn_activation_state = ind.fdn_state;
    if (is_pending(sim_id)) {
        end_pending(sim_id, fdn.sim_fdn_activation_state == fdn.sim_fdn_requested_state ? 0 : -1);
        fdn.sim_fdn_requested_state = UTA_SIM_FDN_NOT_POSSIBLE;
    } else {
        RIL_TRACE(TRACE_DETAIL, "%s: Notify FDN state updated!", __func__);
        ril_unsol_response_sim_status_changed(sim_id);
    }
}

}  // namespace

int32_t ss_handle_fixed_dialing_lock_facility(uint32_t sim_id, int32_t, int32_t mode, const char* password, int32_t,
                                              uint32_t ctxt_id) {
    if (sim_get_fdn_status(sim_id) == UTA_SIM_FDN_NOT_POSSIBLE) {
        RIL_TRACE(TRACE_ERROR, "%s: UTA_SIM_FDN_NOT_POSSIBLE\n", __func__);
        return -1;
    }
    switch (mode) {
        case 0:
        case 1:
            return sim_handle_fdn_facility_lock(sim_id, mode == 1, password == nullptr ? "" : password, ctxt_id);
        case 2:
            ril_request_query_facility_lock_onrequest_complete(sim_is_fdn_enabled(sim_id), ctxt_id);
            return 0;
        default:
            RIL_TRACE(TRACE_ERROR, "%s: Mode not matching\n", __func__);
            return -1;
    }
}

int32_t sim_get_fdn_status(uint32_t sim_id) {
    return s_sim_pin2_specific[sim_id].sim_fdn_activation_state;
}

int32_t sim_is_fdn_enabled(uint32_t sim_id) {
    return sim_get_fdn_status(sim_id) == UTA_SIM_FDN_ON ? 1 : 0;
}

void sim_set_fdn_not_possible(uint32_t sim_id) {
    s_sim_pin2_specific[sim_id].sim_fdn_activation_state = UTA_SIM_FDN_NOT_POSSIBLE;
}

void sim_fdn_init(uint32_t sim_id) {
    s_sim_pin2_specific[sim_id] = c_start_values;
}

void sim_set_pin2_verification_required(uint32_t sim_id, bool required) {
    s_sim_pin2_specific[sim_id].sim_flag_pin2_verification_required = required ? 1 : 0;
}

void sim_fdn_pin2_verified(uint32_t sim_id, int32_t error, int32_t count, uint32_t ctxt_id) {
    if (is_pending(sim_id) && s_sim_pin2_specific[sim_id].sim_fdn_request_ctxt_id == ctxt_id) {
        return;  // told twice
    }
    if (error == 0) {
        set_fdn(sim_id, count, ctxt_id);
        return;
    }
    // The request that is pending, if any, is another one.
    ril_request_set_facility_lock_onrequest_complete(sim_id, error, count, ctxt_id);
}

void UtaMsSimFdnStateIndCb(uint32_t sim_id, const UtaSimFdnStateIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, sim_fdn_state_ind_cb);
}
