// The start sequence: what goes to the modem from E_MODEM_UP to the radio's first state, and what a failure changes.
#include <cutils/properties.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "tests/harness/sleeps.h"
#include "tests/lifecycle/lifecycle.h"

namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;

constexpr const char* c_configuration = "/system/etc/dun-ril/repository.txt";

// Byte for byte; each ends with the SIM.
const std::vector<std::string> c_start_sequence = {
    "02 04 00 00 00 13 02 04 00 00 00 20 20 00 01 00 7F 20 00",                       // version
    "02 04 00 00 00 1A 02 04 00 00 00 C1 20 00 01 00 7F 81 41 06 02 04 00 00 00 00",  // UtaMsSysInitialize
    "02 04 00 00 00 1A 02 04 00 00 00 91 20 00 01 00 7F 81 11 06 02 04 00 00 00 00",  // UtaMsSimOpenReq
    "02 04 00 00 00 1A 02 04 00 00 00 B8 20 00 01 00 7F 81 38 06 02 04 00 00 00 00",  // UtaMsSmsInit
    "02 04 00 00 00 19 02 04 00 00 00 7C 20 00 01 00 7F 7C 06 02 04 00 00 00 00",     // UtaMsCbsInit
    "02 04 00 00 00 1A 02 04 00 00 00 86 20 00 01 00 7F 81 06 06 02 04 00 00 00 00",  // UtaMsNetOpen
    "02 04 00 00 00 1F 02 04 00 00 00 57 20 00 01 00 7F 57 0C 02 04 00 00 00 01 02 04 00 00 00 00",  // signal reports
    "02 04 00 00 00 19 02 04 00 00 00 21 20 00 01 00 7F 21 06 02 04 00 00 00 00",                    // UtaMsCallCsInit
    "02 04 00 00 00 19 02 04 00 00 00 02 20 00 01 00 7F 02 06 02 04 00 00 00 00",           // UtaMsCallPsInitialize
    "02 04 00 00 00 1A 02 04 00 00 00 CE 20 00 01 00 7F 81 4E 06 02 04 00 00 00 00",        // UtaMsSsInit
    "02 04 00 00 00 1C 02 04 00 00 01 27 20 00 01 00 7F 0C 09 02 01 1E 02 04 00 00 00 00",  // SCRI timer 30
    "02 04 00 00 00 1C 02 04 00 00 01 2A 20 00 01 00 7F 09 09 02 01 02 02 04 00 00 00 00",  // delay timer 2
    // Fast dormancy, RX diversity.
    ("02 04 00 00 00 28 02 04 00 00 01 26 20 00 01 00 7F 0E 15"
     " 7F 02 0C 02 01 1E 02 01 02 02 04 00 00 00 02 02 04 00 00 00 00"),
    ("02 04 00 00 00 38 02 04 00 00 01 55 20 00 01 03 7F 21 25 7F 06 06 02 04 20 00 01 03"
     " 7F 82 6D 12 02 04 00 00 00 01 02 04 00 00 00 01 02 04 00 00 00 00 02 04 00 00 00 00"),
    c_stack_off,
    c_sim_on,
    c_mode_off,
};

std::vector<std::string> start_sequence_of_sim_1() {
    std::vector<std::string> packets = c_start_sequence;
    std::transform(packets.begin() + 1, packets.end(), packets.begin() + 1, for_sim_1);
    return packets;
}

// The start's ids up to `last`, and from stack off on.
std::vector<uint32_t> ids_up_to(uint32_t last) {
    std::vector<uint32_t> ids(c_start_ids.begin(), std::find(c_start_ids.begin(), c_start_ids.end(), last) + 1);
    ids.insert(ids.end(), {c_set_stack_configuration, c_set_sim_configuration, c_set_mode});
    return ids;
}

