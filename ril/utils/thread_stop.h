// How a thread is told to end wherever it waits, without being killed while it holds the allocator or a lock.
//
// The owner calls thread_stop_request, which marks the thread and signals it with SIGUSR1. The signal ends system calls
// that can be interrupted, and its handler posts the semaphore that the thread is registered to sleep on. Each wait on
// that thread then returns early, and so does every later one, until the thread's own loop sees thread_stop_requested
// and returns. So a handler under way finishes, its destructors run, and nobody is left holding anything.
//
// At most one thread of the process is stoppable at a time: the RIL thread.
#pragma once

#include <pthread.h>
#include <semaphore.h>

// Forgets the last request. The owner calls it before it creates the next stoppable thread.
void thread_stop_arm();

// Makes the calling thread the stoppable one / ends that. On the thread itself, as its first and last act.
void thread_stop_enter();
void thread_stop_leave();

// Tells `thread`, the stoppable one, to end. Any other thread. The caller joins it.
void thread_stop_request(pthread_t thread);

// True on the stoppable thread once it was told to end, false on every other thread.
bool thread_stop_requested();

// A wait in progress. Between construction and destruction a stop request posts `sem`; construct it before the test of
// thread_stop_requested that precedes the wait, so that no request falls between the two.
class ThreadStopWait {
public:
    explicit ThreadStopWait(sem_t* sem);
    ~ThreadStopWait();
    ThreadStopWait(const ThreadStopWait&) = delete;
    ThreadStopWait& operator=(const ThreadStopWait&) = delete;

private:
    bool registered_;
};

// The handler of SIGUSR1. Async-signal-safe; does nothing on any thread but one that was told to end.
void thread_stop_signal();
