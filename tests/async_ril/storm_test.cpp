// Threads that post all three kinds of message while the modem goes down and comes up, thousands of times.
#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>
#include <deque>
#include <thread>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/utils/ril_instance.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

constexpr uint32_t c_cycles = 10000;

std::atomic<uint64_t> s_completions{0};
std::atomic<uint64_t> s_handled{0};

void on_complete(RIL_Token token, RIL_Errno, void*, size_t) {
    --*static_cast<std::atomic<int>*>(token);
    ++s_completions;
}

// Some requests end in their handler, some wait for a response, a timer or the modem's end; some block for ever.
void handler(int32_t request, void* data, size_t length, RIL_Token token, sys_sem_t never) {
    EXPECT_EQ(*static_cast<uint32_t*>(data), static_cast<uint32_t>(request) * 7);
    EXPECT_EQ(length, sizeof(uint32_t));
    ++s_handled;
    if (request % 4 == 0) {
        ril_request_complete(token, RIL_E_SUCCESS, nullptr, 0);
        return;
    }
    const int32_t id = qelril_get_free_ctxt_id(token);
    if (id < 0) {
        ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    void* out = nullptr;
    qelril_create_multi_mod_priv(static_cast<uint32_t>(id), request, 32, &out);
    if (request % 16 == 1) {
        qelril_arm_response_timer(0, static_cast<uint32_t>(id), 10);
    }
    if (request % 4099 == 2) {
        sys_sem_wait(never);
    }
}

TEST(Storm, EveryTokenIsCompletedOnceOverTenThousandRestarts) {
    stood_in.reset();
    sys_sem_t never = sys_sem_new(0);
    stood_in.handler = [&](int32_t r, void* d, size_t l, RIL_Token t) { handler(r, d, l, t, never); };
    const RIL_Env env = {on_complete, [](int, const void*, size_t) {}, FakeAndroid::env()->RequestTimedCallback};
    start_engine(&env);

    std::atomic<bool> ending{false};
    std::atomic<bool> stopped{false};
    std::atomic<uint64_t> tokens{0};
    std::vector<std::thread> threads;
    threads.reserve(5);
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            // A token is the address of what it is owed.
            std::deque<std::atomic<int>> owed;
            for (uint32_t n = 1; !ending; ++n) {
                std::atomic<int>& token = owed.emplace_back(1);
                const auto request = static_cast<int32_t>(200 + n % 100000);
                uint32_t data = static_cast<uint32_t>(request) * 7;
                if (qelril_post_request(0, request, &data, sizeof(data), &token) == 0) {
                    ++tokens;
                } else {
                    --token;
                    std::this_thread::yield();
                }
                data = 0;
                FakeAndroid::instance().advance(10'000);
            }
            // The engine has stopped for good: nothing may be open, nothing completed twice.
            while (!stopped) {
                std::this_thread::yield();
            }
            for (const std::atomic<int>& token : owed) {
                EXPECT_EQ(token, 0);
            }
        });
    }
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            for (uint32_t n = 0; !ending; ++n) {
                uint32_t value = n % 1000;
                const auto complete = [](uint32_t, const void* p, uint32_t ctxt_id) {
                    EXPECT_NE(*static_cast<const uint32_t*>(p), 0xDEADU);
                    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
                };
                const auto look = [](uint32_t, const void* p) { EXPECT_NE(*static_cast<const uint32_t*>(p), 0xDEADU); };
                if (qelril_post_utamsrspcb(0, &value, 0x20000100 | (n & 0xFF), complete) != 0 ||
                    qelril_post_utamsindcb(ril_instance, &value, look) != 0) {
                    std::this_thread::yield();
                }
                value = 0xDEAD;
            }
        });
    }
    // Stray signals at every thread.
    std::thread signals([&] {
        for (size_t n = 0; !ending; ++n) {
            pthread_kill(threads[n % threads.size()].native_handle(), SIGUSR1);
            kill(getpid(), SIGUSR1);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });

    for (uint32_t cycle = 0; cycle < c_cycles; ++cycle) {
        std::this_thread::sleep_for(std::chrono::microseconds(cycle % 7 == 0 ? 1000 : 100));
        qelril_destroy();
        qelril_init();
    }
    ending = true;
    signals.join();
    stop_engine();
    stopped = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_GT(s_handled, uint64_t{c_cycles}) << "the engine hardly ran";
    EXPECT_EQ(s_completions, tokens);
    printf("%u restarts, %llu tokens completed, %llu of them through the RIL thread\n", c_cycles,
           static_cast<unsigned long long>(s_completions), static_cast<unsigned long long>(s_handled));
    sys_sem_free(never);
}

}  // namespace
