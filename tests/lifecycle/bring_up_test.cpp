// The start around its sequence: when it begins, what may go wrong on the way, and the emergency numbers it leaves.
#include <cutils/properties.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <algorithm>
#include <fstream>

#include "tests/lifecycle/lifecycle.h"

namespace {

std::string property(const char* key) {
    char value[PROPERTY_VALUE_MAX];
    property_get(key, value, "");
    return value;
}

TEST(BringUp, ModemUpBeforeTheRegistrationWaitsForIt) {
    in_own_process([] {
        Phone phone({}, false);
        phone.answer_mode_requests(0);
        phone.event(c_event_up);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(phone.initialised());
        phone.modem.start();
        ASSERT_TRUE(soon([&] { return phone.initialised(); }));
        phone.wait_radio_state(RADIO_STATE_OFF);
        EXPECT_EQ(phone.modem.received_ids(), c_start_ids);
        for (const Bytes& packet : phone.modem.take_received()) {
            EXPECT_EQ(to_hex(packet).substr(36, 8), "20 00 01") << to_hex(packet);
        }
    });
}

TEST(BringUp, ModemThatNeverComesUp) {
    in_own_process([] {
        Phone phone;
        ASSERT_TRUE(phone.modem.wait_registered());
        for (const uint32_t event : {c_event_reset, c_event_shutdown, 0x12345678U}) {
            phone.event(event);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(phone.initialised());
        EXPECT_TRUE(phone.modem.received_ids().empty());
        EXPECT_TRUE(phone.android.unsolicited().empty());
    });  // and the process ends all the same
}

TEST(BringUp, DownAsTheFirstEventTouchesNothing) {
    in_own_process([] {
        Phone phone;
        ASSERT_TRUE(phone.modem.wait_registered());
        phone.event(c_event_down);
        phone.event(c_event_down);
        phone.bring_up();
        EXPECT_EQ(phone.android.unsolicited_numbers(), (std::vector<int>{1010, 1001, 1002, 1019, 1000}));
        EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 1)).error, RIL_E_SUCCESS);  // no spoofing left
    });
}

// The RPC daemon dies in the middle of the start: all of it fails at once, nobody is parked, and the next start with
// the next daemon is whole.
TEST(BringUp, ModemThatDiesDuringTheStart) {
    in_own_process([] {
        Phone phone;
        phone.answer_mode_requests(0);
        phone.modem.set_silent(134, true);
        phone.event(c_event_up);
        ASSERT_TRUE(phone.modem.wait_for(134));
        phone.modem.stop();
        phone.event(c_event_down);
        ASSERT_TRUE(soon([&] { return phone.initialised(); }));
        phone.modem.set_silent(134, false);
        phone.modem.take_received();
        // The modem is up before the next daemon: its start waits for that.
        phone.event(c_event_up);
        phone.modem.start();
        phone.wait_radio_state(RADIO_STATE_OFF);
        EXPECT_EQ(phone.modem.received_ids(), c_start_ids);
        for (const Bytes& packet : phone.modem.take_received()) {
            EXPECT_EQ(to_hex(packet).substr(36, 8), "20 00 02") << to_hex(packet);
        }
    });
}

// The RPC daemon dies alone and comes back: that is the modem's end and start. Nothing that was open with the old one
// stays open.
TEST(BringUp, DaemonThatDiesAlone) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        phone.leave_mode_requests_open();
        RIL_Token open = phone.request(RIL_REQUEST_RADIO_POWER, 1);
        phone.android.reset();
        phone.modem.take_received();
        phone.modem.stop();
        EXPECT_EQ(phone.answer(open).error, RIL_E_RADIO_NOT_AVAILABLE);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 5; }));
        EXPECT_EQ(phone.android.unsolicited_numbers(), (std::vector<int>{1000, 1010, 1001, 1002, 1019}));
        EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 1)).error, RIL_E_RADIO_NOT_AVAILABLE);
        phone.answer_mode_requests(0);
        phone.modem.start();
        phone.wait_radio_state(RADIO_STATE_OFF);
        EXPECT_EQ(phone.modem.received_ids(), c_start_ids);
        for (const Bytes& packet : phone.modem.take_received()) {
            EXPECT_EQ(to_hex(packet).substr(36, 8), "20 00 02") << to_hex(packet);
        }
        EXPECT_EQ(phone.android.completed(open), 1);
    });
}

// The start's last request is on its way and lost: the next daemon gets a start of its own.
TEST(BringUp, DaemonThatDiesWithTheStackOff) {
    in_own_process([] {
        Phone phone;
        phone.event(c_event_up);
        ASSERT_TRUE(phone.modem.wait_for(c_set_mode));
        phone.modem.stop();
        phone.modem.take_received();
        phone.answer_mode_requests(0);
        phone.modem.start();
        ASSERT_TRUE(soon([&] { return phone.initialised(); }));
        phone.wait_radio_state(RADIO_STATE_OFF);
        EXPECT_EQ(phone.modem.received_ids(), c_start_ids);
    });
}