TEST(Start, FirstAndSecondStartSendTheSameInTheSameOrder) {
    in_own_process([] {
        Phone phone;
        ASSERT_TRUE(phone.modem.wait_registered());
        harness_take_slept();
        phone.bring_up();
        EXPECT_THAT(masked(phone.modem.take_received()), ElementsAreArray(c_start_sequence));
        EXPECT_EQ(harness_take_slept(), 5001000U);
        EXPECT_EQ(phone.android.unsolicited_numbers(), (std::vector<int>{1010, 1001, 1002, 1019, 1000}));

        phone.android.reset();
        phone.event(c_event_down);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 5; }));
        EXPECT_EQ(phone.android.unsolicited_numbers(), (std::vector<int>{1000, 1010, 1001, 1002, 1019}));
        EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_UNAVAILABLE);
        phone.event(c_event_up);
        phone.wait_radio_state(RADIO_STATE_OFF);
        EXPECT_THAT(masked(phone.modem.take_received()), ElementsAreArray(c_start_sequence));
        EXPECT_EQ(phone.android.unsolicited_numbers().size(), 10U);
        EXPECT_TRUE(phone.android.completions().empty());
    });
}

TEST(Start, SecondInstance) {
    in_own_process([] {
        Phone phone({"--client", "2"});
        phone.sim_id = 1;
        phone.modem.set_return(341, 1);
        phone.bring_up();
        EXPECT_THAT(masked(phone.modem.take_received()), ElementsAreArray(start_sequence_of_sim_1()));
        EXPECT_THAT(radio_log(), HasSubstr(" E DUN-RIL2: "));
        EXPECT_THAT(radio_log(), Not(HasSubstr(" DUN-RIL: ")));
    });
}

// A service that does not open ends the opening; the stack goes off all the same, and the next start is a whole one.
TEST(Start, FailureOfEachService) {
    constexpr struct {
        uint32_t id;
        const char* name;
    } c_services[] = {{193, "SysInitialize"}, {145, "SimOpenReq"},     {184, "SmsInit"},
                      {124, "CbsInit"},       {134, "NetOpen"},        {87, "NetSetRadioSignalReporting"},
                      {33, "CallCsInit"},     {2, "CallPsInitialize"}, {206, "SsInit"}};
    for (const auto& service : c_services) {
        SCOPED_TRACE(service.name);
        in_own_process([&] {
            Phone phone;
            phone.modem.set_return(service.id, 7);
            phone.bring_up();
            EXPECT_EQ(phone.modem.received_ids(), ids_up_to(service.id));
            EXPECT_THAT(radio_log(), HasSubstr(std::string("uta_sys_init: UtaMs") + service.name + " failed"));
            EXPECT_THAT(radio_log(), HasSubstr("mehInit: qelril_init failed"));
            phone.modem.set_return(service.id, 0);
            restart(phone);
            EXPECT_EQ(phone.modem.received_ids(), c_start_ids);
        });
    }
}

TEST(Start, FailureOfTheModemsSettings) {
    constexpr struct {
        uint32_t id, last;
        const char* message;
    } c_settings[] = {{295, 295, "set_modem_initial_values failed"},
                      {298, 298, "set_modem_initial_values failed"},
                      {294, 294, "set_modem_initial_values failed"},
                      {341, 341, "Not able to set Diversity state"}};
    for (const auto& setting : c_settings) {
        SCOPED_TRACE(setting.id);
        in_own_process([&] {
            Phone phone;
            phone.modem.set_return(setting.id, -1);
            phone.bring_up();
            EXPECT_EQ(phone.modem.received_ids(), ids_up_to(setting.last));
            EXPECT_THAT(radio_log(), HasSubstr(setting.message));
            EXPECT_THAT(radio_log(), Not(HasSubstr("qelril_init failed")));
        });
    }
}

