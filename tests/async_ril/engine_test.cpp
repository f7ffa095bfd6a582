#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "ril/core/src/async_ril/async_ril.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

using namespace std::chrono_literals;

FakeAndroid& android() {
    return FakeAndroid::instance();
}
RIL_Token token(uintptr_t number) {
    return FakeAndroid::token(number);
}
class Engine : public testing::Test {
protected:
    void SetUp() override {
        stood_in.reset();
        android().reset();
        start_engine(FakeAndroid::env());
    }
    void TearDown() override { stop_engine(); }
};

TEST_F(Engine, All254InUseThenTheRotationGoesOn) {
    for (int32_t expected = 3; expected <= 255; ++expected) {
        ASSERT_EQ(qelril_get_free_ctxt_id(token(7)), expected);
    }
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), 2);
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), -1);
    qelril_free_and_return(100);
    qelril_free_and_return(2);
    qelril_free_and_return(3);
    // The last id was 2: the next free one behind it is 3.
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), 3);
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), 100);
}

TEST_F(Engine, APrivateAreaIsThereUntilItsContextIsFree) {
    const auto id = static_cast<uint32_t>(qelril_get_free_ctxt_id(nullptr));
    void* area = &area;
    void* again = nullptr;
    EXPECT_EQ(qelril_create_priv_area(id, 0, &area), 0);
    EXPECT_EQ(area, nullptr);
    EXPECT_EQ(qelril_create_priv_area(id, 16, &area), 0);
    EXPECT_EQ(qelril_create_priv_area(id, 0, &again), 0);
    EXPECT_EQ(again, area);
    qelril_free_and_return(id);
    qelril_free_and_return(id);  // nothing left
}

// While the RIL thread is busy, 128 posters fill the mailbox; the others are refused at once, and nothing leaks.
TEST_F(Engine, FullMailboxLosesTheMessageAndBlocksNobody) {
    sys_sem_t go = sys_sem_new(0);
    std::atomic<bool> busy{false};
    stood_in.handler = [&](int32_t, void*, size_t, RIL_Token) {
        busy = true;
        sys_sem_wait(go);
    };
    std::vector<std::thread> posters;
    posters.emplace_back([] { qelril_post_request(0, 10, nullptr, 0, nullptr); });
    while (!busy) {
        std::this_thread::yield();
    }
    static std::atomic<int> s_ran;
    std::atomic<int> returned{0};
    for (int i = 0; i < 140; ++i) {
        posters.emplace_back([&] {
            EXPECT_EQ(qelril_post_utamsindcb(0, nullptr, [](uint32_t, const void*) { ++s_ran; }), 0);
            ++returned;
        });
    }
    while (returned < 140 - 128) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(returned, 140 - 128);
    EXPECT_EQ(s_ran, 0);
    sys_sem_signal(go);
    for (std::thread& poster : posters) {
        poster.join();
    }
    EXPECT_EQ(s_ran, 128);
    sys_sem_free(go);
}

// The RIL thread sits in a wait that nobody ends, with a request in its hands.
TEST_F(Engine, StopAnswersBeforeTheModulesGoAndLeavesNoHold) {
    sys_sem_t never = sys_sem_new(0);
    std::atomic<bool> stuck{false};
    stood_in.handler = [&](int32_t, void*, size_t, RIL_Token t) {
        qelril_get_free_ctxt_id(t);
        stuck = true;
        sys_sem_wait(never);
    };
    bool modules_last = false;
    stood_in.module_exit = [&] {
        modules_last = rilreq_state_info[3].entry_in_use == 0 && android().completed(token(1)) == 1;
    };
    std::thread poster([] { EXPECT_EQ(qelril_post_request(0, 10, nullptr, 0, token(1)), 0); });
    while (!stuck) {
        std::this_thread::yield();
    }
    ASSERT_TRUE(sys_mark_trylock(hold_call_and_dial_mutex_lock, 3600));
    stop_engine();
    poster.join();
    EXPECT_TRUE(modules_last) << "the modules' memory goes before what is in flight";
    EXPECT_EQ(android().wait_completion(token(1)).error, RIL_E_RADIO_NOT_AVAILABLE);
    EXPECT_FALSE(sys_mark_is_taken(hold_call_and_dial_mutex_lock)) << "a hold still counts as pending";
    stood_in.reset();
    start_engine(FakeAndroid::env());
    sys_sem_free(never);
}

TEST_F(Engine, APostFromTheRilThreadFailsAtOnce) {
    int32_t results[3] = {};
    stood_in.handler = [&](int32_t, void*, size_t, RIL_Token t) {
        results[0] = qelril_post_request(0, 11, nullptr, 0, t);
        results[1] = qelril_post_utamsrspcb(0, nullptr, 3, [](uint32_t, const void*, uint32_t) { FAIL(); });
        results[2] = qelril_post_utamsindcb(0, nullptr, [](uint32_t, const void*) { FAIL(); });
    };
    EXPECT_EQ(qelril_post_request(0, 10, nullptr, 0, token(1)), 0);
    EXPECT_THAT(results, testing::Each(-1));
    EXPECT_EQ(qelril_post_utamsindcb(0, nullptr, [](uint32_t, const void*) {}), 0);
}

}  // namespace
