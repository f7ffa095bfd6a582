// Thin wrappers around POSIX threads and semaphores for the RPC client. The caller owns all storage.
//
// Each returns 0 for success and -1 for failure or a null argument, and runs on any thread.
#pragma once

#include <pthread.h>
#include <sched.h>
#include <semaphore.h>

// A failure of these two is logged.
int sys_rpc_sem_free(sem_t* sem);
int sys_rpc_sem_signal(sem_t* sem);

// The wait of a synchronous call: at most 5 seconds from the call on, whatever signals arrive meanwhile. 0 when
// signalled; -1 after 5 seconds, after an error (both logged), or as soon as the calling thread is told to end
// (ril/utils/thread_stop.h).
int sys_rpc_sem_wait(sem_t* sem);

int sys_thread_attr_init(pthread_attr_t* attr);
int sys_thread_attr_setdetachstate(pthread_attr_t* attr, int state);
int sys_thread_new(pthread_t* thread, const pthread_attr_t* attr, void* (*entry)(void*), void* arg);
int sys_thread_set_schedparam(const pthread_t* thread, int policy, const sched_param* param);

// Sends `signal` to the thread; what ends it is the signal's handler.
int sys_rpc_thread_free(const pthread_t* thread, int signal);

int sys_mutex_new(pthread_mutex_t* mutex);
int sys_mutex_lock(pthread_mutex_t* mutex);
int sys_mutex_unlock(pthread_mutex_t* mutex);
int sys_mutex_trylock(pthread_mutex_t* mutex);  // -1 also when the mutex is taken
int sys_mutex_free(pthread_mutex_t* mutex);
int sys_mutex_wait(pthread_cond_t* cond, pthread_mutex_t* mutex);  // `mutex` is locked on entry and on return

int sys_cond_init(pthread_cond_t* cond);
int sys_cond_free(pthread_cond_t* cond);

// Holds a mutex while it lives.
class SysMutexHold {
public:
    explicit SysMutexHold(pthread_mutex_t& mutex) : mutex_(mutex) { sys_mutex_lock(&mutex_); }
    ~SysMutexHold() { sys_mutex_unlock(&mutex_); }
    SysMutexHold(const SysMutexHold&) = delete;
    SysMutexHold& operator=(const SysMutexHold&) = delete;

private:
    pthread_mutex_t& mutex_;
};
