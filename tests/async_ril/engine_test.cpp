#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <semaphore.h>

#include <chrono>
#include <thread>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/ril_instance.h"
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
bool in_use(uint32_t ctxt_id) {
    return rilreq_state_info[ctxt_id].entry_in_use != 0;
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

void count_call(uint32_t, const void* p_params, uint32_t) {
    ++*static_cast<int*>(const_cast<void*>(p_params));
}

TEST_F(Engine, All254InUseThenTheRotationGoesOn) {
    for (int32_t expected = 3; expected <= 255; ++expected) {
        ASSERT_EQ(qelril_get_free_ctxt_id(token(7)), expected);
        EXPECT_EQ(rilreq_state_info[static_cast<size_t>(expected)].token, token(7));
    }
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), 2);
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), -1);
    qelril_free_and_return(100);
    qelril_free_and_return(2);
    qelril_free_and_return(3);
    // The last id was 2: the next free one behind it is 3.
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), 3);
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), 100);
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), 2);
    EXPECT_EQ(qelril_get_free_ctxt_id(nullptr), -1);
}

TEST_F(Engine, PrivateAreas) {
    const auto id = static_cast<uint32_t>(qelril_get_free_ctxt_id(token(1)));
    void* out = &out;
    ASSERT_EQ(qelril_create_priv_area(id, 0, &out), 0);
    EXPECT_EQ(out, nullptr);
    ASSERT_EQ(qelril_create_priv_area(id, 16, &out), 0);
    EXPECT_EQ(out, rilreq_state_info[id].p_priv_data);
    void* again = nullptr;
    ASSERT_EQ(qelril_create_priv_area(id, 0, &again), 0);
    EXPECT_EQ(again, out);
    qelril_free_and_return(id);
    EXPECT_FALSE(in_use(id));
    qelril_free_and_return(id);  // nothing left: only clears the entry

    const auto both = static_cast<uint32_t>(qelril_get_free_ctxt_id(token(3)));
    ASSERT_EQ(qelril_create_multi_mod_priv(both, 28, 24, &out), 0);
    auto* data = static_cast<rilreq_priv_data*>(rilreq_state_info[both].p_priv_data);
    EXPECT_EQ(out, data->caller_priv);
    EXPECT_EQ(data->req_id, 28);
    data->callee_priv = MEM_ALLOC(8);
    qelril_free_and_return_generic_failure(both);
    EXPECT_FALSE(in_use(both));
    EXPECT_EQ(android().wait_completion(token(3)).error, RIL_E_GENERIC_FAILURE);
    EXPECT_EQ(android().completed(token(1)), 0);
}

TEST_F(Engine, ResponseReachesOnlyAContextInUse) {
    int calls = 0;
    const auto id = static_cast<uint32_t>(qelril_get_free_ctxt_id(token(1)));
    const struct {
        uint32_t context_id;
        int calls;
    } cases[] = {
        {0x20000100, 0}, {0x20000101, 0}, {0x20000100 | (id + 1), 0}, {id, 1}, {0xFFFFFF00 | id, 2},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qelril_post_utamsrspcb(1, &calls, c.context_id, count_call), 0);
        EXPECT_EQ(calls, c.calls) << std::hex << c.context_id;
    }
    qelril_free_and_return(id);
    EXPECT_EQ(qelril_post_utamsrspcb(0, &calls, id, count_call), 0);
    EXPECT_EQ(calls, 2);
}

TEST_F(Engine, PostsWithoutEngineReturnAtOnce) {
    stop_engine();
    stood_in.handler = [](int32_t, void*, size_t, RIL_Token) { FAIL(); };
    EXPECT_EQ(qelril_post_request(0, 10, nullptr, 0, token(2)), -1);
    EXPECT_EQ(qelril_post_utamsrspcb(0, nullptr, 3, [](uint32_t, const void*, uint32_t) { FAIL(); }), -1);
    EXPECT_EQ(qelril_post_utamsindcb(0, nullptr, [](uint32_t, const void*) { FAIL(); }), -1);
    EXPECT_EQ(android().completed(token(2)), 0);
    start_engine(FakeAndroid::env());
}

// While the RIL thread is busy, 128 posters fill the mailbox; the others are refused at once, and nothing leaks.
TEST_F(Engine, FullMailboxLosesTheMessageAndBlocksNobody) {
    sem_t go;
    sem_init(&go, 0, 0);
    std::thread busy([&] {
        qelril_post_utamsindcb(0, &go,
                               [](uint32_t, const void* p) { sem_wait(static_cast<sem_t*>(const_cast<void*>(p))); });
    });
    std::this_thread::sleep_for(20ms);
    constexpr int c_posters = 140;
    std::atomic<int> returned{0};
    std::atomic<int> ran{0};
    std::vector<std::thread> posters;
    posters.reserve(c_posters);
    for (int i = 0; i < c_posters; ++i) {
        posters.emplace_back([&] {
            EXPECT_EQ(
                qelril_post_utamsindcb(
                    0, &ran, [](uint32_t, const void* p) { ++*static_cast<std::atomic<int>*>(const_cast<void*>(p)); }),
                0);
            ++returned;
        });
    }
    while (returned < c_posters - 128) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(returned, c_posters - 128);
    EXPECT_EQ(ran, 0);
    sem_post(&go);
    busy.join();
    for (std::thread& poster : posters) {
        poster.join();
    }
    EXPECT_EQ(ran, 128);
    sem_destroy(&go);
}

