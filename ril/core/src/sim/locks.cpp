// The facilities that lock the card or to the card: PIN1 on and off, the personalisation locks (3GPP TS 22.022), and
// how Android's requests about them end.
#include <array>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/card_data.h"
#include "ril/core/src/sim/context.h"
#include "ril/core/src/sim/pin.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_action_set = 0;
constexpr int32_t c_action_query = 5;
constexpr size_t c_password_max = 8;

// `status` of a lock.
constexpr int32_t c_lock_active = 1;       // UTA_SIM_LOCK_ACTIVE
constexpr int32_t c_lock_deactivated = 4;  // UTA_SIM_LOCK_DEACTIVE, what a setting reaches
constexpr int32_t c_lock_inactive = 5;     // what a query reads

std::array<UtaSimLockStates, 2> s_sim_lock_states{};

// The lock that the modem was asked about; it is asked about one at a time.
const UtaSimLock& take_lock(uint32_t sim_id, const UtaSimLockStates& states) {
    int8_t& lock_index = s_sim_ms_data[sim_id].lock_index;
    const UtaSimLock& lock = states.locks[static_cast<uint8_t>(lock_index)];
    lock_index = 0;
    return lock;
}

void finish_query(const UtaSimLock& lock, uint32_t ctxt_id) {
    if (lock.status == c_lock_active || lock.status == c_lock_inactive) {
        ril_request_query_facility_lock_onrequest_complete(lock.status == c_lock_active ? 1 : 0, ctxt_id);
    } else {
        qelril_free_and_return_generic_failure(ctxt_id);  // neither locked nor unlocked
    }
}

void finish_setting(uint32_t sim_id, const UtaSimLock& lock, int32_t lock_index, uint32_t ctxt_id) {
    const auto* const request = static_cast<const sim_facility_request*>(sim_priv_of(ctxt_id)->caller_priv);
    int32_t error = -1;
    if (request->mode == 1 && lock.status == c_lock_active) {
        RIL_TRACE(TRACE_DETAIL, "%s: UTA_SIM_LOCK_ACTIVE : SIM_LOCK %d Success\n", "sim_modify_lock_rsp_cb",
                  lock_index);
        error = 0;
    } else if (request->mode == 0 && lock.status == c_lock_deactivated) {
        RIL_TRACE(TRACE_DETAIL, "%s: UTA_SIM_LOCK_DEACTIVE : SIM_LOCK %d Success\n", "sim_modify_lock_rsp_cb",
                  lock_index);
        error = 0;
    }
    ril_request_set_facility_lock_onrequest_complete(sim_id, error, lock.retrial_count, ctxt_id);
}

void ril_request_enter_network_depersonalization_onrequest_complete(int32_t error, int32_t retries, uint32_t ctxt_id) {
    if (error != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Password Incorrect num_retries: %d\n", __func__, retries);
    }
    qelril_complete_and_return(ctxt_id, error != 0 ? RIL_E_PASSWORD_INCORRECT : RIL_E_SUCCESS, &retries,
                               sizeof(retries));
}

void sim_modify_lock_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const UtaSimLockStates& states = static_cast<const UtaSimModifyLockRspParam*>(p_params)->states;
    const int32_t lock_index = static_cast<uint8_t>(s_sim_ms_data[sim_id].lock_index);
    switch (sim_request_number(ctxt_id)) {
        case RIL_REQUEST_QUERY_FACILITY_LOCK:
            finish_query(take_lock(sim_id, states), ctxt_id);
            break;
        case RIL_REQUEST_SET_FACILITY_LOCK:
            finish_setting(sim_id, take_lock(sim_id, states), lock_index, ctxt_id);
            break;
        case RIL_REQUEST_ENTER_NETWORK_DEPERSONALIZATION:
            ril_request_enter_network_depersonalization_onrequest_complete(
                states.locks[0].status == c_lock_deactivated ? 0 : -1, states.locks[0].retrial_count, ctxt_id);
            break;
        default:
            break;  // the answer to another request of this context
    }
}

