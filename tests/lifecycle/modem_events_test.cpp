// A modem that goes away and comes back under requests: what Android hears meanwhile, and what becomes of its tokens.
#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/lifecycle/lifecycle.h"

namespace {

size_t entries_of(const char* folder) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

void modem_down(Phone& phone) {
    phone.android.reset();
    phone.event(c_event_down);
    ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() >= 4; }));
    phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
}

// The modem's first answer stays out: the radio is unavailable with the modem up.
void bring_up_unavailable(Phone& phone) {
    phone.event(c_event_up);
    ASSERT_TRUE(soon([&] { return phone.initialised(); }));
}

// A preferred network type that Android sets while the radio is unavailable waits for the radio. Every token is
// answered once, whatever becomes of it.
TEST(PreferredNetworkType, WaitsForTheRadio) {
    constexpr uint32_t c_configure_network_mode = 137;
    const struct {
        const char* property;
        bool carried_out;
    } cases[] = {{"", false}, {"TRUE", false}, {"tru", false}, {"true", true}, {"truely", true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.property);
        in_own_process([&] {
            property_set("persist.conformance.noprefrat", c.property);
            Phone phone;
            bring_up_unavailable(phone);
            const Bytes stack_off = phone.modem.take_received().back();
            constexpr int c_number = RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE;
            EXPECT_EQ(phone.answer(phone.request(c_number, nullptr, 0)).error, RIL_E_GENERIC_FAILURE);
            int type = 1;
            EXPECT_EQ(phone.answer(phone.request(c_number, &type, 3)).error, RIL_E_GENERIC_FAILURE);
            RIL_Token replaced = phone.request(c_number, 1);
            EXPECT_EQ(phone.android.completed(replaced), 0);
            RIL_Token kept = phone.request(c_number, 3);
            phone.modem.send(with_context(mode_answer(227, 1), stack_off));
            phone.wait_radio_state(RADIO_STATE_ON);
            if (c.carried_out) {
                EXPECT_TRUE(phone.modem.wait_for(c_configure_network_mode));
            }
            EXPECT_EQ(phone.android.completed(kept), 0);

            // What was kept, replaced or, while the modem is away, dropped is answered when it is there again.
            phone.event(c_event_down);
            phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
            RIL_Token away = phone.request(c_number, 2);
            RIL_Token dropped = phone.request(c_number, 0);
            for (RIL_Token token : {replaced, away, dropped}) {
                EXPECT_EQ(phone.android.completed(token), 0);
            }
            EXPECT_TRUE(c.carried_out || phone.android.completed(kept) == 0);
            phone.answer_mode_requests(0);
            phone.event(c_event_up);
            phone.wait_radio_state(RADIO_STATE_OFF);
            for (RIL_Token token : {replaced, kept, away, dropped}) {
                EXPECT_EQ(phone.answer(token).error, RIL_E_RADIO_NOT_AVAILABLE);
                EXPECT_EQ(phone.android.completed(token), 1);
            }
        });
    }
}

// The RIL thread sits in a call that the modem never answers, rild's event thread behind it and the RPC dispatch thread
// behind both.
TEST(ModemDown, ReleasesThreadsThatAreParked) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        const size_t threads = entries_of("/proc/self/task");
        phone.leave_mode_requests_open();
        RIL_Token open = phone.request(RIL_REQUEST_RADIO_POWER, 1);
        const Bytes request = phone.modem.take_received().back();
        phone.modem.set_silent(c_set_sim_configuration, true);
        RIL_Token parked = nullptr;
        std::thread event_thread([&] { parked = phone.request(RIL_REQUEST_RADIO_POWER, 0); });
        ASSERT_TRUE(phone.modem.wait_for(c_set_sim_configuration, 3));
        phone.modem.send(with_context(mode_answer(227, 1), request));
        phone.event(c_event_down);
        event_thread.join();
        EXPECT_EQ(phone.answer(parked).error, RIL_E_RADIO_NOT_AVAILABLE);
        EXPECT_EQ(phone.answer(open).error, RIL_E_RADIO_NOT_AVAILABLE);

        phone.modem.set_silent(c_set_sim_configuration, false);
        phone.answer_mode_requests_as_asked();
        phone.event(c_event_up);
        phone.wait_radio_state(RADIO_STATE_OFF);
        EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 1)).error, RIL_E_SUCCESS);
        EXPECT_EQ(phone.android.completed(parked), 1);
        EXPECT_EQ(phone.android.completed(open), 1);
        EXPECT_EQ(entries_of("/proc/self/task"), threads);
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

