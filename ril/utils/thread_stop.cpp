#include "ril/utils/thread_stop.h"

#include <poll.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace {

// The stoppable thread writes the first three, the thread that ends it writes s_requested. All are lock-free, as the
// signal handler needs.
std::atomic<pthread_t> s_owner{};
std::atomic<bool> s_owned{false};
std::atomic<sem_t*> s_waiting_on{nullptr};
std::atomic<bool> s_requested{false};

static_assert(std::atomic<pthread_t>::is_always_lock_free && std::atomic<sem_t*>::is_always_lock_free);

bool on_owner() {
    return s_owned.load(std::memory_order_acquire) &&
           pthread_equal(s_owner.load(std::memory_order_relaxed), pthread_self()) != 0;
}

}  // namespace

void thread_stop_arm() {
    s_requested.store(false, std::memory_order_release);
}

void thread_stop_enter() {
    s_waiting_on.store(nullptr, std::memory_order_relaxed);
    s_owner.store(pthread_self(), std::memory_order_relaxed);
    s_owned.store(true, std::memory_order_release);
#ifdef __SANITIZE_THREAD__
    // GCC 12's ThreadSanitizer loses a signal that comes into a thread's first blocking call: this is that call.
    poll(nullptr, 0, 0);
#endif
}

void thread_stop_leave() {
    s_owned.store(false, std::memory_order_release);
}

void thread_stop_request(pthread_t thread) {
    s_requested.store(true, std::memory_order_release);
    pthread_kill(thread, SIGUSR1);
}

bool thread_stop_requested() {
    return s_requested.load(std::memory_order_acquire) && on_owner();
}

ThreadStopWait::ThreadStopWait(sem_t* sem) : registered_(on_owner()) {
    if (registered_) {
        s_waiting_on.store(sem, std::memory_order_relaxed);
        // The other side of this order is a signal handler on this very thread: a compiler fence is enough.
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
}

ThreadStopWait::~ThreadStopWait() {
    if (registered_) {
        s_waiting_on.store(nullptr, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
}

void thread_stop_signal() {
    const int saved_errno = errno;
    if (thread_stop_requested()) {
        sem_t* sem = s_waiting_on.load(std::memory_order_relaxed);
        if (sem != nullptr) {
            sem_post(sem);
        }
    }
    errno = saved_errno;
}
