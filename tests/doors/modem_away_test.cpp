// A modem that goes away and comes back, as a client of rild's socket sees it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/doors/socket_phone.h"
#include "tests/lifecycle/lifecycle.h"

namespace {

using Numbers = std::vector<int>;

// The data of a card's record: its state, the subscription's index, one application at the most, of which only the
// type is known.
std::string card(int state, bool has_application) {
    const std::string application = " 1 0 0 n n 0 0 0";
    return parcel(std::to_string(state) + " 0 " + (has_application ? "0" : "-1") + " -1 -1 " +
                  (has_application ? "1" + application : "0"));
}

void modem_down(SocketPhone& phone) {
    phone.event(c_event_down);
    phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
    phone.take_unsolicited(5);
    phone.modem.take_received();
}

TEST(ModemAwayDoors, EveryRequestIsAnsweredWithoutIt) {
    in_own_process([] {
        SocketPhone phone;
        phone.bring_up();
        phone.answer_mode_requests_as_asked();
        EXPECT_EQ(phone.answer_to(RIL_REQUEST_RADIO_POWER, "1 1").error, RIL_E_SUCCESS);
        phone.take_unsolicited();
        modem_down(phone);
        const std::map<int, std::string> successes = {
            {RIL_REQUEST_GET_SIM_STATUS, card(RIL_CARDSTATE_ABSENT, false)},
            {RIL_REQUEST_GET_CURRENT_CALLS, ""},
            {RIL_REQUEST_DEACTIVATE_DATA_CALL, ""},
            {RIL_REQUEST_SETUP_DATA_CALL, parcel("9 1  -3 2147483647 0 0 n n n n n")},
        };
        int kept = 0;
        for (int number = 1; number <= 110; ++number) {
            if (arguments_of(number) == nullptr) {
                continue;
            }
            SCOPED_TRACE(number);
            const int serial = phone.ask(number, arguments_of(number));
            if (number == RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE) {
                EXPECT_FALSE(phone.is_answered(serial));
                kept = serial;
                continue;
            }
            const auto success = successes.find(number);
            const SocketPhone::Answer answer = phone.answer(serial);
            EXPECT_EQ(answer.error, success != successes.end() ? RIL_E_SUCCESS : RIL_E_RADIO_NOT_AVAILABLE);
            EXPECT_EQ(answer.data, success != successes.end() ? success->second : "");
        }
        // One is kept already, so a second is dropped; the next start answers both.
        const int dropped = phone.ask(RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE, "1 1");
        EXPECT_FALSE(phone.is_answered(dropped));
        EXPECT_TRUE(phone.modem.received_ids().empty());
        EXPECT_EQ(phone.take_unsolicited_numbers(), Numbers());
        phone.answer_mode_requests(0);
        phone.event(c_event_up);
        phone.wait_radio_state(RADIO_STATE_OFF);
        EXPECT_EQ(phone.answer(kept).error, RIL_E_RADIO_NOT_AVAILABLE);
        EXPECT_EQ(phone.answer(dropped).error, RIL_E_RADIO_NOT_AVAILABLE);
        phone.answer_mode_requests_as_asked();
        EXPECT_EQ(phone.answer_to(RIL_REQUEST_RADIO_POWER, "1 1").error, RIL_E_SUCCESS);
    });
}

// The card's last status needs no modem.
TEST(ModemAwayDoors, CardStatusIsTheLastOne) {
    const struct {
        const char* chv1;
        int card_state;
        bool has_application;
    } cases[] = {{"00", RIL_CARDSTATE_ABSENT, false}, {"01", RIL_CARDSTATE_ERROR, false},
                 {"02", RIL_CARDSTATE_PRESENT, true}, {"03", RIL_CARDSTATE_ERROR, false},
                 {"04", RIL_CARDSTATE_ABSENT, false}, {"05", RIL_CARDSTATE_PRESENT, true},
                 {"09", RIL_CARDSTATE_PRESENT, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.chv1);
        in_own_process([&] {
            SocketPhone phone;
            phone.bring_up();
            phone.modem.send(card_info(c.chv1));
            phone.take_unsolicited(1);
            modem_down(phone);
            EXPECT_EQ(phone.answer_to(RIL_REQUEST_GET_SIM_STATUS).data, card(c.card_state, c.has_application));
        });
    }
}

// Events that change nothing, and each of the others twice: one end, one start.
TEST(ModemAwayDoors, OnlyChangesCount) {
    in_own_process([] {
        SocketPhone phone;
        phone.bring_up();
        phone.answer_mode_requests(0);
        phone.modem.take_received();
        for (const uint32_t event :
             {c_event_up, c_event_reset, c_event_shutdown, 0U, c_event_up, c_event_down, c_event_down, c_event_shutdown,
              c_event_down, c_event_reset, c_event_up, c_event_up}) {
            phone.event(event);
        }
        EXPECT_EQ(phone.take_unsolicited_numbers(10),
                  (Numbers{1000, 1010, 1001, 1002, 1019, 1010, 1001, 1002, 1019, 1000}));
        EXPECT_EQ(phone.modem.received_ids(), c_start_ids);
    });
}

}  // namespace
