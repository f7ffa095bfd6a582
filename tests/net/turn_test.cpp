// The two SIMs take turns, in one process on Android's clock and in two that share the phone's properties.
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>

#include "tests/net/packets.h"

namespace {

constexpr int c_automatic = RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC;
constexpr const char* c_registered = "gsm.nondatasim.registered";
constexpr int64_t c_second = 1000;

// A timer that is armed while the clock moves counts from where it moved to.
void wait_steps(NetPhone& phone, int steps) {
    for (int i = 0; i < steps; ++i) {
        phone.android.advance(c_second);
    }
}

PHONE_TEST(NetPhone, Turn, WhoWaits) {
    const struct {
        const char *data_sim, *other_state, *registered;
        bool waits;
    } rows[] = {
        {"", "", "", false},  // as long as nobody has set any of them
        {"", "READY", "", true},
        {"0", "READY", "false", true},
        {"0", "READY,PIN", "true ", true},
        {"0", "READY", "TRUE", true},
        {"x", "READY", "false", true},
        {"0", "READY", "true", false},
        {"1", "READY", "false", false},
        {"0", "ABSENT", "false", false},
        {"0", "ready", "false", false},
        {"0", "READ", "false", false},
    };
    property_set("gsm.sim.state", "READY");
    for (const auto& row : rows) {
        property_set("gsm.simmanager.data_sim_id", row.data_sim);
        property_set("gsm.sim2.state", row.other_state);
        property_set(c_registered, row.registered);
        phone.request(c_automatic, nullptr, 0);
        EXPECT_EQ(phone.sent().size(), row.waits ? 0U : 1U) << row.data_sim << row.other_state << row.registered;
        // As long as nothing changes, in five steps of a second.
        for (int step = 1; step < 5; ++step) {
            EXPECT_EQ(phone.android.timers(), row.waits ? 1U : 0U) << step;
            phone.android.advance(c_second);
        }
        phone.android.advance(c_second - 1);
        EXPECT_TRUE(phone.sent().empty());
        phone.android.advance(1);
        EXPECT_EQ(phone.sent().size(), row.waits ? 1U : 0U);
        EXPECT_EQ(phone.android.timers(), 0U);
    }
}

TEST(Turn, WhatEndsTheWaitAtItsNextStep) {
    for (const auto& [key, value] : {std::pair{c_registered, "true"}, {"gsm.sim2.state", "ABSENT"}}) {
        in_own_process([key = key, value = value] {
            NetPhone phone;
            property_set("gsm.sim2.state", "READY");
            RIL_Token token = phone.request(c_automatic, nullptr, 0);
            wait_steps(phone, 2);
            property_set(key, value);
            EXPECT_TRUE(phone.sent().empty());
            phone.modem.set_return(c_attach, -1);
            phone.android.advance(c_second);
            EXPECT_EQ(phone.sent().size(), 1U);
            EXPECT_EQ(phone.answer(token).error, RIL_E_GENERIC_FAILURE);
            wait_steps(phone, 5);
            EXPECT_EQ(phone.android.completed(token), 1);
        });
    }
}

PHONE_TEST(NetPhone, Turn, AManualSelectionDoesNotWait) {
    property_set("gsm.sim2.state", "READY");
    RIL_Token waiting = phone.request(c_automatic, nullptr, 0);
    phone.modem.set_answer(c_attach, attach_confirmed(262, 1, 0, 1));
    EXPECT_EQ(phone.ask(RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL, "26201"), "0");
    EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE), "0: 1");
    wait_steps(phone, 5);
    EXPECT_EQ(phone.answer(waiting).error, RIL_E_SUCCESS);
    EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE), "0: 0");
}

