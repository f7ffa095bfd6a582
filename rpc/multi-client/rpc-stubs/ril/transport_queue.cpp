#include "rpc/multi-client/rpc-stubs/ril/transport_queue.h"

#include <pthread.h>
#include <semaphore.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "rpc/multi-client/utils/osa/android/rpc_log.h"
#include "rpc/multi-client/utils/osa/android/sys_arch.h"

namespace {

pthread_mutex_t WriteMutexLock = PTHREAD_MUTEX_INITIALIZER;

// Guarded by WriteMutexLock.
std::array<RpcQueueEntry, c_rpc_queue_size> RPC_READ_DATA;
int32_t rpc_front = -1;  // oldest entry; -1 when the queue is empty
int32_t rpc_rear = -1;   // newest entry; -1 when the queue is empty
uint32_t rpc_msg_in_queue = 0;

// Posted when the queue leaves the empty state. Its count may be 1 with nothing queued; the dispatch thread then looks
// once in vain.
sem_t sem_wait_for_msg;

int32_t next_of(int32_t position) {
    return position == c_rpc_queue_size - 1 ? 0 : position + 1;
}

int APPAddDataToQueue(const RpcQueueEntry& entry) {
    const SysMutexHold hold(WriteMutexLock);
    if (rpc_front == next_of(rpc_rear) && rpc_rear != -1) {
        RPC_LOG_ERROR("MSG QUEUE --> FULL \n");
        return 0;
    }
    rpc_rear = next_of(rpc_rear);
    if (rpc_front == -1) {
        rpc_front = rpc_rear;
    }
    if (rpc_msg_in_queue == 0) {
        sys_rpc_sem_signal(&sem_wait_for_msg);
    }
    rpc_msg_in_queue++;
    RPC_READ_DATA[static_cast<size_t>(rpc_rear)] = entry;
    return 1;
}

}  // namespace

int APPInitQueue() {
    return sem_init(&sem_wait_for_msg, 0, 0) == 0 ? 1 : 0;
}

int APPSendMsg(std::span<const uint8_t> data, uint32_t index) {
    // A packet may end with its header; malloc(0) may give null.
    auto* copy = static_cast<uint8_t*>(malloc(data.empty() ? 1 : data.size()));
    if (copy == nullptr) {
        RPC_LOG_ERROR("MSG QUEUE --> Memory allocation Failed\n");
        return 0;
    }
    if (!data.empty()) {
        memcpy(copy, data.data(), data.size());
    }
    if (APPAddDataToQueue({copy, static_cast<uint32_t>(data.size()), c_rpc_message_kind, index}) == 0) {
        RPC_LOG_ERROR("%s--: APPAddDataToQueue failed\n", __func__);
        free(copy);
        return 0;
    }
    return 1;
}

int APPRcvMsg(RpcQueueEntry& out) {
    const SysMutexHold hold(WriteMutexLock);
    if (rpc_front == -1) {
        return 0;
    }
    out = RPC_READ_DATA[static_cast<size_t>(rpc_front)];
    rpc_msg_in_queue--;
    if (rpc_front == rpc_rear) {
        rpc_front = -1;
        rpc_rear = -1;
    } else {
        rpc_front = next_of(rpc_front);
    }
    return 1;
}

void APPWaitForMsg() {
    {
        const SysMutexHold hold(WriteMutexLock);
        if (rpc_msg_in_queue != 0) {
            return;
        }
    }
    while (sem_wait(&sem_wait_for_msg) != 0 && errno == EINTR) {
    }
}
