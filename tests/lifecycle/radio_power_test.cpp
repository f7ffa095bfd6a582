// RIL_REQUEST_RADIO_POWER: what goes to the modem and to Android in each state of the radio, and what does not.
#include <cutils/properties.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/lifecycle/lifecycle.h"

namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

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

RIL_Token power(Phone& phone, int value) {
    return phone.request(RIL_REQUEST_RADIO_POWER, value);
}

// Brings the radio into a state, with the modem's answers open from then on.
void bring_to(Phone& phone, Radio radio) {
    if (radio == UNAVAILABLE || radio == UNAVAILABLE_GOING_OFF) {
        phone.event(c_event_up);
        ASSERT_TRUE(soon([&] { return phone.initialised(); }));
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
    }
    phone.leave_mode_requests_open();
    if (radio == ON_GOING_OFF || radio == UNAVAILABLE_GOING_OFF || radio == UNAVAILABLE_AGAIN) {
        power(phone, 0);
    }
    if (radio == UNAVAILABLE_AGAIN) {
        phone.event(c_event_down);
        phone.event(c_event_up);
        ASSERT_TRUE(phone.modem.wait_for(c_set_mode, 4));  // of two starts and two requests
    }
    phone.modem.take_received();
    phone.android.reset();
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
    Phone phone(second_instance ? std::vector<std::string>{"--client", "2"} : std::vector<std::string>{});
    phone.sim_id = second_instance ? 1 : 0;
    bring_to(phone, row.radio);
    property_set(second_instance ? "gsm.simmanager.set_off_sim2" : "gsm.simmanager.set_off_sim1", row.set_off_sim);

    RIL_Token token = power(phone, row.value);
    Packets expected = row.packets;
    if (second_instance) {
        std::transform(expected.begin(), expected.end(), expected.begin(), for_sim_1);
    }
    const std::vector<Bytes> packets = phone.modem.take_received();
    ASSERT_THAT(masked(packets), ElementsAreArray(expected));
    EXPECT_EQ(phone.android.unsolicited_numbers(), row.before);
    EXPECT_EQ(phone.android.completed(token), expected.empty() ? 1 : 0);
    if (!expected.empty()) {
        // The mode that was asked for stands in front of the SIM.
        const Bytes& request = packets.back();
        const auto function = static_cast<uint8_t>(function_id(request) - 1);
        const std::string answer = mode_answer(function, request[request.size() - 7], 0, phone.sim_id);
        phone.modem.send(with_context(answer, request));
    }
    const FakeAndroid::Completion completion = phone.answer(token);
    EXPECT_EQ(completion.error, RIL_E_SUCCESS);
    EXPECT_FALSE(completion.has_data);
    EXPECT_EQ(phone.android.completed(token), 1);
    EXPECT_EQ(phone.ril()->onStateRequest(), row.state);
    Numbers all = row.before;
    all.insert(all.end(), row.after.begin(), row.after.end());
    EXPECT_EQ(phone.android.unsolicited_numbers(), all);
    for (const auto& message : phone.android.unsolicited()) {
        EXPECT_EQ(message.data, message.number == RIL_UNSOL_RESTRICTED_STATE_CHANGED ? std::string(4, '\0') : "");
    }
}

TEST(RadioPower, EveryRow) {
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

TEST(RadioPower, RefusedCalls) {
    const struct {
        Radio radio;
        int value;
        bool sim_off;
        uint32_t refused;
        std::vector<uint32_t> ids;
        const char* message;
    } rows[] = {
        {ON, 0, true, 231, {231}, ": power off stack + sim = -1 failed"},
        {ON, 0, true, 232, {231, 232}, ": power off stack + sim = -1 failed"},
        {ON, 0, true, 228, {231, 232, 228}, ": power off stack + sim = 5 failed"},
        {ON, 0, false, 231, {231}, " power OFF stack failed = -1"},
        {ON, 0, false, 228, {231, 232, 228}, " power OFF stack failed = 5"},
        {OFF, 1, false, 232, {231, 232}, ": power ON stack failed = -1"},
        {OFF, 1, false, 228, {231, 232, 228}, ": power ON stack failed = 5"},
        {OFF, 0, true, 232, {232}, " power OFF sim in airplane mode failed -1"},
        {OFF, 0, true, 230, {232, 230}, " power OFF sim in airplane mode failed 5"},
        {OFF, 0, false, 230, {232, 230}, " power ON sim in airplane mode failed 5"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows));
        in_own_process([&] {
            Phone phone;
            bring_to(phone, row.radio);
            property_set("gsm.simmanager.set_off_sim1", row.sim_off ? "true" : "");
            const int state = phone.ril()->onStateRequest();
            phone.modem.set_return(row.refused, 5);
            RIL_Token token = power(phone, row.value);
            EXPECT_EQ(phone.modem.received_ids(), row.ids);
            EXPECT_EQ(phone.answer(token).error, RIL_E_GENERIC_FAILURE);
            EXPECT_EQ(phone.ril()->onStateRequest(), state);
            EXPECT_THAT(radio_log(), HasSubstr(std::string("ril_request_radio_power") + row.message));
            // A power-off that failed counts as one under way: power-on still goes to the modem.
            if (row.radio == ON) {
                phone.modem.set_return(row.refused, 0);
                phone.modem.take_received();
                power(phone, 1);
                EXPECT_THAT(masked(phone.modem.take_received()), ElementsAreArray(c_all_on));
            }
        });
    }
}