// RIL_Init returns, and the radio is as unavailable as before; Android can still switch it off.
TEST(Start, FailureOfStackOff) {
    for (const uint32_t id : {c_set_stack_configuration, c_set_sim_configuration, c_set_mode}) {
        SCOPED_TRACE(id);
        in_own_process([&] {
            Phone phone;
            phone.modem.set_return(id, 3);
            phone.answer_mode_requests(0);
            phone.event(c_event_up);
            ASSERT_TRUE(soon([&] { return phone.initialised(); }));
            EXPECT_EQ(phone.modem.received_ids().back(), id);
            EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_UNAVAILABLE);
            EXPECT_THAT(radio_log(), HasSubstr("stack_power_off: setting sim0 radio to cfun = 4 failed"));
            phone.modem.set_return(id, 0);
            EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 0)).error, RIL_E_SUCCESS);
            EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_OFF);
        });
    }
}

// Whoever breaks the connection behind the request does not know whether the modem heard it: its answer counts.
TEST(Start, AnswerToAStackOffThatFailed) {
    in_own_process([] {
        Phone phone;
        phone.modem.set_return(c_set_mode, -1);
        phone.event(c_event_up);
        ASSERT_TRUE(soon([&] { return phone.initialised(); }));
        EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_UNAVAILABLE);
        phone.modem.send(with_context(mode_answer(227, 0), phone.modem.take_received().back()));
        phone.wait_radio_state(RADIO_STATE_OFF);
    });
}

TEST(Start, ConfigurationReachesTheModem) {
    const std::string darp =
        "02 04 00 00 00 38 02 04 00 00 01 55 20 00 01 03 7F 21 25 7F 06 06 02 04 20 00 01 03"
        " 7F 82 6D 12 02 04 ";
    const struct {
        const char* file;
        const char* rxdiv;
        std::string packets[4];
    } cases[] = {
        {"[control]\nxfdor_mode = 3\nxfdor_delay_timer = 61\nxfdor_scri_timer = 0x10\nRxDiversity2GDARP = 5\n",
         "1",
         {"02 04 00 00 00 1C 02 04 00 00 01 27 20 00 01 00 7F 0C 09 02 01 10 02 04 00 00 00 00",
          "02 04 00 00 00 1C 02 04 00 00 01 2A 20 00 01 00 7F 09 09 02 01 3C 02 04 00 00 00 00",
          "02 04 00 00 00 28 02 04 00 00 01 26 20 00 01 00 7F 0E 15"
          " 7F 02 0C 02 01 10 02 01 3C 02 04 00 00 00 01 02 04 00 00 00 00",
          darp + "00 00 00 05 02 04 00 00 00 01 02 04 00 00 00 01 02 04 00 00 00 00"}},
        {"[control]\nRxDiversity2GDARP = -1\n",
         "10",
         {c_start_sequence[10], c_start_sequence[11], c_start_sequence[12],
          darp + "00 00 00 01 02 04 00 00 00 00 02 04 00 00 00 01 02 04 00 00 00 00"}},
        {"[control]\nRxDiversity2GDARP = 0x12345\nxfdor_mode = 1\n",
         "1",
         {c_start_sequence[10], c_start_sequence[11], c_start_sequence[12],
          darp + "00 00 23 45 02 04 00 00 00 01 02 04 00 00 00 01 02 04 00 00 00 00"}},
        {"[control]\nRxDiversity2GDARP = 5\n",
         "true",
         {c_start_sequence[10], c_start_sequence[11], c_start_sequence[12], c_start_sequence[13]}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        in_own_process([&] {
            std::ofstream(c_configuration) << c.file;
            property_set("ro.spid.telephony.rxdiv", c.rxdiv);
            Phone phone;
            phone.bring_up();
            const std::vector<std::string> packets = masked(phone.modem.take_received());
            ASSERT_EQ(packets.size(), c_start_sequence.size());
            EXPECT_THAT(std::vector(packets.begin() + 10, packets.begin() + 14), ElementsAreArray(c.packets));
        });
    }
}

TEST(Start, TraceSectionTakesEffect) {
    in_own_process([] {
        std::ofstream("/data/other.txt") << "[trace]\nril_log_level = 0x9\n";
        Phone phone({"-c", "/data/other.txt"});
        phone.bring_up();
        EXPECT_THAT(radio_log(), HasSubstr(" I DUN-RIL: mehHandler REQ --> E_MODEM_UP"));
        EXPECT_THAT(radio_log(), HasSubstr(" I DUN-RIL: check_rpc_version: RPC Version MATCH after retry = 0"));
    });
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        EXPECT_EQ(radio_log(), "");
    });
}

