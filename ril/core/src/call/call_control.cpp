// What an operation on calls means for the calls that are there (3GPP TS 22.030, 6.5.5.1).
#include "ril/core/src/call/call.h"
#include "ril/core/src/call/follow_up.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

enum release_scope : int32_t {
    RELEASE_CALL = 0,
    RELEASE_ALL = 1,
    RELEASE_ALL_ACTIVE = 2,
    RELEASE_WAITING = 5,
};

// 3GPP TS 24.008, 10.5.4.11.
enum release_cause : int32_t {
    CAUSE_NORMAL_CLEARING = 16,
    CAUSE_USER_BUSY = 17,
    CAUSE_CALL_REJECTED = 21,
};

struct present {
    bool active_call;
    bool held_call;
    bool alerting;
    bool call_in_ringing;
    bool waiting_call;
    int32_t held_id;
    int32_t ringing_id;
    int32_t waiting_id;
};

// One operation on its way: where to, on whose context, beside which calls.
struct operation {
    uint32_t sim_id;
    uint32_t context_id;
    present calls;

    uint32_t ctxt_id() const { return context_id & 0xFFU; }
};

// Of several calls in one state, the last slot's.
present look_at_calls(uint32_t sim_id) {
    present calls{};
    for (const callmngr_call& call : callmngr_calls(sim_id)) {
        switch (call.call_state) {
            case CALL_STATE_ACTIVE:
                calls.active_call = true;
                break;
            case CALL_STATE_HELD:
                calls.held_call = true;
                calls.held_id = call.call_id;
                break;
            case CALL_STATE_ALERTING:
                calls.alerting = true;
                break;
            case CALL_STATE_RINGING:
                calls.call_in_ringing = true;
                calls.ringing_id = call.call_id;
                break;
            case CALL_STATE_WAITING:
                calls.waiting_call = true;
                calls.waiting_id = call.call_id;
                break;
            default:
                break;
        }
    }
    return calls;
}

int32_t sent(const operation& op, const char* function, int32_t result) {
    if (result == 0) {
        return 0;
    }
    RIL_TRACE(TRACE_ERROR, "%s: %s failed, sim_id = %d\n", "callmngr_multi_party_call_manager", function,
              static_cast<int>(op.sim_id));
    return c_call_control_failed;
}

int32_t release(const operation& op, release_scope scope, int32_t call_id, release_cause cause) {
    const UtaCallCsReleaseCallReqParams param{scope, {static_cast<uint8_t>(call_id)}, cause};
    return sent(op, "UtaMsCallCsReleaseCallReq", RemUtaMsCallCsReleaseCallReq(op.sim_id, &param, op.context_id));
}

int32_t accept(const operation& op, int32_t call_id) {
    const UtaCallCsCallId id{static_cast<uint8_t>(call_id)};
    return sent(op, "UtaMsCallCsAcceptCallReq", RemUtaMsCallCsAcceptCallReq(op.sim_id, &id, op.context_id));
}

int32_t hold(const operation& op) {
    return sent(op, "UtaMsCallCsHoldCallReq", RemUtaMsCallCsHoldCallReq(op.sim_id, op.context_id));
}

int32_t retrieve(const operation& op) {
    return sent(op, "UtaMsCallCsRetrieveCallReq", RemUtaMsCallCsRetrieveCallReq(op.sim_id, op.context_id));
}

int32_t swap(const operation& op) {
    return sent(op, "UtaMsCallCsSwapCallsReq", RemUtaMsCallCsSwapCallsReq(op.sim_id, op.context_id));
}

// Nothing that could be sent. The text has the function and the SIM.
int32_t refuse(const operation& op, const char* text) {
    RIL_TRACE(TRACE_ERROR, text, "callmngr_multi_party_call_manager", static_cast<int>(op.sim_id));
    return c_call_control_failed;
}

bool is_call_id(uint32_t chld_second) {
    return chld_second >= 1 && chld_second <= c_call_slots;
}

