// Threads that meet while the modem goes away or comes: what no transcript can say.
#include <cutils/properties.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <set>
#include <string>

#include "tests/lifecycle/lifecycle.h"

namespace {

// The RIL thread sits in a call that the modem never answers, rild's event thread behind it and the RPC dispatch thread
// behind both.
TEST(ModemDown, ReleasesThreadsThatAreParked) {
    constexpr uint32_t c_set_sim_configuration = 232;
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        const size_t threads = entries_of("/proc/self/task");
        phone.leave_mode_requests_open();
        RIL_Token open = phone.request(RIL_REQUEST_RADIO_POWER, 1);
        const uint32_t context = context_of(phone.modem.take_received().back());
        phone.modem.set_silent(c_set_sim_configuration, true);
        RIL_Token parked = nullptr;
        std::thread event_thread([&] { parked = phone.request(RIL_REQUEST_RADIO_POWER, 0); });
        ASSERT_TRUE(phone.modem.wait_for(c_set_sim_configuration, 3));
        phone.modem.send(from_modem("CpsSetModeRsp mode=1", context));
        phone.event(c_event_down);
        event_thread.join();
        EXPECT_EQ(phone.answer(parked).error, RIL_E_RADIO_NOT_AVAILABLE);
        EXPECT_EQ(phone.answer(open).error, RIL_E_RADIO_NOT_AVAILABLE);

        phone.modem.set_silent(c_set_sim_configuration, false);
        phone.answer_mode_requests(0);
        phone.event(c_event_up);
        phone.wait_radio_state(RADIO_STATE_OFF);
        phone.answer_mode_requests(1);
        EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 1)).error, RIL_E_SUCCESS);
        EXPECT_EQ(phone.android.completed(parked), 1);
        EXPECT_EQ(phone.android.completed(open), 1);
        // A thread is there for a moment when it has been joined; RIL_Init's may have been at the first count.
        EXPECT_TRUE(soon([&] { return entries_of("/proc/self/task") <= threads; }));
    });
}

// The same of a timer that went on with a request: the wait for the other SIM is over, and the modem owes the attach
// its return.
TEST(ModemDown, ReleasesATimerThatIsParked) {
    constexpr uint32_t c_attach = 71;
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        property_set("gsm.sim2.state", "READY");
        RIL_Token token = phone.request(RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC, nullptr, 0);
        phone.modem.set_silent(c_attach, true);
        property_set("gsm.nondatasim.registered", "true");
        std::thread event_thread([&] { phone.android.advance(1000); });
        EXPECT_TRUE(phone.modem.wait_for(c_attach));
        phone.event(c_event_down);
        EXPECT_EQ(phone.answer(token).error, RIL_E_RADIO_NOT_AVAILABLE);
        event_thread.join();
        EXPECT_EQ(phone.android.timers(), 0U);
        EXPECT_EQ(phone.android.completed(token), 1);
    });
}

// rild's tokens are addresses, so a request may have the token, and the context too, of one that ended with the modem.
TEST(ModemDown, AWaitIsNotThatOfTheNextRequestWithItsToken) {
    constexpr uint32_t c_attach = 71;
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        property_set("gsm.sim2.state", "READY");
        RIL_Token token = FakeAndroid::token(4711);
        const auto attach = [&] {
            phone.ril()->onRequest(RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC, nullptr, 0, token);
        };
        attach();
        phone.event(c_event_down);
        EXPECT_EQ(phone.answer(token).error, RIL_E_RADIO_NOT_AVAILABLE);
        phone.event(c_event_up);
        phone.wait_radio_state(RADIO_STATE_OFF);
        phone.modem.take_received();
        attach();
        property_set("gsm.nondatasim.registered", "true");
        phone.android.advance(1000);
        EXPECT_TRUE(phone.modem.wait_for(c_attach));
        phone.event(c_event_down);
        phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
        EXPECT_EQ(phone.modem.take_received().size(), 1U);
    });
}