TEST(Start, SecondStackOfADualSimPhone) {
    const std::string open_sim_1 = for_sim_1(c_start_sequence[2]);
    const struct {
        const char* dual_sim;
        std::vector<int32_t> stack_returns, sim_returns, mode_returns;
        std::vector<std::string> more;  // behind the first stack's
        bool opens;
    } cases[] = {
        {"", {0}, {0}, {0}, {}, false},
        {"s", {0}, {0}, {0}, {}, false},
        {"SS", {0}, {0}, {0}, {}, false},
        {"ss", {0}, {0}, {0}, {for_sim_1(c_stack_off), for_sim_1(c_sim_off), for_sim_1(c_mode_off)}, true},
        {"ssx", {0}, {0}, {0}, {for_sim_1(c_stack_off), for_sim_1(c_sim_off), for_sim_1(c_mode_off)}, true},
        {"ss", {0, 1}, {0}, {0}, {for_sim_1(c_stack_off)}, true},
        {"ss", {0}, {0, 1}, {0}, {for_sim_1(c_stack_off), for_sim_1(c_sim_off)}, true},
        {"ss", {0}, {0}, {0, 1}, {for_sim_1(c_stack_off), for_sim_1(c_sim_off), for_sim_1(c_mode_off)}, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        in_own_process([&] {
            property_set("persist.dual_sim", c.dual_sim);
            Phone phone;
            phone.modem.set_returns(c_set_stack_configuration, c.stack_returns);
            phone.modem.set_returns(c_set_sim_configuration, c.sim_returns);
            phone.modem.set_returns(c_set_mode, c.mode_returns);
            phone.bring_up();
            std::vector<std::string> expected = c_start_sequence;
            expected.insert(expected.begin() + 3, c.opens ? 1 : 0, open_sim_1);
            expected.insert(expected.end(), c.more.begin(), c.more.end());
            // The second stack's calls come behind the return of RIL_Init; an event is only handled behind them.
            phone.event(c_event_down);
            phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
            const std::vector<Bytes> packets = phone.modem.take_received();
            EXPECT_THAT(masked(packets), ElementsAreArray(expected));
            if (c.more.size() == 3) {
                EXPECT_EQ(packets.back()[15], 0) << "nobody waits for this answer";
            }
            const bool failed = c.stack_returns.size() + c.sim_returns.size() + c.mode_returns.size() > 3;
            EXPECT_EQ(radio_log().find("sim1 radio off error") != std::string::npos, failed);
        });
    }
}

TEST(Start, VersionIsAskedForFourTimesAtMost) {
    const struct {
        std::vector<int32_t> versions;
        std::ptrdiff_t asked;
        uint64_t waits;
    } cases[] = {
        {{1249}, 1, 0}, {{1248, 1249}, 2, 1}, {{0, -99, 1249}, 3, 2}, {{1, 2, 3, 1249}, 4, 3}, {{1250}, 4, 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.asked);
        in_own_process([&] {
            Phone phone;
            ASSERT_TRUE(phone.modem.wait_registered());
            harness_take_slept();
            phone.modem.set_returns(32, c.versions);
            phone.bring_up();
            std::vector<uint32_t> expected = c_start_ids;
            expected.insert(expected.begin(), static_cast<size_t>(c.asked - 1), 32);
            EXPECT_EQ(phone.modem.received_ids(), expected);
            EXPECT_EQ(harness_take_slept(), 5001000 + c.waits * 3000000);
        });
    }
}

}  // namespace
