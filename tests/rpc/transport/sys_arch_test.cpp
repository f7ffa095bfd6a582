#include "rpc/multi-client/utils/osa/android/sys_arch.h"

#include <csignal>
#include <thread>

#include "tests/rpc/transport/fixture.h"

namespace {

TEST(SysArch, FailureAndNullArgumentsGiveMinusOne) {
    pthread_t thread = pthread_self();
    pthread_attr_t attr;
    pthread_mutex_t mutex;
    EXPECT_EQ(sys_rpc_sem_wait(nullptr), -1);
    EXPECT_EQ(sys_thread_new(&thread, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(sys_thread_set_schedparam(&thread, SCHED_OTHER, nullptr), -1);
    EXPECT_EQ(sys_mutex_wait(nullptr, nullptr), -1);
    EXPECT_EQ(sys_thread_attr_init(&attr), 0);
    EXPECT_EQ(sys_thread_attr_setdetachstate(&attr, 77), -1);
    EXPECT_EQ(sys_mutex_new(&mutex), 0);
    EXPECT_EQ(sys_mutex_lock(&mutex), 0);
    EXPECT_EQ(sys_mutex_trylock(&mutex), -1);
    EXPECT_EQ(sys_mutex_unlock(&mutex), 0);
    EXPECT_EQ(sys_mutex_free(&mutex), 0);
}

TEST(SysArch, SignalsNeitherEndNorLengthenTheWait) {
    in_own_process([] {
        static std::atomic<int> s_signals{0};
        struct sigaction action {};
        action.sa_handler = [](int) { s_signals++; };
        sigaction(SIGUSR2, &action, nullptr);
        sem_t sem;
        sem_init(&sem, 0, 0);

        std::atomic<int> result{1};
        std::thread waiting([&] { result = sys_rpc_sem_wait(&sem); });
        for (int i = 1; i <= 20; i++) {
            // Sent again until it is seen: a sanitizer may hold one back that comes on the way into the wait.
            ASSERT_TRUE(soon([&] { return pthread_kill(waiting.native_handle(), SIGUSR2) == 0 && s_signals >= i; }));
        }
        EXPECT_EQ(result, 1);
        sem_post(&sem);
        waiting.join();
        EXPECT_EQ(result, 0);

        // Half a second of the five is left. A wait that took a new deadline after a signal, of which there is no end,
        // would not end either.
        g_realtime_back_ms = 4500;
        std::atomic<bool> over{false};
        std::thread late([&] {
            result = sys_rpc_sem_wait(&sem);
            over = true;
        });
        const bool ended = soon([&] { return over || pthread_kill(late.native_handle(), SIGUSR2) != 0; });
        EXPECT_TRUE(ended);
        late.join();
        EXPECT_EQ(result, -1);
        EXPECT_EQ(times_logged("sem_timedwait() timed out\n"), 1);
    });
}

}  // namespace
