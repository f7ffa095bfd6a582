#include "ril/utils/thread_stop.h"

#include <atomic>
#include <cerrno>
#include <csignal>

#include "ril/utils/os_util.h"

namespace {

thread_local bool t_stoppable = false;

// Written by the thread that ends the stoppable one, with s_lock held.
std::atomic<bool> s_requested{false};

// Guards what the stoppable thread sleeps on: its semaphore is posted while it cannot leave the wait and free it.
pthread_mutex_t s_lock = PTHREAD_MUTEX_INITIALIZER;
sem_t* s_waiting_on = nullptr;

// False if the thread was told to end: a wait must not begin then.
bool note_wait(sem_t* sem) {
    const MutexHold hold(s_lock);
    s_waiting_on = sem;
    return !s_requested.load(std::memory_order_relaxed);
}

wait_end wait(sem_t* sem, const timespec* deadline) {
    while ((deadline == nullptr ? sem_wait(sem) : sem_timedwait(sem, deadline)) != 0) {
        if (errno != EINTR) {
            return errno == ETIMEDOUT ? WAIT_TIMED_OUT : WAIT_FAILED;
        }
    }
    return WAIT_POSTED;
}

}  // namespace

void thread_stop_arm() {
    s_requested.store(false, std::memory_order_release);
}

void thread_stop_enter() {
    t_stoppable = true;
    // Whoever created the thread may have kept the signal to itself.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void thread_stop_leave() {
    t_stoppable = false;
}

void thread_stop_request(pthread_t thread) {
    {
        const MutexHold hold(s_lock);
        s_requested.store(true, std::memory_order_release);
        if (s_waiting_on != nullptr) {
            sem_post(s_waiting_on);
        }
    }
    pthread_kill(thread, SIGUSR1);
}

bool thread_is_stoppable() {
    return t_stoppable;
}

bool thread_stop_requested() {
    return s_requested.load(std::memory_order_acquire) && t_stoppable;
}

wait_end thread_stop_wait(sem_t* sem, const timespec* deadline) {
    if (!t_stoppable) {
        return wait(sem, deadline);
    }
    const wait_end end = note_wait(sem) ? wait(sem, deadline) : WAIT_STOPPED;
    return note_wait(nullptr) ? end : WAIT_STOPPED;
}