void sim_lock_status_ind_cb(uint32_t sim_id, const void* p_params) {
    s_sim_lock_states[sim_id] = *static_cast<const UtaSimLockStates*>(p_params);
    s_sim_ms_data[sim_id].lock_status_received = 1;
    if (sim_lock_is_required(sim_id) == 1) {
        ril_unsol_response_sim_status_changed(sim_id);
    }
}

}  // namespace

uint32_t sim_lock_is_required(uint32_t sim_id) {
    return s_sim_lock_states[sim_id].sim_lock_required == 1 ? 1 : 0;
}

void ril_request_set_facility_lock_onrequest_complete(uint32_t sim_id, int32_t error, int32_t count, uint32_t ctxt_id) {
    if (error == 0) {
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &count, sizeof(count));
        set_sim_state(sim_id, RADIO_STATE_SIM_READY);
        return;
    }
    RIL_TRACE(TRACE_ERROR, "%s: retries_count = %d", __func__, count);
    RIL_Errno told = RIL_E_GENERIC_FAILURE;
    if (error == SIM_ERR_WRONG_PASSWORD || error == SIM_ERR_PIN_BLOCKED) {
        told = RIL_E_PASSWORD_INCORRECT;
    } else if (error == SIM_ERR_PUK2_REQUIRED) {
        told = RIL_E_SIM_PUK2;
    }
    qelril_complete_and_return(ctxt_id, told, &count, sizeof(count));
    if (count == 0) {
        set_sim_state(sim_id, RADIO_STATE_SIM_LOCKED_OR_ABSENT);
    }
}

void ril_request_query_facility_lock_onrequest_complete(int32_t value, uint32_t ctxt_id) {
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, &value, sizeof(value));
}

int32_t ss_handle_simcard_lock_facility(uint32_t sim_id, int32_t, int32_t mode, const char* password, int32_t,
                                        uint32_t ctxt_id) {
    switch (mode) {
        case 0:
            return sim_handle_pin_activities(sim_id, SIM_PIN_OFF, password, nullptr, ctxt_id);
        case 1:
            return sim_handle_pin_activities(sim_id, SIM_PIN_ON, password, nullptr, ctxt_id);
        case 2:
            return sim_handle_pin_activities(sim_id, SIM_QUERY_PIN, nullptr, nullptr, ctxt_id);
        default:
            return -2;
    }
}

int32_t sim_handle_sim_lock_personalisation_facility(uint32_t sim_id, int32_t row, int32_t mode, const char* password,
                                                     int32_t, uint32_t ctxt_id) {
    if (sim_get_inserted_sim_type(sim_id) == SIM_CARD_TYPE_NO_TYPE) {
        RIL_TRACE(TRACE_ERROR, "%s: SIM_CARD_TYPE_NO_TYPE\n", __func__);
        return -1;
    }
    const int32_t lock = row - c_first_sim_lock_row;
    s_sim_ms_data[sim_id].lock_index = static_cast<int8_t>(lock);
    UtaSimModifyLockCommand command{};
    command.lock_type = lock;
    if (mode == 0 || mode == 1) {
        command.action = c_action_set;
        memset(command.password, 0xFF, sizeof(command.password));
        if (password != nullptr) {
            memcpy(command.password, password, strnlen(password, c_password_max));
        }
    } else if (mode == 2) {
        command.action = c_action_query;
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: Error unknown mode\n", __func__);
        return -1;
    }
    if (RemUtaMsSimModifyLockReq(sim_id, &command, uta_context_id(ctxt_id)) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Error call to UtaMsSimModifyLockReq failed\n", __func__);
        return -1;
    }
    return 0;
}

void UtaMsSimModifyLockRspCb(uint32_t sim_id, const UtaSimModifyLockRspParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id & 1U, param, context_id, sim_modify_lock_rsp_cb);
}

void UtaMsSimLockStatusIndCb(uint32_t sim_id, const UtaSimLockStates* param) {
    qelril_post_utamsindcb(sim_id, param, sim_lock_status_ind_cb);
}