TEST_F(Engine, TimerFailsARequestInFlightAndOnlyThat) {
    const auto answered = static_cast<uint32_t>(qelril_get_free_ctxt_id(token(1)));
    const auto silent = static_cast<uint32_t>(qelril_get_free_ctxt_id(token(2)));
    void* out = nullptr;
    qelril_create_multi_mod_priv(silent, 10, 8, &out);
    qelril_arm_response_timer(0, answered, 10);
    qelril_arm_response_timer(0, silent, 25);
    qelril_complete_and_return(answered, RIL_E_SUCCESS, nullptr, 0);
    android().advance(24999);
    EXPECT_EQ(android().completed(token(2)), 0);
    EXPECT_EQ(android().completed(token(1)), 1);
    android().advance(1);
    EXPECT_EQ(android().wait_completion(token(2)).error, RIL_E_GENERIC_FAILURE);
    EXPECT_FALSE(in_use(silent));
    // The late response finds a free entry.
    int calls = 0;
    EXPECT_EQ(qelril_post_utamsrspcb(0, &calls, silent, count_call), 0);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(android().completions().size(), 2U);
}

TEST_F(Engine, TimerOfAnEarlierModemLeavesTheNextOneAlone) {
    const auto id = static_cast<uint32_t>(qelril_get_free_ctxt_id(token(1)));
    qelril_arm_response_timer(0, id, 25);
    stop_engine();
    EXPECT_EQ(android().wait_completion(token(1)).error, RIL_E_RADIO_NOT_AVAILABLE);
    start_engine(FakeAndroid::env());
    ASSERT_EQ(qelril_get_free_ctxt_id(token(2)), static_cast<int32_t>(id));
    android().advance(25000);
    EXPECT_TRUE(in_use(id));
    EXPECT_EQ(android().completed(token(2)), 0);
    EXPECT_EQ(android().timers(), 0U);
}

// The RIL thread sits in a wait that nobody ends, with a request in its hands and others behind it.
TEST_F(Engine, StopReleasesEverybodyAndAnswersEverything) {
    sys_sem_t never = sys_sem_new(0);
    std::atomic<bool> stuck{false};
    stood_in.handler = [&](int32_t, void*, size_t, RIL_Token t) {
        const auto id = static_cast<uint32_t>(qelril_get_free_ctxt_id(t));
        void* out = nullptr;
        qelril_create_multi_mod_priv(id, 10, 16, &out);
        stuck = true;
        sys_sem_wait(never);
    };
    bool modules_last = false;
    stood_in.module_exit = [&] { modules_last = !in_use(3) && android().completed(token(1)) == 1; };
    std::vector<std::thread> posters;
    posters.emplace_back([] { EXPECT_EQ(qelril_post_request(0, 10, nullptr, 0, token(1)), 0); });
    while (!stuck) {
        std::this_thread::yield();
    }
    posters.emplace_back([] { EXPECT_EQ(qelril_post_request(0, 10, nullptr, 0, token(2)), 0); });
    posters.emplace_back([] { qelril_post_utamsindcb(0, nullptr, [](uint32_t, const void*) { FAIL(); }); });
    posters.emplace_back(
        [] { qelril_post_utamsrspcb(0, nullptr, 3, [](uint32_t, const void*, uint32_t) { FAIL(); }); });
    std::this_thread::sleep_for(20ms);
    ASSERT_TRUE(sys_mark_trylock(hold_call_and_dial_mutex_lock, 3600));
    stop_engine();
    for (std::thread& poster : posters) {
        poster.join();
    }
    EXPECT_TRUE(modules_last) << "the modules' memory goes before what is in flight";
    for (const uintptr_t number : {1U, 2U}) {
        EXPECT_EQ(android().wait_completion(token(number)).error, RIL_E_RADIO_NOT_AVAILABLE);
        EXPECT_EQ(android().completed(token(number)), 1);
    }
    EXPECT_FALSE(sys_mark_is_taken(hold_call_and_dial_mutex_lock)) << "a hold still counts as pending";
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

TEST_F(Engine, AContextMayWaitForOneAnswerOnly) {
    int calls = 0;
    const auto id = static_cast<uint32_t>(qelril_get_free_ctxt_id(token(1), count_call));
    const auto other = [](uint32_t, const void*, uint32_t) { FAIL(); };
    EXPECT_EQ(qelril_post_utamsrspcb(0, &calls, id, other), 0);
    EXPECT_TRUE(in_use(id));
    EXPECT_EQ(qelril_post_utamsrspcb(0, &calls, id, count_call), 0);
    EXPECT_EQ(calls, 1);
    qelril_free_and_return(id);
    while (qelril_get_free_ctxt_id(token(2)) != static_cast<int32_t>(id)) {
    }
    EXPECT_EQ(qelril_post_utamsrspcb(0, &calls, id, count_call), 0);
    EXPECT_EQ(calls, 2);
}

}  // namespace
