// The modem's answers to what was asked about calls.
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/call/follow_up.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

void complete(uint32_t ctxt_id, RIL_Errno error) {
    qelril_complete_and_return(ctxt_id, error, nullptr, 0);
}

void set_members(uint32_t sim_id, uint32_t from, uint32_t to) {
    for (callmngr_call& call : callmngr_calls(sim_id)) {
        if (call.is_multi_party != 0 && call.call_state == from) {
            call.call_state = to;
        }
    }
}

// The call, or null for an id that is not in the table.
callmngr_call* known_call(uint32_t sim_id, int32_t call_id) {
    callmngr_call call;
    const uint32_t slot = callmngr_get_call_info_by_call_id(sim_id, call_id, call);
    return slot < c_call_slots ? &callmngr_calls(sim_id)[slot] : nullptr;
}

void callmngr_cs_setup_call_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallCsSetupCallRspCbParams*>(p_params);
    if (response.result == 0) {
        complete(ctxt_id, RIL_E_SUCCESS);
        return;
    }
    callmngr_call_management(sim_id).last_fail_cause = callmngr_failure_cause(sim_id, response.call_error_cause);
    complete(ctxt_id, RIL_E_GENERIC_FAILURE);
    ril_unsol_response_call_state_changed(sim_id);
}

void callmngr_cs_release_call_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallCsReleaseCallRspCbParams*>(p_params);
    if (response.result != 0) {
        callmngr_release_refused(sim_id);
        complete(ctxt_id, RIL_E_GENERIC_FAILURE);
        return;
    }
    const int32_t call_id = response.call.call_id;
    if (call_id != 0) {
        if (known_call(sim_id, call_id) == nullptr) {
            RIL_TRACE(TRACE_EVENT, "%s all the call data was cleared, sim_id = %d\n", __func__,
                      static_cast<int>(sim_id));
        }
        callmngr_reset_call_data(sim_id, call_id);
    }
    complete(ctxt_id, RIL_E_SUCCESS);
}

void set_accepted(uint32_t sim_id, int32_t call_id) {
    callmngr_call* call = known_call(sim_id, call_id);
    if (call != nullptr) {
        call->call_state = CALL_STATE_ACTIVE;
        call->is_mt = 1;
    }
}

// The two operations that end in an accepted call take it for accepted also when the modem refused.
void callmngr_cs_accept_call_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallCsAcceptCallRspCbParams*>(p_params);
    const int32_t result = response.field_2;
    const int32_t call_id = response.call.call_id;
    ril_request_complete(rilreq_state_info[ctxt_id].token, result == 0 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE, nullptr,
                         0);
    if (callmngr_accept_answered(sim_id) || result == 0) {
        set_accepted(sim_id, call_id);
    }
    ril_unsol_response_call_state_changed(sim_id);
    qelril_free_and_return(ctxt_id);
}

// 0, or -1 when no call waits or it cannot be sent.
int32_t accept_after_hold(uint32_t sim_id, uint32_t ctxt_id) {
    callmngr_call waiting;
    if (callmngr_get_call_info_by_call_state(sim_id, CALL_STATE_WAITING, waiting) < 0) {
        RIL_TRACE(TRACE_ERROR, "%s callmngr_get_call_info_by_call_state failed\n", "callmngr_cs_hold_call_rsp");
        return -1;
    }
    return callmngr_answer_call(sim_id, waiting, uta_context_id(ctxt_id));
}

void set_held(uint32_t sim_id, int32_t call_id) {
    callmngr_call* call = known_call(sim_id, call_id);
    if (call == nullptr) {
        return;
    }
    if (call->is_multi_party != 0) {
        set_members(sim_id, CALL_STATE_ACTIVE, CALL_STATE_HELD);
    } else {
        call->call_state = CALL_STATE_HELD;
    }
}

void callmngr_cs_hold_call_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallCsHoldCallRspCbParams*>(p_params);
    callmngr_hold_answered();
    if (response.result != 0) {
        callmngr_nothing_follows(sim_id);
        complete(ctxt_id, RIL_E_GENERIC_FAILURE);
        return;
    }
    set_held(sim_id, response.call.call_id);
    if (callmngr_pending(sim_id) == PENDING_ACCEPT_AFTER_HOLD) {
        if (accept_after_hold(sim_id, ctxt_id) != 0) {
            complete(ctxt_id, RIL_E_GENERIC_FAILURE);
        }
        return;
    }
    ril_unsol_response_call_state_changed(sim_id);
    complete(ctxt_id, RIL_E_SUCCESS);
}

void callmngr_cs_retrieve_call_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallCsRetrieveCallRspCbParams*>(p_params);
    callmngr_retrieve_answered();
    if (response.result != 0) {
        callmngr_nothing_follows(sim_id);
        complete(ctxt_id, RIL_E_GENERIC_FAILURE);
        return;
    }
    const int32_t call_id = response.call.call_id;
    callmngr_call* call = known_call(sim_id, call_id);
    if (call == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s There is no Call Data for callid = %d, sim_id = %d\n", __func__, call_id,
                  static_cast<int>(sim_id));
        callmngr_nothing_follows(sim_id);
    } else {
        if (call->is_multi_party != 0) {
            set_members(sim_id, CALL_STATE_HELD, CALL_STATE_ACTIVE);
        } else {
            call->call_state = CALL_STATE_ACTIVE;
        }
        ril_unsol_response_call_state_changed(sim_id);
    }
    complete(ctxt_id, RIL_E_SUCCESS);
}