TEST(ModemDown, AnswersEveryOpenContext) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        phone.leave_mode_requests_open();
        // 254 contexts, of which the RX diversity setting of the start still has one.
        std::vector<RIL_Token> tokens;
        tokens.reserve(254);
        for (int i = 0; i < 253; ++i) {
            tokens.push_back(phone.request(RIL_REQUEST_RADIO_POWER, 0));
        }
        EXPECT_TRUE(phone.android.completions().empty());
        EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_RADIO_POWER, 0)).error, RIL_E_GENERIC_FAILURE);
        phone.modem.send(
            "02 04 00 00 00 29 02 04 00 00 01 54 20 00 01 03 7F 82 54 15 7F 06 06 02 04 20 00 01 03"
            " 02 04 00 00 00 00 02 04 00 00 00 00");
        EXPECT_TRUE(soon([&] {
            tokens.push_back(phone.request(RIL_REQUEST_RADIO_POWER, 0));
            return phone.android.completed(tokens.back()) == 0 || (tokens.pop_back(), false);
        }));
        EXPECT_EQ(tokens.size(), 254U);
        modem_down(phone);
        for (RIL_Token token : tokens) {
            EXPECT_EQ(phone.answer(token).error, RIL_E_RADIO_NOT_AVAILABLE);
            EXPECT_EQ(phone.android.completed(token), 1);
        }
    });
}

// The modem's answer to a mode request overtakes its own end: the radio is unavailable all the same.
TEST(ModemDown, LateAnswerDoesNotBringTheRadioBack) {
    in_own_process([] {
        Phone phone;
        phone.bring_up();
        phone.leave_mode_requests_open();
        RIL_Token token = phone.request(RIL_REQUEST_RADIO_POWER, 1);
        const Bytes request = phone.modem.take_received().back();
        phone.android.reset();
        std::atomic<bool> first{true};
        phone.android.set_unsolicited_hook([&](int number) {
            if (number == RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED && first.exchange(false)) {
                phone.modem.send(with_context(mode_answer(227, 1), request));
                phone.wait_radio_state(RADIO_STATE_ON);
            }
        });
        phone.event(c_event_down);
        EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
        phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
        ASSERT_TRUE(soon([&] { return phone.android.unsolicited().size() == 8; }));
        EXPECT_EQ(phone.android.unsolicited_numbers().back(), RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED);
    });
}

// A request of the first instance only, and only with the modem up.
TEST(ModemDown, ResetIsAskedForByTheFirstInstance) {
    for (const bool second_instance : {false, true}) {
        in_own_process([&] {
            Phone phone(second_instance ? std::vector<std::string>{"--client", "2"} : std::vector<std::string>{});
            phone.sim_id = second_instance ? 1 : 0;
            const auto shut_down = reinterpret_cast<void (*)()>(phone.symbol("ShutdownCb"));
            phone.bring_up();
            shut_down();
            EXPECT_TRUE(second_instance || soon([&] { return phone.manager_requests == 1; }));
            EXPECT_EQ(phone.last_manager_request, second_instance ? 0 : 0xA1000000U);
            modem_down(phone);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            shut_down();
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            EXPECT_EQ(phone.manager_requests, second_instance ? 0U : 1U);
        });
    }
}

TEST(Identity, ImeiAndSoftwareVersion) {
    const std::string head = "7F 83 73 2D 55 09 02 04 00 00 00 09 02 04 00 00 00 00 ";
    const std::string middle = " 55 08 02 04 00 00 00 08 02 04 00 00 00 00 ";
    const std::string imeisv = "43 09 51 24 30 32 57 71 F8";
    const std::string imei = "4A 09 51 24 30 32 57 81";
    const struct {
        int32_t result;
        std::string output;
        RIL_Errno error;
        const char *imei, *version;
    } cases[] = {
        {0, head + imeisv + middle + imei, RIL_E_SUCCESS, "490154203237518", "78"},
        {0, head + "43 09 51 24 30 32 57 F1 88" + middle + "4A 09 F1 24 30 32 57 81", RIL_E_SUCCESS, "4901", ""},
        {0, head + "4F 09 51 24 30 32 57 71 F8" + middle + "FF FF FF FF FF FF FF FF", RIL_E_SUCCESS, "", ""},
        {5, head + imeisv + middle + imei, RIL_E_GENERIC_FAILURE, "", ""},
        {0, head + imeisv + middle, RIL_E_GENERIC_FAILURE, "", ""},  // half of one
        {0, "", RIL_E_SUCCESS, "", ""},                              // none
        {0, head + "FF FF FF FF FF FF FF FF FF" + middle + "FF FF FF FF FF FF FF FF", RIL_E_SUCCESS, "", ""},
    };
    in_own_process([&] {
        Phone phone;
        phone.bring_up();
        phone.android.set_interpreter(FakeAndroid::as_string);
        for (const auto& c : cases) {
            SCOPED_TRACE(&c - cases);
            phone.modem.set_return(198, c.result, from_hex(c.output));
            for (const int number : {RIL_REQUEST_GET_IMEI, RIL_REQUEST_GET_IMEISV}) {
                const FakeAndroid::Completion completion = phone.answer(phone.request(number, nullptr, 0));
                EXPECT_EQ(completion.error, c.error);
                EXPECT_EQ(completion.text, number == RIL_REQUEST_GET_IMEI ? c.imei : c.version);
                EXPECT_EQ(completion.data.size(), c.error == RIL_E_SUCCESS ? sizeof(char*) : 0);
            }
        }
        phone.modem.take_received();
        EXPECT_EQ(phone.answer(phone.request(RIL_REQUEST_DEVICE_IDENTITY, nullptr, 0)).error,
                  RIL_E_REQUEST_NOT_SUPPORTED);
        EXPECT_TRUE(phone.modem.take_received().empty());
    });
}

}  // namespace