// The modem's answer to a mode request overtakes its own end: the radio is unavailable all the same.
TEST(ModemDown, LateAnswerDoesNotBringTheRadioBack) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        phone.leave_mode_requests_open();
        RIL_Token token = phone.request(RIL_REQUEST_RADIO_POWER, 1);
        const uint32_t context = context_of(phone.modem.take_received().back());
        phone.android.reset();
        std::atomic<bool> first{true};
        phone.android.set_observer({{}, [&](int number, const void*, size_t) {
                                        if (number == RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED && first.exchange(false)) {
                                            phone.modem.send(from_modem("CpsSetModeRsp mode=1", context));
                                            phone.wait_radio_state(RADIO_STATE_ON);
                                        }
                                    }});
        phone.event(c_event_down);
        EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
        phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited_numbers().size() == 8; }));
        EXPECT_EQ(phone.android.unsolicited_numbers().back(), RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED);
    });
}

// What rild is given: a list of requests that differs from what the gate lets through, and the same library when it
// asks again. A stray signal ends no thread.
TEST(RilInit, IsOnce) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        EXPECT_EQ(phone.ril()->version, 9);
        EXPECT_STREQ(phone.ril()->getVersion(), "QEL DUN-RIL 1.0");
        EXPECT_EQ(std::string(phone.ril()->rildInstance, 10), std::string(10, '\0'));
        const std::set<int> unsupported = {15, 51, 58, 77, 78, 79, 82, 83, 84, 85,  86,
                                           87, 88, 92, 93, 94, 95, 96, 97, 99, 104, 105};
        for (int number = -1; number <= 120; ++number) {
            EXPECT_EQ(phone.ril()->supports(number), unsupported.count(number) == 0) << number;
        }
        phone.ril()->onCancel(phone.request(RIL_REQUEST_GET_SIM_STATUS, nullptr, 0));
        raise(SIGUSR1);
        const auto again = reinterpret_cast<decltype(&RIL_Init)>(phone.symbol("RIL_Init"));
        EXPECT_EQ(again(FakeAndroid::env(), 0, nullptr), phone.ril());
        EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_GET_SIM_STATUS, nullptr, 0)).error, RIL_E_SUCCESS);
    });
}

// Whether a thread waits for a lock of the file: /proc/locks marks its line with an arrow.
bool somebody_waits_for(int file) {
    struct stat status = {};
    if (fstat(file, &status) != 0) {
        return false;
    }
    const std::string inode = ":" + std::to_string(status.st_ino) + " ";
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        if (line.find("->") != std::string::npos && line.find(inode) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// The start stands still in the middle of the modules, at a property that it cannot write: what the modem sends
// meanwhile reaches no module before all have their start values.
TEST(BringUp, PacketsWaitForTheModules) {
    in_own_process([] {
        Phone phone;
        phone.answer_mode_requests(0);
        ASSERT_TRUE(phone.modem.wait_registered());
        const int properties = open("/dev/__properties__", O_RDWR);
        ASSERT_EQ(flock(properties, LOCK_EX), 0);
        phone.event(c_event_up);
        ASSERT_TRUE(soon([&] { return somebody_waits_for(properties); }));
        phone.modem.send(from_modem(c_card_removed));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_TRUE(phone.android.unsolicited_numbers().empty());
        EXPECT_TRUE(phone.modem.take_received().empty());
        ASSERT_EQ(flock(properties, LOCK_UN), 0);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited_numbers().size() == 6; }));
        const std::vector<int> numbers = phone.android.unsolicited_numbers();
        EXPECT_EQ(std::count(numbers.begin(), numbers.end(), RIL_UNSOL_RESPONSE_SIM_STATUS_CHANGED), 2);
    });
}

// Until all services are open, Android is answered as without a modem.
TEST(BringUp, RequestsAreAnsweredMeanwhile) {
    constexpr uint32_t c_net_open = 134;
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        phone.event(c_event_down);
        phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
        phone.modem.set_silent(c_net_open, true);
        phone.event(c_event_up);
        ASSERT_TRUE(phone.modem.wait_for(c_net_open, 2));
        RIL_Token token = phone.request(RIL_REQUEST_DEVICE_IDENTITY, nullptr, 0);
        EXPECT_EQ(phone.answer(token).error, RIL_E_RADIO_NOT_AVAILABLE);
    });
}

}  // namespace
