#include "ril/utils/os_util.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>

#include <csignal>
#include <thread>

#include "ril/utils/thread_stop.h"
#include "ril/utils/trace.h"

namespace {

// Fills the ring from every possible start slot: its capacity and order do not depend on where it wraps. One message
// always stays, so that the ring does not start over at slot 0.
TEST(Mailbox, Holds128InOrderWhereverItWraps) {
    for (uintptr_t start = 0; start < 130; ++start) {
        sys_mbox_t mbox = sys_mbox_new();
        ASSERT_NE(mbox, nullptr);
        uintptr_t posted = 0;
        uintptr_t fetched = 0;
        const auto post = [&] {
            return sys_mbox_post(mbox, reinterpret_cast<void*>(posted + 1)) == 1 && ++posted != 0;
        };
        const auto fetch = [&] {
            void* msg = nullptr;
            return sys_mbox_fetch(mbox, &msg) == 1 && reinterpret_cast<uintptr_t>(msg) == ++fetched;
        };
        while (posted < start) {
            ASSERT_TRUE(post() && (posted == 1 || fetch()));
        }
        while (posted < start + 999 && post()) {
        }
        ASSERT_EQ(posted - fetched, 128U) << start;
        ASSERT_TRUE(fetch() && post());
        while (fetch()) {
        }
        ASSERT_EQ(fetched, posted) << start;
        sys_mbox_wait(mbox);  // once for nothing: the count that a post left
        sys_mbox_free(mbox);
    }
}

// The request may fall before the thread has started, before its wait or into it: it ends each time, also where the
// thread was created with the signal blocked.
TEST(ThreadStop, EndsAWaitWheneverItComes) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    for (int round = 0; round < 500; ++round) {
        sem_t sem;
        sem_init(&sem, 0, 0);
        thread_stop_arm();
        std::thread stoppable([&] {
            thread_stop_enter();
            EXPECT_EQ(thread_stop_wait(&sem, nullptr), WAIT_STOPPED);
            sem_post(&sem);
            EXPECT_EQ(thread_stop_wait(&sem, nullptr), WAIT_STOPPED);  // a later wait does not start any more
            thread_stop_leave();
        });
        for (int spin = 0; spin < round % 50; ++spin) {
            std::this_thread::yield();
        }
        thread_stop_request(stoppable.native_handle());
        stoppable.join();
        EXPECT_FALSE(thread_stop_requested());
        sem_destroy(&sem);
    }
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

TEST(ThreadStop, AWaitTellsWhyItEnded) {
    sem_t sem;
    sem_init(&sem, 0, 1);
    timespec past{};
    EXPECT_EQ(thread_stop_wait(&sem, nullptr), WAIT_POSTED);
    EXPECT_EQ(thread_stop_wait(&sem, &past), WAIT_TIMED_OUT);
    past.tv_nsec = -1;
    EXPECT_EQ(thread_stop_wait(&sem, &past), WAIT_FAILED);
    sem_destroy(&sem);
}

TEST(Mark, IsReleasedByAnyThreadAndOnlyOnce) {
    sys_mark mark;
    sys_mark_lock(mark);
    EXPECT_FALSE(sys_mark_trylock(mark, 0));
    std::thread waiter([&] { sys_mark_lock(mark); });
    std::thread([&] { sys_mark_unlock(mark); }).join();
    waiter.join();
    EXPECT_TRUE(sys_mark_is_taken(mark));
    sys_mark_unlock(mark);
    sys_mark_unlock(mark);
    EXPECT_FALSE(sys_mark_is_taken(mark));
    EXPECT_TRUE(sys_mark_trylock(mark, 3600));
    EXPECT_FALSE(sys_mark_trylock(mark, 3600));
}

// Who waits for a mark waits for its holder's time and not for one of its own.
TEST(Mark, IsFreeWhenItsTimeIsOver) {
    sys_mark mark;
    EXPECT_TRUE(sys_mark_trylock(mark, 0));
    EXPECT_FALSE(sys_mark_is_taken(mark));
    EXPECT_TRUE(sys_mark_trylock(mark, 1));
    sys_mark_lock(mark);
    EXPECT_TRUE(sys_mark_is_taken(mark));
    EXPECT_FALSE(sys_mark_trylock(mark, 0));
}

TEST(Trace, MaskPerEntry) {
    s_cfg_trace_settings = {1, 4 | 8, 0};
    EXPECT_TRUE(ril_config_trace_enabled(0, 5) == 1 && ril_config_trace_enabled(1, 8) == 1);
    EXPECT_TRUE(ril_config_trace_enabled(0, 4) == 0 && ril_config_trace_enabled(1, 1) == 0);
    EXPECT_TRUE(ril_config_trace_enabled(3, 1) == 0 && ril_config_trace_enabled(0xFFFFFFFF, 1) == 0);
    s_cfg_trace_settings = {1, 1, 1};
}

}  // namespace
