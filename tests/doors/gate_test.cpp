// The gate in front of the library, from rild's socket to the modem's: what is answered at once, what passes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tests/doors/socket_phone.h"
#include "tests/lifecycle/lifecycle.h"

namespace {

using Ids = std::vector<uint32_t>;
using Numbers = std::set<int>;

// Requests that pass while the radio is unavailable.
const Numbers c_with_card = {1, 2, 3, 4, 5, 6, 7, 42, 43};
const Numbers c_with_ready_card = {11, 63, 64, 69, 70, 100, 101, 103, 105, 107};
const Numbers c_with_modem_up = {38, 39, 51, 80, 81};
const Numbers c_always = {23, 61};

// Requests that are refused whatever the state, of those that the socket's protocol has.
const Numbers c_refused = {98, 105};

// What the gate answers in place of an unavailable radio.
SocketPhone::Answer unavailable(int number) {
    switch (number) {
        case RIL_REQUEST_GET_CURRENT_CALLS:
        case RIL_REQUEST_DEACTIVATE_DATA_CALL:
            return {RIL_E_SUCCESS, ""};
        case RIL_REQUEST_VOICE_REGISTRATION_STATE:
        case RIL_REQUEST_DATA_REGISTRATION_STATE:
        case RIL_REQUEST_OPERATOR:
        case RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE:
            return {RIL_E_RADIO_NOT_AVAILABLE, ""};
        case RIL_REQUEST_SETUP_DATA_CALL:
            return {RIL_E_SUCCESS, parcel("9 1  -5 2147483647 0 0 n n n n n")};
        default:
            return {RIL_E_GENERIC_FAILURE, ""};
    }
}

// One that passed goes to the modem, or its handler answers with anything but what the gate says, or says why it fails.
void expect_passes(SocketPhone& phone, int number) {
    const size_t logged = radio_log().size();
    const int serial = phone.ask(number, arguments_of(number));
    const bool answered = phone.is_answered(serial);
    if (c_refused.count(number) != 0) {
        ASSERT_TRUE(answered);
        EXPECT_EQ(phone.answer(serial).error, RIL_E_REQUEST_NOT_SUPPORTED);
        EXPECT_TRUE(phone.modem.received_ids().empty());
    } else if (phone.modem.received_ids().empty()) {
        ASSERT_TRUE(answered);
        EXPECT_TRUE(phone.answer(serial).error != RIL_E_GENERIC_FAILURE ||
                    radio_log().find("ril_request_enter_sim_pin: 2 params err", logged) != std::string::npos);
    }
}

void expect_answer(SocketPhone& phone, int number, const SocketPhone::Answer& expected) {
    const SocketPhone::Answer answer = phone.answer_to(number, arguments_of(number));
    EXPECT_EQ(answer.error, expected.error);
    EXPECT_EQ(answer.data, expected.data);
    EXPECT_TRUE(phone.modem.received_ids().empty());
}

TEST(GateDoors, RadioUnavailable) {
    const struct {
        const char* chv1;  // null without a card
        bool ready;
    } cards[] = {{nullptr, false}, {"09", false}, {"02", true}, {"01", false}, {"03", false}};
    for (const auto& card : cards) {
        in_own_process([&] {
            SocketPhone phone;
            phone.start();
            ASSERT_EQ(phone.radio_state(), RADIO_STATE_UNAVAILABLE);
            const Bytes stack_off = phone.modem.take_received().back();
            if (card.chv1 != nullptr) {
                phone.modem.send(card_info(card.chv1));
                phone.take_unsolicited(1);
            }
            int kept = 0;
            for (int number = 1; number <= 110; ++number) {
                if (arguments_of(number) == nullptr) {
                    continue;
                }
                SCOPED_TRACE("request " + std::to_string(number) + ", PIN " + (card.chv1 ? card.chv1 : "none"));
                phone.modem.take_received();
                if (number == RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE) {
                    kept = phone.ask(number, arguments_of(number));
                    EXPECT_FALSE(phone.is_answered(kept));
                    EXPECT_TRUE(phone.modem.received_ids().empty());
                } else if (c_always.count(number) != 0 || c_with_modem_up.count(number) != 0 ||
                           (card.chv1 != nullptr && c_with_card.count(number) != 0) ||
                           (card.ready && c_with_ready_card.count(number) != 0)) {
                    expect_passes(phone, number);
                } else {
                    expect_answer(phone, number, unavailable(number));
                }
            }
            // The radio's coming on leaves the kept one open, since no setting asks for its being carried out; the
            // modem's next start answers it.
            phone.modem.send(with_context(mode_answer(227, 1), stack_off));
            phone.wait_radio_state(RADIO_STATE_ON);
            EXPECT_FALSE(phone.is_answered(kept));
            phone.event(c_event_down);
            phone.event(c_event_up);
            EXPECT_EQ(phone.answer(kept).error, RIL_E_RADIO_NOT_AVAILABLE);
        });
    }
}

// In the other two states each request reaches its handler, and the modem hears of what concerns it.
TEST(GateDoors, RadioOffAndOn) {
    const std::map<int, Ids> c_packets = {
        {RIL_REQUEST_DIAL, {34}},
        {RIL_REQUEST_GET_IMSI, {146}},
        {RIL_REQUEST_GET_IMEI, {198}},
        {RIL_REQUEST_GET_IMEISV, {198}},
        {RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC, {71}},
        {RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL, {71}},
        {RIL_REQUEST_QUERY_AVAILABLE_NETWORKS, {73}},
        {RIL_REQUEST_SET_MUTE, {97}},
        {RIL_REQUEST_SET_TTY_MODE, {311}},
        {RIL_REQUEST_QUERY_TTY_MODE, {70}},
    };
    for (const int state : {RADIO_STATE_OFF, RADIO_STATE_ON}) {
        in_own_process([&] {
            SocketPhone phone;
            phone.bring_up();
            std::map<int, Ids> packets = c_packets;
            if (state == RADIO_STATE_ON) {
                phone.answer_mode_requests_as_asked();
                EXPECT_EQ(phone.answer_to(RIL_REQUEST_RADIO_POWER, "1 1").error, RIL_E_SUCCESS);
                phone.leave_mode_requests_open();
            } else {
                packets[RIL_REQUEST_RADIO_POWER] = {c_set_stack_configuration, c_set_sim_configuration, c_set_mode};
            }
            ASSERT_EQ(phone.radio_state(), state);
            for (int number = 1; number <= 110; ++number) {
                if (arguments_of(number) == nullptr) {
                    continue;
                }
                SCOPED_TRACE("request " + std::to_string(number) + ", state " + std::to_string(state));
                phone.modem.take_received();
                const int serial = phone.ask(number, arguments_of(number));
                const bool answered = phone.is_answered(serial);
                EXPECT_EQ(phone.modem.received_ids(), packets[number]);
                EXPECT_TRUE(answered || !packets[number].empty());
                if (c_refused.count(number) != 0) {
                    EXPECT_EQ(phone.answer(serial).error, RIL_E_REQUEST_NOT_SUPPORTED);
                }
            }
        });
    }
}

}  // namespace