int32_t release_held_or_busy_for_waiting(const operation& op) {
    const present& calls = op.calls;
    if (calls.held_call) {
        // The held call stays while another waits.
        return release(op, RELEASE_CALL, calls.waiting_call ? calls.waiting_id : calls.held_id, CAUSE_CALL_REJECTED);
    }
    if (calls.waiting_call) {
        return release(op, RELEASE_WAITING, calls.waiting_id, CAUSE_USER_BUSY);
    }
    if (calls.call_in_ringing) {
        return release(op, RELEASE_CALL, calls.ringing_id, CAUSE_USER_BUSY);
    }
    return refuse(op, "%s: UTA_FAILURE UNSUCCESSFUL_CALL_MODIFICATION, sim_id = %d\n");
}

int32_t release_named(const operation& op, int32_t call_id) {
    callmngr_call call;
    if (callmngr_get_call_info_by_call_id(op.sim_id, call_id, call) >= c_call_slots) {
        return refuse(op,
                      "%s CALL_RELEASE_SPECIFIC_ACTIVE_AND_ACCEPT_HELD_OR_WAITING 1x implementation failed,"
                      "sim_id = %d\n");
    }
    const bool is_ringing = call.call_state == CALL_STATE_RINGING;
    RIL_TRACE(TRACE_DETAIL, is_ringing ? "%s reject\n" : "%s normal clear\n", "callmngr_multi_party_call_manager");
    return release(op, RELEASE_CALL, call_id, is_ringing ? CAUSE_CALL_REJECTED : CAUSE_NORMAL_CLEARING);
}

int32_t release_active_and_accept(const operation& op) {
    const present& calls = op.calls;
    if (calls.active_call) {
        // The modem's disconnection starts what follows.
        if (calls.waiting_call) {
            callmngr_follows_disconnection(op.sim_id, PENDING_ACCEPT);
        } else if (calls.held_call) {
            callmngr_follows_disconnection(op.sim_id, PENDING_RETRIEVE);
        }
        const int32_t result = release(op, RELEASE_ALL_ACTIVE, 0, CAUSE_NORMAL_CLEARING);
        if (result != 0) {
            callmngr_nothing_follows(op.sim_id);
        }
        return result;
    }
    if (calls.waiting_call) {
        const int32_t result = accept(op, calls.waiting_id);
        if (result == 0) {
            callmngr_accept_in_place_sent(op.sim_id, op.ctxt_id());
        }
        return result;
    }
    if (calls.held_call) {
        callmngr_follows_disconnection(op.sim_id, PENDING_RETRIEVE);
        return retrieve(op);
    }
    return refuse(op, "%s Unexpected scenario, sim_id = %d\n");
}

int32_t separate_or_swap_named(const operation& op, uint32_t chld_second) {
    if (!is_call_id(chld_second)) {
        return refuse(op, "%s: CALL_ALL_HELD_EXCEPT_SPECIFIC_ACTIVE: chld_second invalid, sim_id = %d\n");
    }
    callmngr_call call;
    const bool known =
        callmngr_get_call_info_by_call_id(op.sim_id, static_cast<int32_t>(chld_second), call) < c_call_slots;
    if (known && call.is_multi_party != 0) {
        const UtaCallCsCallId id{static_cast<uint8_t>(chld_second)};
        return sent(op, "UtaMsCallCsSplitMptyReq", RemUtaMsCallCsSplitMptyReq(op.sim_id, &id, op.context_id));
    }
    if (known && call.call_state == CALL_STATE_HELD) {
        return op.calls.active_call ? swap(op) : retrieve(op);
    }
    return refuse(op, "%s: no call to separate, sim_id = %d\n");
}

int32_t hold_and_accept(const operation& op) {
    const int32_t result = hold(op);
    if (result == 0) {
        callmngr_follows_hold(op.sim_id, op.ctxt_id());
    }
    return result;
}