// What the modem may answer to power-off with the radio on. Other than with the good answer, the state stays.
TEST(RadioPower, OtherAnswers) {
    const struct {
        RIL_Errno error;
        int state;
        uint8_t mode, result;
        bool logged;
    } rows[] = {
        {RIL_E_GENERIC_FAILURE, 10, 0, 5, false}, {RIL_E_GENERIC_FAILURE, 10, 1, 5, false},
        {RIL_E_SUCCESS, 10, 2, 0, true},          {RIL_E_SUCCESS, 10, 6, 0, true},
        {RIL_E_SUCCESS, 10, 7, 0, false},         {RIL_E_SUCCESS, 10, 200, 0, false},
        {RIL_E_SUCCESS, 10, 1, 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows));
        in_own_process([&] {
            Phone phone;
            bring_to(phone, ON);
            RIL_Token token = power(phone, 0);
            const Bytes request = phone.modem.take_received().back();
            phone.modem.send(with_context(mode_answer(227, row.mode, row.result), request));
            EXPECT_EQ(phone.answer(token).error, row.error);
            EXPECT_EQ(phone.ril()->onStateRequest(), row.state);
            EXPECT_EQ(radio_log().find("boot_cps_set_mode_rspcb not handled") != std::string::npos, row.logged);
            // No answer but "off" ends the power-off: power-on goes to the modem.
            power(phone, 1);
            EXPECT_THAT(masked(phone.modem.take_received()), ElementsAreArray(c_all_on));
        });
    }
}

TEST(RadioPower, FailedAnswerOfTheSim) {
    in_own_process([] {
        Phone phone;
        bring_to(phone, OFF);
        RIL_Token token = power(phone, 0);
        phone.modem.send(with_context(mode_answer(229, 0, 1), phone.modem.take_received().back()));
        EXPECT_EQ(phone.answer(token).error, RIL_E_GENERIC_FAILURE);
        EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_OFF);
        EXPECT_TRUE(phone.android.unsolicited().empty());
    });
}

// The answer of the other stack is not this one's: the context stays open for the right one. Nor does an indication
// change the radio's state.
TEST(RadioPower, AnswersThatAreNotMeant) {
    for (const char* dual_sim : {"", "ss"}) {
        in_own_process([&] {
            property_set("persist.dual_sim", dual_sim);
            Phone phone;
            bring_to(phone, OFF);
            RIL_Token token = power(phone, 1);
            const Bytes request = phone.modem.take_received().back();
            phone.modem.send(with_context(mode_answer(227, 1, 9, 1), request));
            phone.modem.send(
                "02 04 00 00 00 30 02 04 00 00 00 E9 20 00 01 00 7F 81 69 1C 7F 84 6B 12 02 04 00 00 00 00"
                " 02 04 00 00 00 00 02 04 00 00 00 01 02 04 00 00 00 00");
            phone.modem.send(
                "02 04 00 00 00 30 02 04 00 00 00 E9 20 00 01 00 7F 81 69 1C 7F 84 6B 12 02 04 00 00 00 00"
                " 02 04 00 00 00 00 02 04 00 00 00 00 02 04 00 00 00 07");
            Bytes nobodys = request;
            nobodys[15] = 0;
            phone.modem.send(with_context(mode_answer(227, 1), nobodys));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_OFF);
            EXPECT_EQ(phone.android.completed(token), 0);
            phone.modem.send(with_context(mode_answer(227, 1), request));
            EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
            EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_ON);
            EXPECT_EQ(radio_log().find("call back for diff sim") != std::string::npos, dual_sim[0] != '\0');
            // A second answer finds nobody.
            phone.modem.send(with_context(mode_answer(227, 0), request));
            EXPECT_EQ(phone.answer(power(phone, 1)).error, RIL_E_SUCCESS);
            EXPECT_EQ(phone.ril()->onStateRequest(), RADIO_STATE_ON);
        });
    }
}

// The answer to the stack-off of the start has no Android request: mode on sends the restricted state all the same.
TEST(RadioPower, AnswerWithoutARequest) {
    in_own_process([] {
        Phone phone;
        phone.answer_mode_requests(1);
        phone.event(c_event_up);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 6; }));
        EXPECT_EQ(phone.android.unsolicited_numbers(), (Numbers{1010, 1001, 1002, 1019, 1000, 1023}));
        EXPECT_TRUE(phone.android.completions().empty());
    });
}

TEST(RadioPower, BadData) {
    in_own_process([] {
        Phone phone;
        bring_to(phone, OFF);
        int on = 1;
        const struct {
            void* data;
            size_t length;
        } cases[] = {{nullptr, 0}, {nullptr, sizeof(int)}, {&on, sizeof(int) - 1}, {&on, 0}};
        for (const auto& c : cases) {
            EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, c.data, c.length)).error,
                      RIL_E_GENERIC_FAILURE);
        }
        EXPECT_TRUE(phone.modem.take_received().empty());
    });
}

TEST(RadioPower, RegistrationOfTheSimWithoutData) {
    const struct {
        const char* data_sim;
        bool second_instance, cleared;
    } cases[] = {{"", false, false}, {"0", false, false}, {"1", false, true}, {"", true, true},
                 {"1", true, false}, {"0", true, true},   {"x", true, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        in_own_process([&] {
            Phone phone(c.second_instance ? std::vector<std::string>{"--client", "2"} : std::vector<std::string>{});
            phone.sim_id = c.second_instance ? 1 : 0;
            phone.bring_up();
            property_set("gsm.simmanager.data_sim_id", c.data_sim);
            property_set("gsm.nondatasim.registered", "true");
            power(phone, 1);
            char value[PROPERTY_VALUE_MAX];
            property_get("gsm.nondatasim.registered", value, "");
            EXPECT_STREQ(value, c.cleared ? "false" : "true");
        });
    }
}

}  // namespace
