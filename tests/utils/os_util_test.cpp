#include "ril/utils/os_util.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "ril/utils/thread_stop.h"
#include "ril/utils/trace.h"

namespace {

void* message(uintptr_t number) {
    return reinterpret_cast<void*>(number);
}

void* fetch(sys_mbox_t mbox) {
    void* msg = nullptr;
    return sys_mbox_fetch(mbox, &msg) == 1 ? msg : nullptr;
}

// Fills the ring from every possible start slot: its capacity and order do not depend on where it wraps.
TEST(Mailbox, Holds128InOrderWhereverItWraps) {
    for (uintptr_t start = 0; start < 130; ++start) {
        sys_mbox_t mbox = sys_mbox_new();
        ASSERT_NE(mbox, nullptr);
        for (uintptr_t i = 0; i < start; ++i) {
            // One message always stays, so that the ring does not start over at slot 0.
            ASSERT_EQ(sys_mbox_post(mbox, message(1000 + i)), 1U);
            if (i > 0) {
                ASSERT_EQ(fetch(mbox), message(1000 + i - 1));
            }
        }
        const uintptr_t kept = start > 0 ? 1 : 0;
        for (uintptr_t i = 0; i < 128 - kept; ++i) {
            ASSERT_EQ(sys_mbox_post(mbox, message(1 + i)), 1U) << start << " " << i;
        }
        EXPECT_EQ(sys_mbox_post(mbox, message(500)), 0U);
        if (kept != 0) {
            ASSERT_EQ(fetch(mbox), message(1000 + start - 1));
            ASSERT_EQ(sys_mbox_post(mbox, message(128)), 1U);
        }
        for (uintptr_t i = 1; i <= 128; ++i) {
            ASSERT_EQ(fetch(mbox), message(i)) << start;
        }
        EXPECT_EQ(fetch(mbox), nullptr);
        sys_mbox_wait(mbox);  // once for nothing: the count that a post left
        sys_mbox_free(mbox);
    }
}

TEST(Mailbox, EveryMessageOfManyPostersArrives) {
    sys_mbox_t mbox = sys_mbox_new();
    constexpr uintptr_t c_each = 5000;
    std::vector<std::thread> posters;
    for (uintptr_t p = 1; p <= 3; ++p) {
        posters.emplace_back([=] {
            for (uintptr_t i = 0; i < c_each; ++i) {
                while (sys_mbox_post(mbox, message(p * c_each + i)) == 0) {
                    std::this_thread::yield();
                }
            }
        });
    }
    uintptr_t next[4] = {};
    for (uintptr_t got = 0; got < 3 * c_each;) {
        void* msg = fetch(mbox);
        if (msg == nullptr) {
            sys_mbox_wait(mbox);
            continue;
        }
        const auto number = reinterpret_cast<uintptr_t>(msg);
        ASSERT_EQ(number % c_each, next[number / c_each]++) << "a poster's messages out of order";
        ++got;
    }
    for (std::thread& poster : posters) {
        poster.join();
    }
    sys_mbox_free(mbox);
}

void install_signal_handler() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
}

TEST(Wait, SignalsDoNotEndIt) {
    install_signal_handler();
    sys_sem_t sem = sys_sem_new(0);
    sys_mbox_t mbox = sys_mbox_new();
    std::atomic<int> steps{0};
    std::thread waiter([&] {
        sys_sem_wait(sem);
        ++steps;
        sys_mbox_wait(mbox);
        ++steps;
    });
    auto storm_of_signals = [&] {
        for (int i = 0; i < 200; ++i) {
            pthread_kill(waiter.native_handle(), SIGUSR1);
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    };
    storm_of_signals();
    EXPECT_EQ(steps, 0);
    sys_sem_signal(sem);
    while (steps == 0) {
        std::this_thread::yield();
    }
    storm_of_signals();
    EXPECT_EQ(steps, 1);
    sys_mbox_post(mbox, message(1));
    waiter.join();
    EXPECT_EQ(steps, 2);
    sys_mbox_free(mbox);
    sys_sem_free(sem);
}

// The request may fall before the thread has started, before its wait or into it: it ends each time, also where the
// thread was created with the signal blocked.
TEST(ThreadStop, EndsAWaitWheneverItComes) {
    install_signal_handler();
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    sys_sem_t never = sys_sem_new(0);
    for (int round = 0; round < 500; ++round) {
        thread_stop_arm();
        std::thread stoppable([&] {
            thread_stop_enter();
            while (!thread_stop_requested()) {
                sys_sem_wait(never);
            }
            sys_sem_wait(never);  // a later wait does not start any more
            thread_stop_leave();
        });
        for (int spin = 0; spin < round % 50; ++spin) {
            std::this_thread::yield();
        }
        thread_stop_request(stoppable.native_handle());
        stoppable.join();
        EXPECT_FALSE(thread_stop_requested());
    }
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    sys_sem_free(never);
}

TEST(ThreadStop, AWaitTellsWhyItEnded) {
    sem_t sem;
    sem_init(&sem, 0, 1);
    timespec past{};
    EXPECT_EQ(thread_stop_wait(&sem, nullptr), WAIT_POSTED);
    EXPECT_EQ(thread_stop_wait(&sem, &past), WAIT_TIMED_OUT);
    past.tv_nsec = -1;
    EXPECT_EQ(thread_stop_wait(&sem, &past), WAIT_FAILED);
    thread_stop_arm();
    std::atomic<bool> ready{false};
    std::thread stoppable([&] {
        thread_stop_enter();
        sem_post(&sem);
        EXPECT_EQ(thread_stop_wait(&sem, nullptr), WAIT_POSTED);
        ready = true;
        EXPECT_EQ(thread_stop_wait(&sem, nullptr), WAIT_STOPPED);
        sem_post(&sem);
        EXPECT_EQ(thread_stop_wait(&sem, nullptr), WAIT_STOPPED);  // whatever else happened
        thread_stop_leave();
    });
    while (!ready) {
        std::this_thread::yield();
    }
    thread_stop_request(stoppable.native_handle());
    stoppable.join();
    sem_destroy(&sem);
}

TEST(Mark, IsReleasedByAnyThreadAndOnlyOnce) {
    sys_mark mark;
    sys_mark_lock(mark);
    EXPECT_FALSE(sys_mark_trylock(mark, 0));
    std::atomic<bool> second{false};
    std::thread waiter([&] {
        sys_mark_lock(mark);
        second = true;
    });
    std::thread([&] { sys_mark_unlock(mark); }).join();
    waiter.join();
    EXPECT_TRUE(second);
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
    const struct {
        uint32_t entry, mask, enabled;
    } cases[] = {{0, 1, 1}, {0, 4, 0},          {0, 5, 1}, {1, 8, 1},
                 {1, 1, 0}, {2, 0xFFFFFFFF, 0}, {3, 1, 0}, {0xFFFFFFFF, 1, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(ril_config_trace_enabled(c.entry, c.mask), c.enabled) << c.entry << " " << c.mask;
    }
    s_cfg_trace_settings = {1, 1, 1};
}

}  // namespace
