// What the modem tells about calls unasked, and what then has to follow.
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/call/follow_up.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_status_held = 12;
constexpr int32_t c_status_retrieved = 13;

// The answer to what no Android request waits for is not wanted.
uint32_t context_id_without_request() {
    return RPCMakeContextId() & 0xFF000000U;
}

// An empty number leaves the one that is known. The modem's text need not end.
void take_number(callmngr_call& call, const char (&number)[sizeof(callmngr_call::tel_num)]) {
    if (number[0] == '\0') {
        return;
    }
    const size_t length = strnlen(number, sizeof(number) - 1);
    memset(call.tel_num, 0, sizeof(call.tel_num));
    memcpy(call.tel_num, number, length);
}

void callmngr_cs_dialing_ind(uint32_t sim_id, const void* p_params) {
    const int32_t call_id = static_cast<const UtaCallCsDialingIndCbParams*>(p_params)->call.call_id;
    callmngr_call call;
    uint32_t slot = callmngr_get_call_info_by_call_id(sim_id, call_id, call);
    const bool known = slot < c_call_slots;
    if (!known) {
        call = callmngr_init_call_data();
        call.call_id = call_id;
    }
    call.call_state = CALL_STATE_DIALING;
    call.is_mt = 0;
    call.call_mode = 0;
    if (known) {
        callmngr_set_call_info(sim_id, slot, call);
    } else if (callmngr_create_new_call_info(sim_id, call) == c_call_slots) {
        RIL_TRACE(TRACE_ERROR, "%s cannot set call info, callmngr_calls_array full\n", __func__);
    }
    ril_unsol_response_call_state_changed(sim_id);
}

void callmngr_cs_alerting_ind(uint32_t sim_id, const void* p_params) {
    callmngr_call call;
    const uint32_t slot =
        callmngr_get_call_info_by_call_id(sim_id, static_cast<const UtaCallCsCallId*>(p_params)->call_id, call);
    if (slot < c_call_slots) {
        call.call_state = CALL_STATE_ALERTING;
        call.is_mt = 0;
        call.call_mode = 0;
        callmngr_set_call_info(sim_id, slot, call);
    }
    ril_unsol_response_call_state_changed(sim_id);
}

bool has_call_that_makes_another_wait(uint32_t sim_id) {
    for (const uint32_t state : {CALL_STATE_ACTIVE, CALL_STATE_ALERTING, CALL_STATE_HELD, CALL_STATE_DIALING}) {
        if (callmngr_get_call_info(sim_id, state) != nullptr) {
            return true;
        }
    }
    return false;
}

void callmngr_cs_incoming_call_ind(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaCallCsIncomingCallIndCbParams*>(p_params);
    callmngr_call call = callmngr_init_call_data();
    call.call_id = indication.call.call_id;
    call.call_state = has_call_that_makes_another_wait(sim_id) ? CALL_STATE_WAITING : CALL_STATE_RINGING;
    take_number(call, indication.number);
    call.is_mt = 1;
    call.call_mode = 0;
    call.als = static_cast<uint16_t>(indication.line);
    if (callmngr_create_new_call_info(sim_id, call) == c_call_slots) {
        RIL_TRACE(TRACE_ERROR, "%s cannot set call info, callmngr_calls_array full\n", __func__);
    }
    ril_unsol_response_call_state_changed(sim_id);
    ril_unsol_call_ring(sim_id);
}

void callmngr_cs_call_connected_ind(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaCallCsConnectedIndCbParams*>(p_params);
    callmngr_call call;
    const uint32_t slot = callmngr_get_call_info_by_call_id(sim_id, indication.call.call_id, call);
    if (slot < c_call_slots) {
        take_number(call, indication.number);
        call.call_state = CALL_STATE_ACTIVE;
        call.name_presentation = static_cast<uint32_t>(indication.name_presentation);
        callmngr_set_call_info(sim_id, slot, call);
    }
    ril_unsol_response_call_state_changed(sim_id);
}

// Of a mobile terminated call neither the number nor the held state is stored.
void callmngr_cs_call_status_ind(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaCallCsCallStatusIndParams*>(p_params);
    callmngr_call call;
    const uint32_t slot = callmngr_get_call_info_by_call_id(sim_id, indication.call.call_id, call);
    if (slot >= c_call_slots) {
        return;
    }
    take_number(call, indication.number);
    if (indication.status == c_status_held) {
        call.call_state = CALL_STATE_HELD;
    }
    if (call.is_mt != 1) {
        callmngr_set_call_info(sim_id, slot, call);
        if (indication.status == c_status_held) {
            ril_unsol_response_call_state_changed(sim_id);
        }
    }
    if (indication.status == c_status_retrieved && call.call_state != CALL_STATE_ACTIVE) {
        callmngr_calls(sim_id)[slot].call_state = CALL_STATE_ACTIVE;
        ril_unsol_response_call_state_changed(sim_id);
    }
}

