#include "rpc/multi-client/utils/osa/android/sys_arch.h"

#include <cerrno>
#include <csignal>
#include <ctime>

#include "ril/utils/thread_stop.h"
#include "rpc/multi-client/utils/osa/android/rpc_log.h"

namespace {

constexpr time_t c_call_wait_seconds = 5;

// The pthread functions return an error number.
int result_of(int error) {
    return error == 0 ? 0 : -1;
}

}  // namespace

int sys_rpc_sem_free(sem_t* sem) {
    if (sem == nullptr) {
        return -1;
    }
    if (sem_destroy(sem) != 0) {
        RPC_LOG_ERROR("%s: sem_destroy failed %d   %s\n", __func__, __LINE__, __FILE__);
        return -1;
    }
    return 0;
}

int sys_rpc_sem_signal(sem_t* sem) {
    if (sem == nullptr) {
        return -1;
    }
    if (sem_post(sem) != 0) {
        RPC_LOG_ERROR("%s: sem_post failed %d   %s\n", __func__, __LINE__, __FILE__);
        return -1;
    }
    return 0;
}

int sys_rpc_sem_wait(sem_t* sem) {
    if (sem == nullptr) {
        return -1;
    }
    timespec deadline{};
    if (clock_gettime(CLOCK_REALTIME, &deadline) != 0) {
        RPC_LOG_ERROR("clock_gettime error\n");
        return -1;
    }
    deadline.tv_sec += c_call_wait_seconds;
    const wait_end end = thread_stop_wait(sem, &deadline);
    if (end == WAIT_TIMED_OUT) {
        RPC_LOG_ERROR("sem_timedwait() timed out\n");
    } else if (end == WAIT_FAILED) {
        RPC_LOG_ERROR("sem_timedwait error %d\n", errno);
    }
    return end == WAIT_POSTED ? 0 : -1;
}

int sys_thread_attr_init(pthread_attr_t* attr) {
    return attr == nullptr ? -1 : result_of(pthread_attr_init(attr));
}

int sys_thread_attr_setdetachstate(pthread_attr_t* attr, int state) {
    return attr == nullptr ? -1 : result_of(pthread_attr_setdetachstate(attr, state));
}

int sys_thread_new(pthread_t* thread, const pthread_attr_t* attr, void* (*entry)(void*), void* arg) {
    // A null `attr` stands for the defaults and a null `arg` is an argument like any other.
    return thread == nullptr || entry == nullptr ? -1 : result_of(pthread_create(thread, attr, entry, arg));
}

int sys_thread_set_schedparam(const pthread_t* thread, int policy, const sched_param* param) {
    return thread == nullptr || param == nullptr ? -1 : result_of(pthread_setschedparam(*thread, policy, param));
}

int sys_rpc_thread_free(const pthread_t* thread, int signal) {
    return thread == nullptr ? -1 : result_of(pthread_kill(*thread, signal));
}

int sys_mutex_new(pthread_mutex_t* mutex) {
    return mutex == nullptr ? -1 : result_of(pthread_mutex_init(mutex, nullptr));
}

int sys_mutex_lock(pthread_mutex_t* mutex) {
    return mutex == nullptr ? -1 : result_of(pthread_mutex_lock(mutex));
}

int sys_mutex_unlock(pthread_mutex_t* mutex) {
    return mutex == nullptr ? -1 : result_of(pthread_mutex_unlock(mutex));
}

int sys_mutex_trylock(pthread_mutex_t* mutex) {
    return mutex == nullptr ? -1 : result_of(pthread_mutex_trylock(mutex));
}

int sys_mutex_free(pthread_mutex_t* mutex) {
    return mutex == nullptr ? -1 : result_of(pthread_mutex_destroy(mutex));
}

int sys_mutex_wait(pthread_cond_t* cond, pthread_mutex_t* mutex) {
    return cond == nullptr || mutex == nullptr ? -1 : result_of(pthread_cond_wait(cond, mutex));
}

int sys_cond_init(pthread_cond_t* cond) {
    return cond == nullptr ? -1 : result_of(pthread_cond_init(cond, nullptr));
}

int sys_cond_free(pthread_cond_t* cond) {
    return cond == nullptr ? -1 : result_of(pthread_cond_destroy(cond));
}
