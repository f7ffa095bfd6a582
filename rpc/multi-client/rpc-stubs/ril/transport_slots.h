// The slots of synchronous calls. A caller takes one, sends, and sleeps on its semaphore until the RPC receive thread
// leaves the return there.
//
// SynchSemLock is held for moments only and nobody is woken under it: the RPC receive thread takes it for each return,
// and a caller that wakes at once would only meet it.
#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <cstddef>
#include <cstdint>

#include "rpc/multi-client/rpc-stubs/ril/transport.h"

constexpr uint32_t c_synch_sem_count = 40;  // as a slot index: none

extern pthread_mutex_t SynchSemLock;

// A free slot, now taken for a call of function `id` in `context_id`, or none. With SynchSemLock held.
uint32_t RPCCreateSemaphore(uint32_t id, uint32_t context_id);

// Gives the slot back, and frees what it may still hold. 1, 0 for a slot that is not taken. With SynchSemLock held.
int RPCDeleteSemaphore(uint32_t slot);

// Sleeps, at most 5 seconds, until the slot has its return or its call has failed, and gives the slot back. 1 and the
// return, which the caller owns; 0 without one. The slot's caller, with SynchSemLock not held.
int RPCWaitOnSemaphore(uint32_t slot, RpcReturn& ret);

// Of the calls of this function that have no return yet: the first that was sent in this context, or else the only one,
// or none. With SynchSemLock held.
uint32_t RPCGetSemaphoreId(uint32_t id, uint32_t context_id);

// Leaves the return in the slot, which owns it from then on. With SynchSemLock held; RPCReleaseSemaphore follows.
void RPCSetSyncBuffer(uint32_t slot, RpcReturn ret);

// Wakes the slot's caller. RPC receive thread, with SynchSemLock not held.
void RPCReleaseSemaphore(uint32_t slot);

// Fails all calls that have no return and wakes their callers. With SynchSemLock held.
void RPCFailAllSemaphores();
