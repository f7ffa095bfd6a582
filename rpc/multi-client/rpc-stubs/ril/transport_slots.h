// The slots of synchronous calls. A caller takes one, sends, and sleeps on its semaphore until the RPC receive thread
// leaves the return there.
//
// Every function but RPCWaitOnSemaphore is called with SynchSemLock held. Who takes a slot keeps the lock until the
// packet is on the socket, so that among calls of one function and one context the order of the slots is the order of
// the packets. Nobody sleeps under the lock: the RPC receive thread takes it for each return.
#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <cstddef>
#include <cstdint>

#include "rpc/multi-client/rpc-stubs/ril/transport.h"

constexpr uint32_t c_synch_sem_count = 40;  // as a slot index: none

extern pthread_mutex_t SynchSemLock;

// A free slot, now taken for a call of function `id` in `context_id`, or none.
uint32_t RPCCreateSemaphore(uint32_t id, uint32_t context_id);

// Sleeps, at most 5 seconds, until RPCReleaseSemaphore. 1 signalled, 0 the wait ended without. The slot's caller, with
// SynchSemLock not held.
int RPCWaitOnSemaphore(uint32_t slot);

// The slot whose call was sent first among those of this function and context that have no return yet, or none.
uint32_t RPCGetSemaphoreId(uint32_t id, uint32_t context_id);

// Leaves the return in the slot, which owns it from then on.
void RPCSetSyncBuffer(uint32_t slot, RpcReturn ret);

// Wakes the slot's caller. Without a sync buffer the call has failed.
void RPCReleaseSemaphore(uint32_t slot);

// Wakes all callers without a return.
void RPCFailAllSemaphores();

// Takes the return out of the slot, with a null body when there is none. The caller owns it.
RpcReturn RPCGetSyncBuffer(uint32_t slot);

// Gives the slot back, with what it may still hold. 1, 0 for a slot that is not taken.
int RPCDeleteSemaphore(uint32_t slot);
