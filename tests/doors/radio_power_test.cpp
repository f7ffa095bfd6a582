// RIL_REQUEST_RADIO_POWER from rild's socket: what goes to the modem and to Android in each state of the radio.
#include <cutils/properties.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/doors/socket_phone.h"
#include "tests/lifecycle/lifecycle.h"

namespace {

using testing::ElementsAreArray;

using Packets = std::vector<std::string>;
using Numbers = std::vector<int>;

enum Radio {
    ON,
    ON_AGAIN,  // after a power-off
    OFF,
    UNAVAILABLE,
    UNAVAILABLE_AGAIN,  // after a modem that went down during a power-off
    ON_GOING_OFF,
    UNAVAILABLE_GOING_OFF,
};

int power(SocketPhone& phone, int value) {
    return phone.ask(RIL_REQUEST_RADIO_POWER, "1 " + std::to_string(value));
}

// Brings the radio into a state, with the modem's answers open from then on.
void bring_to(SocketPhone& phone, Radio radio) {
    if (radio == UNAVAILABLE || radio == UNAVAILABLE_GOING_OFF) {
        phone.start();
    } else {
        phone.bring_up();
    }
    if (radio == ON || radio == ON_AGAIN || radio == UNAVAILABLE_AGAIN || radio == ON_GOING_OFF) {
        phone.answer_mode_requests_as_asked();
        for (const int value : {1, 0, 1}) {
            EXPECT_EQ(phone.answer(power(phone, value)).error, RIL_E_SUCCESS);
            if (radio != ON_AGAIN) {
                break;
            }
        }
        phone.leave_mode_requests_open();
    }
    if (radio == ON_GOING_OFF || radio == UNAVAILABLE_GOING_OFF || radio == UNAVAILABLE_AGAIN) {
        EXPECT_FALSE(phone.is_answered(power(phone, 0)));
    }
    if (radio == UNAVAILABLE_AGAIN) {
        phone.event(c_event_down);
        phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
        phone.event(c_event_up);
        ASSERT_TRUE(phone.modem.wait_for(c_set_mode, 4));  // of two starts and two requests
        phone.wait_served();
    }
    phone.take_unsolicited();
    phone.modem.take_received();
}

const Packets c_no_packets;
const Packets c_all_off = {c_stack_off, c_sim_off, c_mode_off};
const Packets c_only_stack_off = {c_stack_off, c_sim_on, c_mode_off};
const Packets c_all_on = {c_stack_on, c_sim_on, c_mode_on};
const Packets c_only_sim_off = {c_sim_off, c_sim_mode_off};
const Packets c_only_sim_on = {c_sim_on, c_sim_mode_on};

struct Row {
    Radio radio;
    int value;
    const char* set_off_sim;
    const Packets& packets;
    Numbers before, after;  // unsolicited, around the modem's answer
    int state;
};

void check(const Row& row, bool second_instance) {
    SocketPhone phone(second_instance);
    bring_to(phone, row.radio);
    property_set(second_instance ? "gsm.simmanager.set_off_sim2" : "gsm.simmanager.set_off_sim1", row.set_off_sim);

    const int serial = power(phone, row.value);
    EXPECT_EQ(phone.is_answered(serial), row.packets.empty());
    Packets expected = row.packets;
    if (second_instance) {
        std::transform(expected.begin(), expected.end(), expected.begin(), for_sim_1);
    }
    const std::vector<Bytes> packets = phone.modem.take_received();
    ASSERT_THAT(masked(packets), ElementsAreArray(expected));
    const auto before = phone.take_unsolicited();
    EXPECT_EQ(SocketPhone::numbers_of(before), row.before);
    if (!expected.empty()) {
        // The mode that was asked for stands in front of the SIM.
        const Bytes& request = packets.back();
        const auto function = static_cast<uint8_t>(function_id(request) - 1);
        const std::string answer = mode_answer(function, request[request.size() - 7], 0, phone.sim_id);
        phone.modem.send(with_context(answer, request));
    }
    EXPECT_EQ(phone.answer(serial).error, RIL_E_SUCCESS);
    EXPECT_EQ(phone.answer(serial).data, "");
    EXPECT_EQ(phone.radio_state(), row.state);
    const auto after = phone.take_unsolicited();
    EXPECT_EQ(SocketPhone::numbers_of(after), row.after);
    for (const auto& message : after) {
        EXPECT_EQ(message.data, message.number == RIL_UNSOL_RESTRICTED_STATE_CHANGED
                                    ? parcel("1 0")
                                    : parcel(std::to_string(row.state)));
    }
}

TEST(RadioPowerDoors, EveryRow) {
    const Row rows[] = {
        {ON, 0, "true", c_all_off, {1010}, {1000, 1023}, 0},
        {ON, 0, "", c_only_stack_off, {}, {1000, 1023}, 0},
        {ON, 0, "TRUE", c_only_stack_off, {}, {1000, 1023}, 0},
        {ON, 0, "true ", c_only_stack_off, {}, {1000, 1023}, 0},
        {ON, 0, "1", c_only_stack_off, {}, {1000, 1023}, 0},
        {ON_GOING_OFF, 0, "true", c_all_off, {1010}, {1000, 1023}, 0},
        {ON_GOING_OFF, 0, "false", c_only_stack_off, {}, {1000, 1023}, 0},
        {UNAVAILABLE, 0, "true", c_all_off, {1010}, {1000, 1023}, 0},
        {UNAVAILABLE, 0, "", c_only_stack_off, {}, {1000, 1023}, 0},
        {OFF, 1, "true", c_all_on, {}, {1000, 1023}, 10},
        {OFF, -1, "", c_all_on, {}, {1000, 1023}, 10},
        {OFF, 0, "true", c_only_sim_off, {1010}, {}, 0},
        {OFF, 0, "", c_only_sim_on, {}, {}, 0},
        {ON_GOING_OFF, 1, "true", c_all_on, {}, {1023}, 10},
        {UNAVAILABLE_GOING_OFF, 2, "", c_all_on, {}, {1000, 1023}, 10},
        {ON, 1, "true", c_no_packets, {}, {}, 10},
        {ON_AGAIN, 1, "", c_no_packets, {}, {}, 10},
        {UNAVAILABLE_AGAIN, 1, "", c_no_packets, {}, {}, 1},
        {UNAVAILABLE, 1, "", c_no_packets, {}, {}, 1},
    };
    for (const Row& row : rows) {
        for (const bool second_instance : {false, true}) {
            SCOPED_TRACE("row " + std::to_string(&row - rows) + (second_instance ? " of SIM 1" : ""));
            in_own_process([&] { check(row, second_instance); });
        }
    }
}

}  // namespace
