#include "ril/core/src/call/follow_up.h"

#include <utility>

#include "ril/core/src/async_ril/async_ril.h"

sys_mark unhold_call_ongoing_mutex_lock;

namespace {

constexpr uint32_t c_nobody = 0;  // no context has this id

// All of this is written under the engine's run lock: by the RIL thread, by a response timer, and by the teardown.
struct follow_up {
    callmngr_pending_action pending_call_action;
    bool release_specific_accept_waiting;
};
std::array<follow_up, 2> s_follow_up;

follow_up& row(uint32_t sim_id) {
    return s_follow_up[sim_id & 1U];
}

struct busy_mark {
    sys_mark& mark;
    uint32_t holder;

    // A dial that has the mark at this moment keeps it: it is behind this request already.
    void set(uint32_t ctxt_id) {
        if (sys_mark_trylock(mark, c_hold_seconds)) {
            holder = ctxt_id;
        }
    }
    // Leaves a mark alone that a dial has.
    void clear() {
        if (holder != c_nobody) {
            holder = c_nobody;
            sys_mark_unlock(mark);
        }
    }
    void clear_of(uint32_t ctxt_id) {
        if (holder == ctxt_id) {
            clear();
        }
    }
};

busy_mark s_hold{hold_call_and_dial_mutex_lock, c_nobody};
busy_mark s_retrieve{unhold_call_ongoing_mutex_lock, c_nobody};

struct {
    uint32_t sim_id;
    uint32_t ctxt_id;
} s_accept{0, c_nobody};

void on_released(uint32_t ctxt_id) {
    s_hold.clear_of(ctxt_id);
    s_retrieve.clear_of(ctxt_id);
    if (s_accept.ctxt_id == ctxt_id) {
        s_accept.ctxt_id = c_nobody;
        callmngr_accept_answered(s_accept.sim_id);
    }
}

// Work without a context has nobody to end it.
bool watch(uint32_t ctxt_id) {
    if (ctxt_id == c_nobody) {
        return false;
    }
    rilreq_state_info[ctxt_id].p_released = on_released;
    return true;
}

void own_accept(uint32_t sim_id, uint32_t ctxt_id) {
    if (watch(ctxt_id)) {
        s_accept = {sim_id, ctxt_id};
    }
}

}  // namespace

callmngr_pending_action callmngr_pending(uint32_t sim_id) {
    return row(sim_id).pending_call_action;
}

bool callmngr_accepts_in_place(uint32_t sim_id) {
    return row(sim_id).release_specific_accept_waiting;
}

void callmngr_follow_up_start(uint32_t sim_id) {
    row(sim_id) = {};
    callmngr_hold_answered();
    callmngr_retrieve_answered();
}

bool callmngr_hold_is_marked() {
    return sys_mark_is_taken(s_hold.mark);
}

bool callmngr_retrieve_is_marked() {
    return sys_mark_is_taken(s_retrieve.mark);
}

void callmngr_follows_disconnection(uint32_t sim_id, callmngr_pending_action action) {
    row(sim_id).pending_call_action = action;
}

void callmngr_follows_hold(uint32_t sim_id, uint32_t ctxt_id) {
    row(sim_id).pending_call_action = PENDING_ACCEPT_AFTER_HOLD;
    own_accept(sim_id, ctxt_id);
}

void callmngr_plain_hold_sent(uint32_t sim_id, uint32_t ctxt_id) {
    row(sim_id).pending_call_action = PENDING_HOLD;
    if (watch(ctxt_id)) {
        s_hold.set(ctxt_id);
    }
}

void callmngr_plain_retrieve_sent(uint32_t ctxt_id) {
    if (watch(ctxt_id)) {
        s_retrieve.set(ctxt_id);
    }
}

void callmngr_accept_in_place_sent(uint32_t sim_id, uint32_t ctxt_id) {
    row(sim_id).release_specific_accept_waiting = true;
    own_accept(sim_id, ctxt_id);
}

void callmngr_nothing_follows(uint32_t sim_id) {
    row(sim_id).pending_call_action = PENDING_NONE;
}

void callmngr_release_refused(uint32_t sim_id) {
    callmngr_pending_action& pending = row(sim_id).pending_call_action;
    if (pending == PENDING_RETRIEVE || pending == PENDING_ACCEPT) {
        pending = PENDING_NONE;
    }
}

void callmngr_hold_answered() {
    s_hold.clear();
}

void callmngr_retrieve_answered() {
    s_retrieve.clear();
}

bool callmngr_accept_answered(uint32_t sim_id) {
    bool ends_another = std::exchange(row(sim_id).release_specific_accept_waiting, false);
    if (row(sim_id).pending_call_action == PENDING_ACCEPT_AFTER_HOLD) {
        row(sim_id).pending_call_action = PENDING_NONE;
        ends_another = true;
    }
    return ends_another;
}
