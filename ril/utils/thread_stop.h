// How a thread is told to end wherever it waits, without being killed while it holds the allocator or a lock.
//
// It sleeps in thread_stop_wait alone. thread_stop_request marks the thread and wakes it there; that wait, and every
// later one, ends with WAIT_STOPPED, until the thread's own loop sees thread_stop_requested and returns. So a handler
// under way finishes, its destructors run, and nobody is left holding anything. The request also sends SIGUSR1, which
// cuts short a system call (a sleep): nothing depends on whether it arrives.
//
// At most one thread of the process is stoppable at a time: the RIL thread.
#pragma once

#include <pthread.h>
#include <semaphore.h>

#include <ctime>

// Forgets the last request. The owner calls it before it creates the next stoppable thread.
void thread_stop_arm();

// Makes the calling thread the stoppable one / ends that. On the thread itself, as its first and last act.
void thread_stop_enter();
void thread_stop_leave();

// Tells `thread`, the stoppable one, to end. Any other thread. The caller joins it.
void thread_stop_request(pthread_t thread);

// True on the stoppable thread, told to end or not. Any thread.
bool thread_is_stoppable();

// True on the stoppable thread once it was told to end, false on every other thread.
bool thread_stop_requested();

enum wait_end {
    WAIT_POSTED,
    WAIT_STOPPED,    // this thread was told to end, whatever else happened
    WAIT_TIMED_OUT,  // the deadline has come
    WAIT_FAILED,     // errno tells why
};

// Sleeps on `sem` until it is posted, at the longest until `deadline` on CLOCK_REALTIME; null waits for ever. A signal
// handler that ran in between does not end it. Any thread.
wait_end thread_stop_wait(sem_t* sem, const timespec* deadline);
