#include <cutils/properties.h>
#include <gtest/gtest.h>

#include "tests/harness/phone.h"
#include "tests/harness/sleeps.h"

namespace {

// What the library sends from E_MODEM_UP to the radio's first state, byte for byte.
constexpr const char* c_start_sequence[] = {
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
    "02 04 00 00 00 28 02 04 00 00 01 26 20 00 01 00 7F 0E 15"
    " 7F 02 0C 02 01 1E 02 01 02 02 04 00 00 00 02 02 04 00 00 00 00",  // fast dormancy
    "02 04 00 00 00 38 02 04 00 00 01 55 20 00 01 03 7F 21 25 7F 06 06 02 04 20 00 01 03"
    " 7F 82 6D 12 02 04 00 00 00 01 02 04 00 00 00 01 02 04 00 00 00 00 02 04 00 00 00 00",             // RX diversity
    "02 04 00 00 00 20 02 04 00 00 00 E7 20 00 01 00 7F 81 67 0C 02 04 00 00 00 00 02 04 00 00 00 00",  // stack off
    "02 04 00 00 00 20 02 04 00 00 00 E8 20 00 01 00 7F 81 68 0C 02 04 00 00 00 00 02 04 00 00 00 00",  // SIM stays
};

void expect_start_sequence(ScriptedModem& modem) {
    const std::vector<Bytes> received = modem.take_received();
    const size_t golden = std::size(c_start_sequence);
    ASSERT_EQ(received.size(), golden + 1);
    for (size_t i = 0; i < golden; ++i) {
        EXPECT_EQ(to_hex(received[i]), c_start_sequence[i]) << i;
    }
    // UtaMsCpsSetModeReq: the context id, the callback (an address), 0, mode off, SIM 0.
    const std::string mode = to_hex(received[golden]);
    EXPECT_EQ(mode.substr(0, 93),
              "02 04 00 00 00 35 02 04 00 00 00 E4 20 00 01 04 7F 81 64 21 7F 06 06 02 04 20 00 01 04 02 04 ");
    EXPECT_EQ(mode.substr(mode.size() - 54), " 02 04 00 00 00 00 02 04 00 00 00 00 02 04 00 00 00 00");
}

TEST(Start, FirstAndSecondStartSendTheSameInTheSameOrder) {
    in_own_process([] {
        Phone phone;
        harness_take_slept();
        phone.bring_up();
        expect_start_sequence(phone.modem);
        // A millisecond, then five seconds; registration retries are 50 ms each.
        EXPECT_EQ((harness_take_slept() - 5001000) % 50000, 0U);
        EXPECT_EQ(phone.android.unsolicited_numbers(), (std::vector<int>{1010, 1001, 1002, 1019, 1000}));
        EXPECT_TRUE(phone.android.completions().empty());

        phone.android.reset();
        phone.event(0xB1000000);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 5; }));
        EXPECT_EQ(phone.android.unsolicited_numbers(), (std::vector<int>{1000, 1010, 1001, 1002, 1019}));
        EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_UNAVAILABLE);
        phone.event(0xB2000000);
        phone.wait_radio_state(RADIO_STATE_OFF);
        expect_start_sequence(phone.modem);
    });
}

}  // namespace