void take_failure_cause(uint32_t sim_id, int32_t cause) {
    callmngr_call_management(sim_id).last_fail_cause = callmngr_failure_cause(sim_id, cause);
}

void callmngr_cs_disconnecting_ind(uint32_t sim_id, const void* p_params) {
    take_failure_cause(sim_id, static_cast<const UtaCallCsDisconnectingIndCbParams*>(p_params)->cause);
}

// True if there was something to accept and it could not be sent.
bool accept_waiting_call(uint32_t sim_id) {
    const callmngr_call* waiting = callmngr_get_call_info(sim_id, CALL_STATE_WAITING);
    if (waiting == nullptr) {
        return false;
    }
    const UtaCallCsCallId call_id{static_cast<uint8_t>(waiting->call_id)};
    return RemUtaMsCallCsAcceptCallReq(sim_id, &call_id, context_id_without_request()) != 0;
}

void retrieve_held_call(uint32_t sim_id) {
    if (callmngr_get_call_info(sim_id, CALL_STATE_HELD) == nullptr) {
        ril_unsol_response_call_state_changed(sim_id);
        return;
    }
    if (RemUtaMsCallCsRetrieveCallReq(sim_id, context_id_without_request()) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Failed to Unhold the held call after disconnecting active call\n",
                  "call_req_trigger_by");
        callmngr_nothing_follows(sim_id);
        ril_unsol_response_call_state_changed(sim_id);
    }
}

// What follows a disconnection. An action that was sent stays pending: it acts again at the next disconnection.
void call_req_trigger_by(uint32_t sim_id) {
    if (callmngr_pending(sim_id) == PENDING_RETRIEVE) {
        retrieve_held_call(sim_id);
        return;
    }
    if (callmngr_pending(sim_id) == PENDING_ACCEPT && accept_waiting_call(sim_id)) {
        RIL_TRACE(TRACE_ERROR, "%s failed to answer the waiting call\n", __func__);
        callmngr_nothing_follows(sim_id);
    }
    ril_unsol_response_call_state_changed(sim_id);
}

void tell_oem_of_disconnection(uint32_t sim_id, int32_t call_id) {
    constexpr int32_t c_call_disconnected = 219;
    const std::array<int32_t, 2> message = {c_call_disconnected, call_id};
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_OEM_HOOK_RAW, message.data(), sizeof(message));
}

void callmngr_cs_disconnected_ind(uint32_t sim_id, const void* p_params) {
    const auto& indication = *static_cast<const UtaCallCsDisconnectedIndCbParams*>(p_params);
    const int32_t call_id = indication.call.call_id;
    take_failure_cause(sim_id, indication.cause);
    callmngr_reset_call_data(sim_id, call_id);
    call_req_trigger_by(sim_id);
    tell_oem_of_disconnection(sim_id, call_id);
    ril_unsol_response_call_state_changed(sim_id);
    ss_dtmf_call_ended(sim_id, call_id);
}

}  // namespace

void UtaMsCallCsDialingIndCb(uint32_t sim_id, const UtaCallCsDialingIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_dialing_ind);
}

// The call id is the unpacker's and outlives the post, so that it needs no copy.
void UtaMsCallCsAlertingIndCb(uint32_t sim_id, const UtaCallCsCallId* call_id) {
    if (sim_id != ril_instance) {
        RIL_TRACE(TRACE_ERROR, "\n drop packet");
        return;
    }
    qelril_post_utamsindcb(sim_id, call_id, callmngr_cs_alerting_ind);
}

void UtaMsCallCsIncomingCallIndCb(uint32_t sim_id, const UtaCallCsIncomingCallIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_incoming_call_ind);
}

void UtaMsCallCsConnectedIndCb(uint32_t sim_id, const UtaCallCsConnectedIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_call_connected_ind);
}

void UtaMsCallCsCallStatusIndCb(uint32_t sim_id, const UtaCallCsCallStatusIndParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_call_status_ind);
}

void UtaMsCallCsDisconnectingIndCb(uint32_t sim_id, const UtaCallCsDisconnectingIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_disconnecting_ind);
}

void UtaMsCallCsDisconnectedIndCb(uint32_t sim_id, const UtaCallCsDisconnectedIndCbParams* param) {
    qelril_post_utamsindcb(sim_id, param, callmngr_cs_disconnected_ind);
}
