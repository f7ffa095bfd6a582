#include "rpc/multi-client/rpc-stubs/ril/transport_slots.h"

#include <array>
#include <cstdlib>

#include "rpc/multi-client/utils/osa/android/sys_arch.h"

pthread_mutex_t SynchSemLock = PTHREAD_MUTEX_INITIALIZER;

namespace {

constexpr int32_t c_free_slot = -1;

struct SynchSem {
    sem_t semaphore;
    int32_t id = c_free_slot;
    uint32_t context_id = 0;
    uint64_t order = 0;     // rises with each call
    bool released = false;  // the caller was woken: no return belongs to this call any more
    RpcReturn sync_buffer{};
};

// Guarded by SynchSemLock, but for the semaphore of a taken slot, on which its caller sleeps.
std::array<SynchSem, c_synch_sem_count> SynchSemList;
uint64_t s_call_order = 0;

}  // namespace

uint32_t RPCCreateSemaphore(uint32_t id, uint32_t context_id) {
    for (uint32_t slot = 0; slot < c_synch_sem_count; slot++) {
        SynchSem& entry = SynchSemList[slot];
        if (entry.id != c_free_slot) {
            continue;
        }
        if (sem_init(&entry.semaphore, 0, 0) != 0) {
            return c_synch_sem_count;
        }
        entry.id = static_cast<int32_t>(id);
        entry.context_id = context_id;
        entry.order = s_call_order++;
        entry.released = false;
        return slot;
    }
    return c_synch_sem_count;
}

int RPCWaitOnSemaphore(uint32_t slot) {
    return sys_rpc_sem_wait(&SynchSemList[slot].semaphore) == 0 ? 1 : 0;
}

uint32_t RPCGetSemaphoreId(uint32_t id, uint32_t context_id) {
    uint32_t found = c_synch_sem_count;
    for (uint32_t slot = 0; slot < c_synch_sem_count; slot++) {
        const SynchSem& entry = SynchSemList[slot];
        if (entry.id == static_cast<int32_t>(id) && entry.context_id == context_id && !entry.released &&
            (found == c_synch_sem_count || entry.order < SynchSemList[found].order)) {
            found = slot;
        }
    }
    return found;
}

void RPCSetSyncBuffer(uint32_t slot, RpcReturn ret) {
    SynchSemList[slot].sync_buffer = ret;
}

void RPCReleaseSemaphore(uint32_t slot) {
    SynchSemList[slot].released = true;
    sys_rpc_sem_signal(&SynchSemList[slot].semaphore);
}

void RPCFailAllSemaphores() {
    for (uint32_t slot = 0; slot < c_synch_sem_count; slot++) {
        if (SynchSemList[slot].id != c_free_slot && !SynchSemList[slot].released) {
            RPCReleaseSemaphore(slot);
        }
    }
}

RpcReturn RPCGetSyncBuffer(uint32_t slot) {
    const RpcReturn ret = SynchSemList[slot].sync_buffer;
    SynchSemList[slot].sync_buffer = {};
    return ret;
}

int RPCDeleteSemaphore(uint32_t slot) {
    SynchSem& entry = SynchSemList[slot];
    if (entry.id == c_free_slot) {
        return 0;
    }
    RPCReleaseReturn(entry.sync_buffer);
    sys_rpc_sem_free(&entry.semaphore);
    entry.id = c_free_slot;
    return 1;
}

void RPCReleaseReturn(RpcReturn& ret) {
    free(ret.body);
    ret = {};
}
