// RIL_REQUEST_RADIO_POWER: refusals, answers that say something else, and bad data.
#include <cutils/properties.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/lifecycle/lifecycle.h"

namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

enum Radio { ON, OFF };

RIL_Token power(Phone& phone, int value) {
    return phone.request(RIL_REQUEST_RADIO_POWER, value);
}

// Brings the radio into a state, with the modem's answers open from then on.
void bring_to(Phone& phone, Radio radio) {
    phone.bring_up();
    if (radio == ON) {
        phone.answer_mode_requests_as_asked();
        EXPECT_EQ(phone.answer(power(phone, 1)).error, RIL_E_SUCCESS);
    }
    phone.leave_mode_requests_open();
    phone.modem.take_received();
    phone.android.reset();
}

const std::vector<std::string> c_all_on = {c_stack_on, c_sim_on, c_mode_on};

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
            phone.bring_up();
            // RIL_Init returns before the other stack is told to go off.
            ASSERT_TRUE(phone.modem.wait_for(c_set_mode, dual_sim[0] != '\0' ? 2 : 1));
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
        EXPECT_EQ(phone.android.unsolicited_numbers(), (std::vector<int>{1010, 1001, 1002, 1019, 1000, 1023}));
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
