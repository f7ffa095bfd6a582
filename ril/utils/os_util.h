// Counting semaphores and the bounded mailbox of the RIL core.
//
// A wait ends early on the RIL thread once that thread was told to end (thread_stop.h).
#pragma once

#include <pthread.h>

#include <cstdint>
#include <ctime>

// Holds a mutex while it lives.
class MutexHold {
public:
    explicit MutexHold(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    ~MutexHold() { pthread_mutex_unlock(&mutex_); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;

private:
    pthread_mutex_t& mutex_;
};

struct sys_sem;
using sys_sem_t = sys_sem*;  // null is "none"

// A semaphore private to the process, or null. Any thread.
sys_sem_t sys_sem_new(uint32_t count);
void sys_sem_free(sys_sem_t sem);
void sys_sem_signal(sys_sem_t sem);

// Returns when signalled; a signal handler that ran in between does not end the wait. Any thread.
void sys_sem_wait(sys_sem_t sem);

// A busy mark: whoever takes it need not be the one who releases it, so that a mark that was taken on a thread which is
// gone can still be released. One that was taken for a time is free again when that time is over.
struct sys_mark {
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t released = PTHREAD_COND_INITIALIZER;
    bool taken = false;
    timespec end{};  // of a taken mark's time, on CLOCK_MONOTONIC
};

void sys_mark_lock(sys_mark& mark);                      // waits until the mark is free, then takes it for good
bool sys_mark_trylock(sys_mark& mark, int32_t seconds);  // true if it was free and is now taken, for that time
bool sys_mark_is_taken(sys_mark& mark);
void sys_mark_unlock(sys_mark& mark);  // a free mark stays free

// A ring of 128 message pointers. It carries them and never owns what they point to. Any number of threads post, one
// fetches and waits.
struct sys_mbox;
using sys_mbox_t = sys_mbox*;

// A new empty mailbox, or null.
sys_mbox_t sys_mbox_new();

// Frees the mailbox, not what it still holds. Nobody may be using it.
void sys_mbox_free(sys_mbox_t mbox);

// 1 stored, 0 full (logged) or a null mailbox: the caller keeps the message. Any thread.
uint32_t sys_mbox_post(sys_mbox_t mbox, void* msg);

// 1 and the oldest message in `msg`, 0 with none or with a null mailbox. Consumer.
uint32_t sys_mbox_fetch(sys_mbox_t mbox, void** msg);

// Returns when a message may be there. Consumer.
void sys_mbox_wait(sys_mbox_t mbox);
