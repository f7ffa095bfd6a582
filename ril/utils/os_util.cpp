#include "ril/utils/os_util.h"

#include <pthread.h>
#include <semaphore.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <limits>

#include "ril/utils/mem_util.h"
#include "ril/utils/thread_stop.h"
#include "ril/utils/trace.h"

struct sys_sem {
    sem_t sem;
};

// What every post and fetch touches stands together, in front of the ring.
struct sys_mbox {
    int32_t first;         // slot of the oldest message, -1 when empty
    int32_t last;          // slot of the newest message, -1 when empty
    int32_t pending;       // messages in the ring
    pthread_mutex_t lock;  // guards all but not_empty
    sys_sem_t not_empty;
    std::array<void*, 128> msgs;
};

namespace {

constexpr int32_t c_last_slot = static_cast<int32_t>(std::tuple_size_v<decltype(sys_mbox::msgs)>) - 1;

bool is_full(const sys_mbox& mbox) {
    return (mbox.first == 0 && mbox.last == c_last_slot) || (mbox.first != -1 && mbox.first == mbox.last + 1);
}

timespec mark_clock() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);  // the network sets the other clock
    return now;
}

bool is_free(const sys_mark& mark) {
    const timespec now = mark_clock();
    return !mark.taken || now.tv_sec > mark.end.tv_sec ||
           (now.tv_sec == mark.end.tv_sec && now.tv_nsec >= mark.end.tv_nsec);
}

}  // namespace

sys_sem_t sys_sem_new(uint32_t count) {
    auto* sem = static_cast<sys_sem_t>(MEM_ALLOC(sizeof(sys_sem)));
    if (sem == nullptr) {
        return nullptr;
    }
    if (sem_init(&sem->sem, 0, count) != 0) {
        MEM_FREE(sem);
        return nullptr;
    }
    return sem;
}

void sys_sem_free(sys_sem_t sem) {
    if (sem == nullptr) {
        return;
    }
    sem_destroy(&sem->sem);
    MEM_FREE(sem);
}

void sys_sem_signal(sys_sem_t sem) {
    if (sem != nullptr) {
        sem_post(&sem->sem);
    }
}

void sys_sem_wait(sys_sem_t sem) {
    if (sem != nullptr && thread_stop_wait(&sem->sem, nullptr) == WAIT_FAILED) {
        RIL_TRACE(TRACE_ERROR, "%s: sem_wait returned errno(%d)\n", __func__, errno);
    }
}

void sys_mark_lock(sys_mark& mark) {
    const MutexHold hold(mark.lock);
    while (!is_free(mark)) {
        pthread_cond_clockwait(&mark.released, &mark.lock, CLOCK_MONOTONIC, &mark.end);
    }
    mark.taken = true;
    mark.end.tv_sec = std::numeric_limits<time_t>::max();
}

bool sys_mark_trylock(sys_mark& mark, int32_t seconds) {
    const MutexHold hold(mark.lock);
    if (!is_free(mark)) {
        return false;
    }
    mark.taken = true;
    mark.end = mark_clock();
    mark.end.tv_sec += seconds;
    return true;
}

bool sys_mark_is_taken(sys_mark& mark) {
    const MutexHold hold(mark.lock);
    return !is_free(mark);
}

void sys_mark_unlock(sys_mark& mark) {
    const MutexHold hold(mark.lock);
    mark.taken = false;
    pthread_cond_signal(&mark.released);
}

sys_mbox_t sys_mbox_new() {
    auto* mbox = static_cast<sys_mbox_t>(MEM_ALLOC(sizeof(sys_mbox)));
    if (mbox == nullptr) {
        return nullptr;
    }
    mbox->first = -1;
    mbox->last = -1;
    mbox->not_empty = sys_sem_new(0);
    if (mbox->not_empty == nullptr) {
        MEM_FREE(mbox);
        return nullptr;
    }
    pthread_mutex_init(&mbox->lock, nullptr);
    return mbox;
}

void sys_mbox_free(sys_mbox_t mbox) {
    if (mbox == nullptr) {
        return;
    }
    sys_sem_free(mbox->not_empty);
    pthread_mutex_destroy(&mbox->lock);
    MEM_FREE(mbox);
}

uint32_t sys_mbox_post(sys_mbox_t mbox, void* msg) {
    if (mbox == nullptr) {
        return 0;
    }
    bool was_empty = false;
    {
        const MutexHold hold(mbox->lock);
        if (is_full(*mbox)) {
            RIL_TRACE(TRACE_ERROR, "Mail Box --> Full\n");
            return 0;
        }
        if (mbox->last == -1) {
            mbox->first = 0;
        }
        mbox->last = mbox->last == c_last_slot ? 0 : mbox->last + 1;
        mbox->msgs[static_cast<size_t>(mbox->last)] = msg;
        was_empty = mbox->pending++ == 0;
    }
    // Behind the lock, so that the consumer does not wake up only to wait for it.
    if (was_empty) {
        sys_sem_signal(mbox->not_empty);
    }
    return 1;
}

uint32_t sys_mbox_fetch(sys_mbox_t mbox, void** msg) {
    if (mbox == nullptr) {
        return 0;
    }
    const MutexHold hold(mbox->lock);
    if (mbox->first == -1) {
        return 0;
    }
    --mbox->pending;
    *msg = mbox->msgs[static_cast<size_t>(mbox->first)];
    if (mbox->first == mbox->last) {
        mbox->first = -1;
        mbox->last = -1;
    } else {
        mbox->first = mbox->first == c_last_slot ? 0 : mbox->first + 1;
    }
    return 1;
}

void sys_mbox_wait(sys_mbox_t mbox) {
    if (mbox == nullptr) {
        return;
    }
    {
        const MutexHold hold(mbox->lock);
        if (mbox->pending != 0) {
            return;
        }
    }
    sys_sem_wait(mbox->not_empty);
}