// The modem comes and goes without a daemon: the start comes with the later of the two.
TEST(BringUp, DaemonThatStaysAway) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        phone.android.reset();
        phone.modem.stop();
        phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
        for (const uint32_t event : {c_event_down, c_event_up, c_event_down}) {
            phone.event(event);
        }
        phone.modem.take_received();
        phone.modem.start();
        ASSERT_TRUE(phone.modem.wait_registered());
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_TRUE(phone.modem.received_ids().empty());
        phone.event(c_event_up);
        phone.wait_radio_state(RADIO_STATE_OFF);
        EXPECT_EQ(phone.modem.received_ids(), c_start_ids);
    });
}

// Another function's answer carries the id of the start's own request.
TEST(BringUp, StrangeAnswerDoesNotEndTheStackOff) {
    in_own_process([] {
        Phone phone;
        phone.event(c_event_up);
        ASSERT_TRUE(soon([&] { return phone.initialised(); }));
        const Bytes stack_off = phone.modem.take_received().back();
        phone.modem.send(with_context(mode_answer(229, 0), stack_off));  // of the SIM's mode
        phone.modem.send(with_context(mode_answer(227, 0), stack_off));
        phone.wait_radio_state(RADIO_STATE_OFF);
    });
}

// The modem stops answering: that costs one call's five seconds, and the rest of the start goes on.
TEST(BringUp, ModemThatHangsDuringTheStart) {
    in_own_process([] {
        Phone phone;
        phone.modem.set_silent(193, true);
        phone.bring_up();
        EXPECT_EQ(phone.modem.received_ids(), (std::vector<uint32_t>{32, 193, 231, 232, 228}));
        phone.modem.set_silent(193, false);
        restart(phone);
        EXPECT_EQ(phone.modem.received_ids(), c_start_ids);
    });
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
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        phone.modem.send(c_card_removed);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_TRUE(phone.android.unsolicited().empty());
        EXPECT_TRUE(phone.modem.received_ids().empty());
        ASSERT_EQ(flock(properties, LOCK_UN), 0);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 6; }));
        const std::vector<int> numbers = phone.android.unsolicited_numbers();
        EXPECT_EQ(std::count(numbers.begin(), numbers.end(), RIL_UNSOL_RESPONSE_SIM_STATUS_CHANGED), 2);
    });
}

// The answer comes on the RIL thread while the start's thread learns that its call has failed: only the answer ends the
// context.
TEST(BringUp, AnswerOfASettingThatFailed) {
    in_own_process([] {
        Phone phone;
        phone.modem.set_return(341, -1);
        phone.modem.set_answer(341,
                               "02 04 00 00 00 29 02 04 00 00 01 54 AA AA AA AA 7F 82 54 15 7F 06 06 02 04 AA AA AA AA"
                               " 02 04 00 00 00 00 02 04 00 00 00 00");
        phone.bring_up();
        EXPECT_NE(radio_log().find("Not able to set Diversity state"), std::string::npos);
        EXPECT_EQ(radio_log().find("entry_in_use"), std::string::npos) << "the answer found its context gone";
    });
}

TEST(BringUp, TheModemsOwnStartIsOnlyLogged) {
    in_own_process([] {
        std::ofstream("/system/etc/dun-ril/repository.txt") << "[trace]\nril_log_level = 16\n";
        Phone phone;
        phone.bring_up();
        phone.modem.send(
            "02 04 00 00 00 2A 02 04 00 00 00 EA 20 00 01 00 7F 81 6A 16"
            " 7F 84 6A 0C 02 04 00 00 00 01 02 04 00 00 00 02 02 04 00 00 00 00");
        EXPECT_TRUE(soon([] { return radio_log().find("UtaMsCpsStartupIndCb--") != std::string::npos; }));
        EXPECT_NE(radio_log().find("UtaMsCpsStartupIndCb++"), std::string::npos);
    });
}

TEST(BringUp, EmergencyNumbersAreMergedIntoTheProperty) {
    const std::string digits =
        "1234567890123456789012345678901234567890123456789012345678901234567890123456789012345678";
    ASSERT_EQ(digits.size(), 88U);
    const struct {
        std::string before, after;
        bool full;
    } cases[] = {
        {"", "000,911,999,008,112,118,08,120,122,110,119", false},
        {"112,911", "112,911,000,999,008,118,08,120,122,110,119", false},
        {"1120", "1120,000,911,999,008,112,118,08,120,122,110,119", false},
        {"000,911,999,008,112,118,08,120,122,110,119", "000,911,999,008,112,118,08,120,122,110,119", false},
        {digits.substr(0, 85), digits.substr(0, 85) + ",000", true},
        {digits.substr(0, 87), digits.substr(0, 87) + ",000", true},
        {digits, digits, true},
        {digits + "901", digits + "901", true},
        // Full is full, also for a number that is there.
        {"000," + digits.substr(0, 84), "000," + digits.substr(0, 84), true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before);
        in_own_process([&] {
            property_set("ril.ecclist", c.before.c_str());
            property_set("ril.ecclist1", c.before.c_str());
            Phone phone;
            phone.bring_up();
            for (int start = 0; start < 2; ++start) {
                EXPECT_EQ(property("ril.ecclist"), c.after);
                EXPECT_EQ(property("ril.ecclist1"), c.after);
                EXPECT_EQ(radio_log().find("No memory left in the ril.ecclist1 buffer") != std::string::npos, c.full);
                restart(phone);
            }
        });
    }
}

}  // namespace