// A member stands for its whole conversation; of both sides being members the second step decides.
void move_call(uint32_t sim_id, int32_t call_id, uint32_t from, uint32_t to) {
    callmngr_call* call = known_call(sim_id, call_id);
    if (call == nullptr) {
        return;
    }
    if (call->is_multi_party != 0) {
        set_members(sim_id, from, to);
    } else {
        call->call_state = to;
    }
}

void callmngr_cs_swap_call_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallCsSwapCallsRspCbParams*>(p_params);
    if (response.result != 0) {
        complete(ctxt_id, RIL_E_GENERIC_FAILURE);
        return;
    }
    move_call(sim_id, response.active_call.call_id, CALL_STATE_HELD, CALL_STATE_ACTIVE);
    move_call(sim_id, response.held_call.call_id, CALL_STATE_ACTIVE, CALL_STATE_HELD);
    ril_unsol_response_call_state_changed(sim_id);
    complete(ctxt_id, RIL_E_SUCCESS);
}

void callmngr_cs_join_calls_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallCsJoinCallsRspCbParams*>(p_params);
    if (response.result != 0) {
        RIL_TRACE(TRACE_ERROR, "%s Join call failed error = %d, sim_id = %d\n", __func__, response.call_error_cause,
                  static_cast<int>(sim_id));
        complete(ctxt_id, RIL_E_GENERIC_FAILURE);
        return;
    }
    for (callmngr_call& call : callmngr_calls(sim_id)) {
        if (call.call_state == CALL_STATE_HELD || call.call_state == CALL_STATE_ACTIVE) {
            call.call_state = CALL_STATE_ACTIVE;
            call.is_multi_party = 1;
        }
    }
    callmngr_nothing_follows(sim_id);
    ril_unsol_response_call_state_changed(sim_id);
    complete(ctxt_id, RIL_E_SUCCESS);
}

void callmngr_cs_split_mpty_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallCsSplitMptyRspCbParams*>(p_params);
    if (response.result != 0) {
        complete(ctxt_id, RIL_E_GENERIC_FAILURE);
        return;
    }
    for (callmngr_call& call : callmngr_calls(sim_id)) {
        if (call.call_state == CALL_STATE_ACTIVE) {
            call.call_state = CALL_STATE_HELD;
        }
    }
    callmngr_call* call = known_call(sim_id, response.call.call_id);
    if (call != nullptr) {
        call->is_multi_party = 0;
        call->call_state = CALL_STATE_ACTIVE;
    }
    ril_unsol_response_call_state_changed(sim_id);
    complete(ctxt_id, RIL_E_SUCCESS);
}

void callmngr_cs_transfer_call_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    const auto& response = *static_cast<const UtaCallCsTransferCallsRspCbParams*>(p_params);
    if (response.result != 0) {
        complete(ctxt_id, RIL_E_GENERIC_FAILURE);
        return;
    }
    callmngr_call* call = known_call(sim_id, response.call.call_id);
    if (call != nullptr) {
        call->call_state = CALL_STATE_ACTIVE;
    }
    ril_unsol_response_call_state_changed(sim_id);
    complete(ctxt_id, RIL_E_SUCCESS);
}

// Posts the answer unless its request has failed by its timer already. The release of a context has freed its mark, so
// that an answer that is dropped here or on the RIL thread leaves none behind. RPC dispatch thread.
void post_guarded(const char* function, uint32_t sim_id, const void* param, uint32_t context_id,
                  rilreq_rspcb callback) {
    constexpr uint32_t c_ctxt_id_mask = 0xFF;
    if (rilreq_state_info[context_id & c_ctxt_id_mask].entry_in_use.load(std::memory_order_acquire) == 0) {
        RIL_TRACE(TRACE_ERROR, "%s delay!!, context_id =  %d, sim_id = %d\n", function, static_cast<int>(context_id),
                  static_cast<int>(sim_id));
        return;
    }
    qelril_post_utamsrspcb(sim_id, param, context_id, callback);
}

}  // namespace

void UtaMsCallCsSetupCallRspCb(uint32_t sim_id, const UtaCallCsSetupCallRspCbParams* param, uint32_t context_id) {
    post_guarded(__func__, sim_id, param, context_id, callmngr_cs_setup_call_rsp);
}

void UtaMsCallCsReleaseCallRspCb(uint32_t sim_id, const UtaCallCsReleaseCallRspCbParams* param, uint32_t context_id) {
    post_guarded(__func__, sim_id, param, context_id, callmngr_cs_release_call_rsp);
}

void UtaMsCallCsHoldCallRspCb(uint32_t sim_id, const UtaCallCsHoldCallRspCbParams* param, uint32_t context_id) {
    post_guarded(__func__, sim_id, param, context_id, callmngr_cs_hold_call_rsp);
}

void UtaMsCallCsRetrieveCallRspCb(uint32_t sim_id, const UtaCallCsRetrieveCallRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, callmngr_cs_retrieve_call_rsp);
}

void UtaMsCallCsAcceptCallRspCb(uint32_t sim_id, const UtaCallCsAcceptCallRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, callmngr_cs_accept_call_rsp);
}

void UtaMsCallCsSwapCallsRspCb(uint32_t sim_id, const UtaCallCsSwapCallsRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, callmngr_cs_swap_call_rsp);
}

void UtaMsCallCsJoinCallsRspCb(uint32_t sim_id, const UtaCallCsJoinCallsRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, callmngr_cs_join_calls_rsp);
}

void UtaMsCallCsSplitMptyRspCb(uint32_t sim_id, const UtaCallCsSplitMptyRspCbParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, callmngr_cs_split_mpty_rsp);
}

void UtaMsCallCsTransferCallsRspCb(uint32_t sim_id, const UtaCallCsTransferCallsRspCbParams* param,
                                   uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, callmngr_cs_transfer_call_rsp);
}
