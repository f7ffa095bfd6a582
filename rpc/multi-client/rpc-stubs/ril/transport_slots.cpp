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
    uint64_t order = 0;    // rises with each call
    bool settled = false;  // the return is here, or the call has failed: no return belongs to it any more
    RpcReturn sync_buffer{};
};

// Guarded by SynchSemLock, but for the semaphores. Those live as long as the process: a post may come behind the end of
// its call, and then does no more than wake the slot's next caller once in vain.
std::array<SynchSem, c_synch_sem_count> SynchSemList;
bool is_first_time = true;
uint64_t s_call_order = 0;

bool init_semaphores() {
    for (SynchSem& entry : SynchSemList) {
        if (sem_init(&entry.semaphore, 0, 0) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

uint32_t RPCCreateSemaphore(uint32_t id, uint32_t context_id) {
    if (is_first_time) {
        if (!init_semaphores()) {
            return c_synch_sem_count;
        }
        is_first_time = false;
    }
    for (uint32_t slot = 0; slot < c_synch_sem_count; slot++) {
        SynchSem& entry = SynchSemList[slot];
        if (entry.id == c_free_slot) {
            entry.id = static_cast<int32_t>(id);
            entry.context_id = context_id;
            entry.order = s_call_order++;
            entry.settled = false;
            return slot;
        }
    }
    return c_synch_sem_count;
}

int RPCDeleteSemaphore(uint32_t slot) {
    SynchSem& entry = SynchSemList[slot];
    if (entry.id == c_free_slot) {
        return 0;
    }
    RPCReleaseReturn(entry.sync_buffer);
    entry.id = c_free_slot;
    return 1;
}

int RPCWaitOnSemaphore(uint32_t slot, RpcReturn& ret) {
    SynchSem& entry = SynchSemList[slot];
    for (;;) {
        const bool posted = sys_rpc_sem_wait(&entry.semaphore) == 0;
        const SysMutexHold hold(SynchSemLock);
        if (posted && !entry.settled) {
            continue;  // meant for the slot's previous caller
        }
        // A return that came while the wait was ending still counts. One that comes later finds no slot.
        ret = entry.sync_buffer;
        entry.sync_buffer = {};
        RPCDeleteSemaphore(slot);
        return ret.body != nullptr ? 1 : 0;
    }
}

uint32_t RPCGetSemaphoreId(uint32_t id, uint32_t context_id) {
    uint32_t found = c_synch_sem_count;
    uint32_t waiting = 0;
    uint32_t last = c_synch_sem_count;
    for (uint32_t slot = 0; slot < c_synch_sem_count; slot++) {
        const SynchSem& entry = SynchSemList[slot];
        if (entry.id != static_cast<int32_t>(id) || entry.settled) {
            continue;
        }
        waiting++;
        last = slot;
        if (entry.context_id == context_id && (found == c_synch_sem_count || entry.order < SynchSemList[found].order)) {
            found = slot;
        }
    }
    return found == c_synch_sem_count && waiting == 1 ? last : found;
}

void RPCSetSyncBuffer(uint32_t slot, RpcReturn ret) {
    SynchSemList[slot].sync_buffer = ret;
    SynchSemList[slot].settled = true;
}

void RPCReleaseSemaphore(uint32_t slot) {
    sys_rpc_sem_signal(&SynchSemList[slot].semaphore);
}

void RPCFailAllSemaphores() {
    for (uint32_t slot = 0; slot < c_synch_sem_count; slot++) {
        if (SynchSemList[slot].id != c_free_slot && !SynchSemList[slot].settled) {
            SynchSemList[slot].settled = true;
            RPCReleaseSemaphore(slot);
        }
    }
}

void RPCReleaseReturn(RpcReturn& ret) {
    free(ret.body);
    ret = {};
}
