// What an operation of call control holds until its answer, or until its request ends without one.
#pragma once

#include <cstdint>

#include "ril/core/src/call/call.h"

// True, with nothing changed, while a hold or retrieve with a mark is on its way; also while a dial is.
bool callmngr_hold_is_marked();
bool callmngr_retrieve_is_marked();

// Sets the mark for the request of this context.
void callmngr_mark_hold(uint32_t ctxt_id);
void callmngr_mark_retrieve(uint32_t ctxt_id);

// The request of this context ends with an accepted call: pending_call_action 3 or release_specific_accept_waiting is
// its own and goes when it ends.
void callmngr_own_accept(uint32_t sim_id, uint32_t ctxt_id);
