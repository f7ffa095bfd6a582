#include "ril/core/src/entry/gate.h"

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <thread>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/system_manager/system_manager.h"
#include "ril/utils/ril_instance.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

using Numbers = std::set<int>;

const Numbers c_refused = {58, 77, 78, 79, 82, 83, 84, 85, 86, 87, 88, 92, 93, 94, 95, 96, 97, 98, 99, 104, 105};

FakeAndroid& android() {
    return FakeAndroid::instance();
}
// A token per request number, none of them null.
RIL_Token token(int64_t number) {
    return FakeAndroid::token(static_cast<uintptr_t>(number + 0x1000));
}

class Gate : public testing::Test {
protected:
    void SetUp() override {
        stood_in.reset();
        start_engine(FakeAndroid::env());
        radio_state_start();
        stood_in.handler = [this](int32_t request, void*, size_t, RIL_Token) { handled_.insert(request); };
    }
    void TearDown() override { stop_engine(); }

    // The handler was reached and left the token to itself.
    void request(int number) {
        android().reset();
        handled_.clear();
        int type = 3;
        on_request(number, &type, sizeof(type), token(number));
    }
    bool reached(int number) const { return handled_.count(number) == 1 && android().completions().empty(); }

    Numbers handled_;
};

TEST_F(Gate, SupportsHasAListOfItsOwn) {
    const Numbers differs = {15, 51, 98};
    for (int number = -1; number <= 120; ++number) {
        const bool refused = c_refused.count(number) != 0;
        EXPECT_EQ(on_supports(number), differs.count(number) != 0 ? refused : !refused) << number;
    }
}

TEST_F(Gate, DialWaitsForAPendingHoldAndOtherRequestsDoNot) {
    set_radio_state(0, RADIO_STATE_ON);
    sys_mark_lock(hold_call_and_dial_mutex_lock);
    request(RIL_REQUEST_HANGUP);
    EXPECT_TRUE(reached(RIL_REQUEST_HANGUP));
    std::thread dial([] { on_request(RIL_REQUEST_DIAL, nullptr, 0, token(1)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(handled_.count(RIL_REQUEST_DIAL), 0U);
    sys_mark_unlock(hold_call_and_dial_mutex_lock);
    dial.join();
    EXPECT_EQ(handled_.count(RIL_REQUEST_DIAL), 1U);
    EXPECT_FALSE(sys_mark_is_taken(hold_call_and_dial_mutex_lock));
}

TEST_F(Gate, DialWaitsNoLongerThanTheHoldMayTake) {
    set_radio_state(0, RADIO_STATE_ON);
    ASSERT_TRUE(sys_mark_trylock(hold_call_and_dial_mutex_lock, 1));
    request(RIL_REQUEST_DIAL);  // the hold's answer never comes
    EXPECT_TRUE(reached(RIL_REQUEST_DIAL));
    EXPECT_FALSE(sys_mark_is_taken(hold_call_and_dial_mutex_lock));
}

TEST_F(Gate, ModemDownAnswersADialThatWaitedForAHold) {
    set_radio_state(0, RADIO_STATE_ON);
    sys_mark_lock(hold_call_and_dial_mutex_lock);
    std::thread dial([] { on_request(RIL_REQUEST_DIAL, nullptr, 0, token(1)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    stop_engine();
    dial.join();
    EXPECT_EQ(android().wait_completion(token(1)).error, RIL_E_RADIO_NOT_AVAILABLE);
    EXPECT_EQ(android().completed(token(1)), 1);
    start_engine(FakeAndroid::env());
}

// The library starts once per process. Exits with the instance.
void start_library(const std::vector<const char*>& arguments, uint32_t before) {
    std::vector<char*> argv;
    for (const char* argument : arguments) {
        argv.push_back(const_cast<char*>(argument));
    }
    argv.push_back(nullptr);
    ril_instance = before;
    const int argc = static_cast<int>(arguments.size());
    const RIL_RadioFunctions* functions = RIL_Init(FakeAndroid::env(), argc, argv.data());
    ASSERT_NE(functions, nullptr);
    EXPECT_EQ(functions->version, 9);
    EXPECT_EQ(std::string(functions->rildInstance, 10), std::string(10, '\0'));
    EXPECT_STREQ(functions->getVersion(), "QEL DUN-RIL 1.0");
    EXPECT_EQ(uta_context_id(0xFF), 0x200001FFU);
    EXPECT_EQ(stood_in.argc, argc);
    EXPECT_EQ(stood_in.event_handler, &mehHandler);
    functions->onCancel(token(1));
    raise(SIGUSR1);  // a stray signal ends no thread
    stood_in.event_handler = nullptr;
    EXPECT_EQ(RIL_Init(FakeAndroid::env(), argc, argv.data()), functions);
    EXPECT_EQ(stood_in.event_handler, nullptr) << "started twice";
    exit(testing::Test::HasFailure() ? 255 : static_cast<int>(ril_instance));
}

TEST(RilInit, FindsTheInstance) {
    const struct {
        std::vector<const char*> arguments;
        uint32_t before;
        int instance;
    } cases[] = {
        {{"rild"}, 0, 0},
        {{"rild", "--client", "2"}, 0, 1},
        {{"--", "2x"}, 0, 1},
        {{"rild", "--a", "3"}, 1, 1},
        {{"rild", "--a", "--b", "2"}, 0, 0},
        {{"rild", "--a", "2", "--b", "1"}, 0, 0},
        {{"rild", "--a", ""}, 1, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EXIT(start_library(c.arguments, c.before), testing::ExitedWithCode(c.instance), "")
            << c.arguments.back();
    }
}

}  // namespace
