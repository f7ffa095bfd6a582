// The busy marks and who holds them. A mark belongs to a context: the answer frees it, and so does the release of the
// context by whatever way, so that no dial waits for an answer that nobody takes any more.
#include "ril/core/src/call/busy_marks.h"

#include "ril/core/src/async_ril/async_ril.h"

sys_mark unhold_call_ongoing_mutex_lock;

namespace {

constexpr uint32_t c_nobody = 0;  // no context has this id

// Written under the engine's run lock: by the RIL thread, by a response timer, and by the teardown.
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

void end_accept_of(uint32_t ctxt_id) {
    if (s_accept.ctxt_id != ctxt_id) {
        return;
    }
    s_accept.ctxt_id = c_nobody;
    callmngr_release_specific_accept_waiting(s_accept.sim_id) = 0;
    uint32_t& pending = callmngr_call_management(s_accept.sim_id).pending_call_action;
    if (pending == PENDING_ACCEPT_AFTER_HOLD) {
        pending = PENDING_NONE;
    }
}

void on_released(uint32_t ctxt_id) {
    s_hold.clear_of(ctxt_id);
    s_retrieve.clear_of(ctxt_id);
    end_accept_of(ctxt_id);
}

// Work without a context has nobody to end it.
bool watch(uint32_t ctxt_id) {
    if (ctxt_id == c_nobody) {
        return false;
    }
    rilreq_state_info[ctxt_id].p_released = on_released;
    return true;
}

}  // namespace

bool callmngr_hold_is_marked() {
    return sys_mark_is_taken(s_hold.mark);
}

bool callmngr_retrieve_is_marked() {
    return sys_mark_is_taken(s_retrieve.mark);
}

void callmngr_mark_hold(uint32_t ctxt_id) {
    if (watch(ctxt_id)) {
        s_hold.set(ctxt_id);
    }
}

void callmngr_mark_retrieve(uint32_t ctxt_id) {
    if (watch(ctxt_id)) {
        s_retrieve.set(ctxt_id);
    }
}

void callmngr_own_accept(uint32_t sim_id, uint32_t ctxt_id) {
    if (watch(ctxt_id)) {
        s_accept = {sim_id, ctxt_id};
    }
}

void callmngr_hold_answered() {
    s_hold.clear();
}

void callmngr_retrieve_answered() {
    s_retrieve.clear();
}
