#include "ril/utils/os_util.h"

#include <pthread.h>
#include <semaphore.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <utility>

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

class ScopedLock {
public:
    explicit ScopedLock(pthread_mutex_t& lock) : lock_(lock) { pthread_mutex_lock(&lock_); }
    ~ScopedLock() { pthread_mutex_unlock(&lock_); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    pthread_mutex_t& lock_;
};

bool is_full(const sys_mbox& mbox) {
    return (mbox.first == 0 && mbox.last == c_last_slot) || (mbox.first != -1 && mbox.first == mbox.last + 1);
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
    if (sem == nullptr) {
        return;
    }
    const ThreadStopWait registered(&sem->sem);
    while (!thread_stop_requested()) {
        if (sem_wait(&sem->sem) == 0) {
            return;
        }
        const int error = errno;
        if (error != EINTR) {
            RIL_TRACE(TRACE_ERROR, "%s: sem_wait returned errno(%d)\n", __func__, error);
            return;
        }
    }
}

void sys_mark_lock(sys_mark& mark) {
    const ScopedLock lock(mark.lock);
    while (mark.taken) {
        pthread_cond_wait(&mark.released, &mark.lock);
    }
    mark.taken = true;
}

bool sys_mark_lock_for(sys_mark& mark, uint32_t seconds) {
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);  // the network sets the other clock
    end.tv_sec += static_cast<time_t>(seconds);
    const ScopedLock lock(mark.lock);
    while (mark.taken) {
        if (pthread_cond_clockwait(&mark.released, &mark.lock, CLOCK_MONOTONIC, &end) == ETIMEDOUT && mark.taken) {
            return false;
        }
    }
    mark.taken = true;
    return true;
}

bool sys_mark_trylock(sys_mark& mark) {
    const ScopedLock lock(mark.lock);
    return !std::exchange(mark.taken, true);
}

void sys_mark_unlock(sys_mark& mark) {
    const ScopedLock lock(mark.lock);
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
        const ScopedLock lock(mbox->lock);
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
    const ScopedLock lock(mbox->lock);
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
        const ScopedLock lock(mbox->lock);
        if (mbox->pending != 0) {
            return;
        }
    }
    sys_sem_wait(mbox->not_empty);
}