int32_t plain_hold(const operation& op) {
    if (callmngr_hold_is_marked()) {
        RIL_TRACE(TRACE_ERROR, "%s: hold_call_and_dial_mutex_lock already taken ignoring the request\n", __func__);
        return c_call_control_ignored;
    }
    const int32_t result = hold(op);
    if (result == 0) {
        callmngr_plain_hold_sent(op.sim_id, op.ctxt_id());
    }
    return result;
}

int32_t plain_retrieve(const operation& op) {
    if (callmngr_retrieve_is_marked()) {
        RIL_TRACE(TRACE_ERROR, "%s: unhold_call_ongoing_mutex_lock already taken ignoring the request\n", __func__);
        return c_call_control_ignored;
    }
    const int32_t result = retrieve(op);
    if (result == 0) {
        callmngr_plain_retrieve_sent(op.ctxt_id());
    }
    return result;
}

int32_t hold_all_and_go_on(const operation& op) {
    const present& calls = op.calls;
    if (calls.active_call) {
        return calls.held_call ? swap(op) : calls.waiting_call ? hold_and_accept(op) : plain_hold(op);
    }
    if (calls.waiting_call) {
        return accept(op, calls.waiting_id);
    }
    if (calls.held_call) {
        return plain_retrieve(op);
    }
    if (calls.call_in_ringing) {
        return accept(op, calls.ringing_id);
    }
    return refuse(op, "%s: No active/held/waiting call returning, sim_id = %d\n");
}

int32_t join(const operation& op) {
    if (!op.calls.held_call || !op.calls.active_call) {
        return refuse(op, "%s: no active_call && held_call, sim_id = %d\n");
    }
    return sent(op, "UtaMsCallCsJoinCallsReq", RemUtaMsCallCsJoinCallsReq(op.sim_id, op.context_id));
}

int32_t transfer(const operation& op) {
    if (!op.calls.held_call || (!op.calls.active_call && !op.calls.alerting)) {
        return refuse(op, "%s: active_call & held_call not present, sim_id = %d\n");
    }
    return sent(op, "UtaMsCallCsTransferCallsReq", RemUtaMsCallCsTransferCallsReq(op.sim_id, op.context_id));
}

int32_t release_all(const operation& op) {
    if (!op.calls.active_call && !op.calls.waiting_call && !op.calls.held_call) {
        return refuse(op, "%s: no active_call || held_call || waiting_call found, sim_id = %d\n");
    }
    return release(op, RELEASE_ALL, 0, CAUSE_CALL_REJECTED);
}

}  // namespace

int32_t callmngr_multi_party_call_manager(uint32_t sim_id, uint32_t chld_first, uint32_t chld_second,
                                          uint32_t context_id) {
    const operation op{sim_id, context_id, look_at_calls(sim_id)};
    switch (chld_first) {
        case CALL_RELEASE_HELD_OR_BUSY_FOR_WAITING:
            return release_held_or_busy_for_waiting(op);
        case CALL_RELEASE_SPECIFIC_ACTIVE_AND_ACCEPT_HELD_OR_WAITING:
            return is_call_id(chld_second) ? release_named(op, static_cast<int32_t>(chld_second))
                                           : release_active_and_accept(op);
        case CALL_ALL_HELD_EXCEPT_SPECIFIC_ACTIVE:
            return chld_second != 0 ? separate_or_swap_named(op, chld_second) : hold_all_and_go_on(op);
        case CALL_JOIN:
            return join(op);
        case CALL_TRANSFER:
            return transfer(op);
        case CALL_RELEASE_ALL_WAITING_HELD_ACTIVE:
            return release_all(op);
        default:
            RIL_TRACE(TRACE_ERROR, "%s: Invalid call control = %d, sim_id = %d\n", __func__,
                      static_cast<int>(chld_first), static_cast<int>(sim_id));
            return c_call_control_failed;
    }
}