// A wait ends with its modem; the next modem's request, which gets the same context and from Android the same token,
// has a wait of its own.
PHONE_TEST(NetPhone, Turn, ARestartOfTheModemEndsTheWait) {
    property_set("gsm.sim2.state", "READY");
    RIL_Token token = phone.request(c_automatic, nullptr, 0);
    phone.event(0xB1000000);
    EXPECT_EQ(phone.answer(token).error, RIL_E_RADIO_NOT_AVAILABLE);
    phone.answer_mode_requests(0);
    phone.event(0xB2000000);
    phone.wait_radio_state(RADIO_STATE_OFF);
    phone.radio(1);
    phone.modem.take_received();
    phone.android.advance(c_second / 2);
    phone.android.reset();
    phone.ril()->onRequest(c_automatic, nullptr, 0, token);
    property_set(c_registered, "true");
    phone.android.advance(c_second / 2);
    EXPECT_TRUE(phone.sent().empty());
    phone.modem.set_answer(c_attach, attach_confirmed(262, 1, 0, 1));
    phone.android.advance(c_second / 2);
    EXPECT_EQ(phone.sent().size(), 1U);
    EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
    EXPECT_EQ(phone.android.completed(token), 1);
}

// The radio off and on again keeps the wait.
PHONE_TEST(NetPhone, Turn, PowerOfTheRadioKeepsTheWait) {
    property_set("gsm.sim2.state", "READY");
    RIL_Token token = phone.request(c_automatic, nullptr, 0);
    phone.radio(0);
    phone.radio(1);
    phone.modem.set_answer(c_attach, attach_confirmed(262, 1, 0, 1));
    wait_steps(phone, 5);
    EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
}

class Baton {
public:
    Baton() { EXPECT_EQ(pipe(ends_), 0); }
    void pass() { EXPECT_EQ(write(ends_[1], "x", 1), 1); }
    void take() {
        char byte = 0;
        EXPECT_EQ(read(ends_[0], &byte, 1), 1);
    }

private:
    int ends_[2] = {-1, -1};
};

// SIM 1's process. Its daemon takes the paths over once SIM 0's client is connected to its own.
void second_process(Baton& mine, Baton& theirs) {
    mine.take();
    NetPhone phone({"--sim", "2"}, 1);
    EXPECT_EQ(property(c_registered), "false");
    theirs.pass();
    mine.take();
    phone.modem.set_answer(c_attach, attach_confirmed(262, 2, 0, 1, 1));
    EXPECT_EQ(phone.ask(c_automatic), "0");
    EXPECT_EQ(phone.android.timers(), 0U);
    EXPECT_TRUE(phone.sent().front().ends_with("02 04 00 00 00 01"));
    EXPECT_TRUE(soon([] { return property(c_registered) == "true"; }));
    theirs.pass();
    mine.take();
}

TEST(Turn, TwoProcessesShareTheProperties) {
    in_own_process([] {
        Baton first, second;
        const pid_t child = fork();
        if (child == 0) {
            second_process(second, first);
            exit(testing::Test::HasFailure() ? 1 : 0);
        }
        NetPhone phone;
        property_set("gsm.simmanager.data_sim_id", "0");
        property_set("gsm.sim.state", "READY");
        property_set("gsm.sim2.state", "READY");
        second.pass();
        first.take();
        RIL_Token token = phone.request(c_automatic, nullptr, 0);
        wait_steps(phone, 2);
        EXPECT_TRUE(phone.sent().empty());
        second.pass();
        first.take();
        phone.modem.set_answer(c_attach, attach_confirmed(262, 1, 0, 1));
        phone.android.advance(c_second);
        EXPECT_EQ(phone.sent().size(), 1U);
        EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
        second.pass();
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    });
}

}  // namespace

// A sanitizer owns the allocator.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

static std::atomic<bool> s_no_memory{false};  // the library's calloc gives nothing while this is set

extern "C" void* __libc_calloc(size_t count, size_t size);  // NOLINT: glibc's name
extern "C" __attribute__((visibility("default"))) void* calloc(size_t count, size_t size) {
    return s_no_memory ? nullptr : __libc_calloc(count, size);
}

namespace {

PHONE_TEST(NetPhone, Turn, WithoutMemoryTheRequestIsAnswered) {
    property_set("gsm.sim2.state", "READY");
    phone.hear({registration({.rat = 2})});
    for (const int number : {c_automatic, RIL_REQUEST_VOICE_REGISTRATION_STATE}) {
        s_no_memory = true;
        RIL_Token token = phone.request(number, nullptr, 0);
        s_no_memory = false;
        EXPECT_EQ(phone.answer(token).error, RIL_E_GENERIC_FAILURE);
    }
    EXPECT_EQ(phone.android.timers(), 0U);
    EXPECT_TRUE(phone.sent().empty());
}

}  // namespace

#endif
