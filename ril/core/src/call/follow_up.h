// What lives between an operation on calls and its answer: the busy marks and what has to follow. Each function below
// is one transition; nobody else writes this state.
//
// A mark, and an accept that is to end an operation, belong to its context: the answer ends them, and so does the
// release of the context by whatever way, so that neither a dial nor the next answer meets what nobody waits for.
#pragma once

#include <cstdint>

#include "ril/core/src/call/call.h"

enum callmngr_pending_action : uint32_t {
    PENDING_NONE = 0,
    PENDING_RETRIEVE = 1,           // after the disconnection, retrieve the held call
    PENDING_ACCEPT = 2,             // after the disconnection, accept the waiting call
    PENDING_ACCEPT_AFTER_HOLD = 3,  // after the answer to the hold, accept the waiting call
    PENDING_HOLD = 6,               // a plain hold: nothing follows
};

callmngr_pending_action callmngr_pending(uint32_t sim_id);
// True while a waiting call is accepted in place of the active one that was to be released, and there is none.
bool callmngr_accepts_in_place(uint32_t sim_id);

void callmngr_follow_up_start(uint32_t sim_id);  // start values; frees the marks

// True, with nothing changed, while a hold or retrieve with a mark is on its way; also while a dial is.
bool callmngr_hold_is_marked();
bool callmngr_retrieve_is_marked();

// --- What was sent ---------------------------------------------------------------------------------------------------

void callmngr_follows_disconnection(uint32_t sim_id, callmngr_pending_action action);
void callmngr_follows_hold(uint32_t sim_id, uint32_t ctxt_id);  // an accept
void callmngr_plain_hold_sent(uint32_t sim_id, uint32_t ctxt_id);
void callmngr_plain_retrieve_sent(uint32_t ctxt_id);
void callmngr_accept_in_place_sent(uint32_t sim_id, uint32_t ctxt_id);

// --- What was answered -----------------------------------------------------------------------------------------------

void callmngr_nothing_follows(uint32_t sim_id);
void callmngr_release_refused(uint32_t sim_id);  // no disconnection comes
void callmngr_hold_answered();                   // the hold's mark is free, whoever set it
void callmngr_retrieve_answered();               // the retrieve's mark is free, whoever set it
// True if the accept was the end of another operation, which is over now.
bool callmngr_accept_answered(uint32_t sim_id);
