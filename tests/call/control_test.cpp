// What each operation sends for the calls that are there, and what follows it, through the real doors.
#include <gtest/gtest.h>

#include <thread>

#include "tests/call/call_phone.h"

namespace {

constexpr int c_udub = RIL_REQUEST_UDUB;
constexpr int c_background = RIL_REQUEST_HANGUP_WAITING_OR_BACKGROUND;
constexpr int c_foreground = RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND;
constexpr int c_switch = RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE;
constexpr int c_hangup = RIL_REQUEST_HANGUP;
constexpr int c_separate = RIL_REQUEST_SEPARATE_CONNECTION;
constexpr int c_conference = RIL_REQUEST_CONFERENCE;
constexpr int c_explicit_transfer = RIL_REQUEST_EXPLICIT_CALL_TRANSFER;
constexpr int c_none = -1000;  // no data

struct Row {
    const char* calls;
    int request;
    int data;
    const char* sent;  // releases with scope, id and cause; nothing: the request fails
};

constexpr Row c_rows[] = {
    // Release the held call or refuse the waiting one.
    {"a1 h2 W3", c_background, c_none, "39(0,3,21)"},
    {"h2 W3", c_background, c_none, "39(0,3,21)"},
    {"a1 h2", c_background, c_none, "39(0,2,21)"},
    {"h4 h2", c_background, c_none, "39(0,2,21)"},
    {"a1 W3", c_udub, c_none, "39(5,3,17)"},
    {"r5", c_udub, c_none, "39(0,5,17)"},
    {"r5", c_background, c_none, "39(0,5,17)"},
    {"r5 r6", c_udub, c_none, "39(0,6,17)"},
    {"a1", c_background, c_none, ""},
    {"d1", c_udub, c_none, ""},
    {"l1", c_udub, c_none, ""},
    {"", c_udub, c_none, ""},
    // Release the active calls and go on with another.
    {"a1 W3", c_foreground, c_none, "39(2,0,16)"},
    {"a1 h2 W3", c_foreground, c_none, "39(2,0,16)"},
    {"a1 h2", c_foreground, c_none, "39(2,0,16)"},
    {"a1", c_foreground, c_none, "39(2,0,16)"},
    {"h2 W3", c_foreground, c_none, "44(3)"},
    {"w3", c_foreground, c_none, "44(3)"},
    {"h2", c_foreground, c_none, "51"},
    {"d1", c_foreground, c_none, ""},
    {"l1", c_foreground, c_none, ""},
    {"r1", c_foreground, c_none, ""},
    {"", c_foreground, c_none, ""},
    // The same by a hang-up that names no call; one that does.
    {"a1 W3", c_hangup, 0, "39(2,0,16)"},
    {"h2", c_hangup, 0, "51"},
    {"w3", c_hangup, 17, "44(3)"},
    {"a1", c_hangup, -1, "39(2,0,16)"},
    {"a1", c_hangup, 0x10000, "39(2,0,16)"},
    {"a1 h2", c_hangup, 2, "39(0,2,16)"},
    {"a1 h16", c_hangup, 16, "39(0,16,16)"},
    {"a1", c_hangup, 0x10001, "39(0,1,16)"},
    {"d1", c_hangup, 1, "39(0,1,16)"},
    {"l1", c_hangup, 1, "39(0,1,16)"},
    {"r1", c_hangup, 1, "39(0,1,21)"},
    {"a1 W3", c_hangup, 3, "39(0,3,16)"},
    {"a1", c_hangup, 2, ""},
    {"a1", c_hangup, 16, ""},
    {"", c_hangup, 0, ""},
    {"", c_hangup, 1, ""},
    {"a1", c_hangup, c_none, ""},
    // Hold the active calls and go on with another.
    {"a1 h2", c_switch, c_none, "47"},
    {"a1 h2 W3", c_switch, c_none, "47"},
    {"a1 W3", c_switch, c_none, "49"},
    {"a1", c_switch, c_none, "49"},
    {"a1 d2", c_switch, c_none, "49"},
    {"h2 W3", c_switch, c_none, "44(3)"},
    {"w3", c_switch, c_none, "44(3)"},
    {"h2", c_switch, c_none, "51"},
    {"r4", c_switch, c_none, "44(4)"},
    {"d1", c_switch, c_none, ""},
    {"l1", c_switch, c_none, ""},
    {"", c_switch, c_none, ""},
    // The same by a separation that names no call; one that does.
    {"a1", c_separate, 0, "49"},
    {"m1 m2", c_separate, 2, "53(2)"},
    {"m1 m2 h3", c_separate, 1, "53(1)"},
    {"a1 h2", c_separate, 2, "47"},
    {"h2", c_separate, 2, "51"},
    {"a1 h2", c_separate, 1, ""},
    {"a1 h2", c_separate, 3, ""},
    {"a1 h16", c_separate, 16, "47"},
    {"a1 h17", c_separate, 17, ""},
    {"a1 h2", c_separate, -1, ""},
    {"a1 W2", c_separate, 2, ""},
    {"a1 h2", c_separate, c_none, ""},
    // Join and transfer.
    {"a1 h2", c_conference, c_none, "55"},
    {"a1", c_conference, c_none, ""},
    {"h2", c_conference, c_none, ""},
    {"a1 W2", c_conference, c_none, ""},
    {"a1 h2", c_explicit_transfer, c_none, "57"},
    {"h2 l1", c_explicit_transfer, c_none, "57"},
    {"h2 d1", c_explicit_transfer, c_none, ""},
    {"a1", c_explicit_transfer, c_none, ""},
    {"h2", c_explicit_transfer, c_none, ""},
    {"", c_explicit_transfer, c_none, ""},
};

std::string ask(CallPhone& phone, int request, int data) {
    return data == c_none ? phone.ask(request) : phone.ask(request, data);
}

// A separation has a timer only when it is a plain hold.
bool has_timer(const Row& row) {
    return row.request != c_conference && row.request != c_explicit_transfer &&
           (row.request != c_separate || row.data == 0);
}

PHONE_TEST(CallPhone, Control, EachOperationByTheCallsThatAreThere) {
    for (const Row& row : c_rows) {
        SCOPED_TRACE(std::string(row.calls) + " request " + std::to_string(row.request) + " " +
                     std::to_string(row.data));
        phone.set_calls(row.calls);
        const std::string before = phone.calls();
        const std::string outcome = ask(phone, row.request, row.data);
        const RIL_Token token = phone.last_token;
        EXPECT_EQ(outcome, row.sent[0] == '\0' ? "2" : "open");
        EXPECT_EQ(phone.sent_short(), row.sent);
        EXPECT_EQ(phone.calls(), before);
        phone.android.advance(10'000);
        EXPECT_EQ(phone.android.completed(token), row.sent[0] == '\0' || has_timer(row) ? 1 : 0);
        // A request that cannot be sent fails at once and leaves nothing.
        phone.clear();
        phone.set_calls(row.calls);
        for (const uint32_t id : {39U, 44U, 47U, 49U, 51U, 53U, 55U, 57U}) {
            phone.modem.set_return(id, -3);
        }
        EXPECT_EQ(ask(phone, row.request, row.data), "2");
        for (const uint32_t id : {39U, 44U, 47U, 49U, 51U, 53U, 55U, 57U}) {
            phone.modem.set_return(id, 0);
        }
        phone.sent();
        phone.clear();
    }
    EXPECT_EQ(phone.dial("5"), "open");  // no mark is left
    EXPECT_EQ(phone.sent_short(), "34");
}

// Sends `request` over these calls, answers it, and gives outcome, calls and what Android heard.
std::string after(CallPhone& phone, const char* calls, int request, int data, const std::string& reply) {
    phone.set_calls(calls);
    ask(phone, request, data);
    const RIL_Token token = phone.last_token;
    phone.sent();
    phone.android.reset();
    phone.reply(reply);
    const auto done = phone.answer(token);
    std::string heard;
    phone.modem.send(indication(84, record("81 72", u32(1))));
    EXPECT_TRUE(soon([&] {
        const auto all = phone.android.unsolicited_numbers();
        return !all.empty() && all.back() == 1028;
    }));
    for (const int number : phone.android.unsolicited_numbers()) {
        heard += number == 1028 ? "" : " " + std::to_string(number);
    }
    const std::string text = std::to_string(done.error) + " [" + phone.calls() + "]" + heard;
    phone.sent();
    phone.clear();
    return text;
}

PHONE_TEST(CallPhone, Control, AnswersChangeTheTable) {
    const struct {
        const char* calls;
        int request;
        int data;
        std::string reply;
        const char* result;
    } rows[] = {
        {"a1", c_switch, c_none, answer_to(c_hold, 1), "0 [1:1] 1001"},
        {"a1", c_switch, c_none, answer_to(c_hold, 9), "0 [0:1] 1001"},
        {"a1", c_switch, c_none, answer_to(c_hold, 1, 5), "2 [0:1]"},
        {"m1 m2", c_switch, c_none, answer_to(c_hold, 2), "0 [1:1* 1:2*] 1001"},
        {"a1 h2", c_switch, c_none, answer_to(c_swap, 2, 0, 1), "0 [1:1 0:2] 1001"},
        {"a1 h2", c_switch, c_none, answer_to(c_swap, 2, 1, 1), "2 [0:1 1:2]"},
        {"a1 h2", c_switch, c_none, answer_to(c_swap, 9, 0, 8), "0 [0:1 1:2] 1001"},
        {"m1 m2 h3", c_switch, c_none, answer_to(c_swap, 3, 0, 1), "0 [1:1* 1:2* 0:3] 1001"},
        {"h2", c_switch, c_none, answer_to(c_retrieve, 2), "0 [0:2] 1001"},
        {"h2", c_switch, c_none, answer_to(c_retrieve, 9), "0 [1:2]"},
        {"h2", c_switch, c_none, answer_to(c_retrieve, 2, 1), "2 [1:2]"},
        {"w3", c_switch, c_none, answer_to(c_accept, 3), "0 [0:3] 1001"},
        {"w3", c_switch, c_none, answer_to(c_accept, 3, 1), "2 [5:3] 1001"},
        {"w3", c_foreground, c_none, answer_to(c_accept, 3), "0 [0:3] 1001"},
        {"w3", c_foreground, c_none, answer_to(c_accept, 3, 1), "2 [0:3] 1001"},
        {"w3", c_switch, c_none, answer_to(c_accept, 3, 1), "2 [5:3] 1001"},  // not again
        {"a1 h2", c_conference, c_none, answer_to(c_join, 0), "0 [0:1* 0:2*] 1001"},
        {"a1 h2", c_conference, c_none, answer_to(c_join, 0, 1), "2 [0:1 1:2]"},
        {"m1 m2", c_separate, 2, answer_to(c_split, 2), "0 [1:1* 0:2] 1001"},
        {"m1 m2", c_separate, 2, answer_to(c_split, 9), "0 [1:1* 1:2*] 1001"},
        {"m1 m2", c_separate, 2, answer_to(c_split, 2, 1), "2 [0:1* 0:2*]"},
        {"h2 l1", c_explicit_transfer, c_none, answer_to(c_transfer, 1), "0 [1:2 0:1] 1001"},
        {"h2 l1", c_explicit_transfer, c_none, answer_to(c_transfer, 9), "0 [1:2 3:1] 1001"},
        {"h2 l1", c_explicit_transfer, c_none, answer_to(c_transfer, 1, 1), "2 [1:2 3:1]"},
        {"a1 h2", c_foreground, c_none, answer_to(c_release, 0), "0 [0:1 1:2]"},
        {"a1", c_hangup, 1, answer_to(c_release, 1), "0 []"},
        {"a1", c_hangup, 1, answer_to(c_release, 9), "0 [0:1]"},
        {"a1", c_hangup, 1, answer_to(c_release, 1, 1), "2 [0:1]"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(after(phone, row.calls, row.request, row.data, row.reply), row.result)
            << row.calls << " request " << row.request;
    }
}

PHONE_TEST(CallPhone, FollowUp, AcceptAfterTheDisconnection) {
    phone.set_calls("a1 W3");
    ask(phone, c_foreground, c_none);
    const RIL_Token token = phone.last_token;
    phone.sent();
    phone.reply(answer_to(c_release, 0));
    EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
    phone.hear({});
    EXPECT_EQ(phone.sent_short(), "");
    EXPECT_EQ(phone.hear({disconnected(1)}), "1001 1028:219,1 1001");
    EXPECT_EQ(phone.sent().at(0),
              "02 04 00 00 00 29 02 04 00 00 00 2C 20 00 00 00 7F 2C 16 7F 06 06 02 04 20 00 00 00 "
              "7F 81 00 03 02 01 03 02 04 00 00 00 00");
    phone.reply(answer_to(c_accept, 3));  // nobody takes it
    EXPECT_EQ(phone.hear({}), "");
    EXPECT_EQ(phone.calls(), "5:3");
    phone.hear({connected(3)});
    EXPECT_EQ(phone.calls(), "0:3");
    // It is still pending: with another call waiting it acts again, with none it does not.
    phone.hear({incoming(4), disconnected(3)});
    EXPECT_EQ(phone.sent_short(), "44(4)!");
    EXPECT_EQ(phone.hear({connected(4), disconnected(4)}), "1001 1001 1028:219,4 1001");
    EXPECT_EQ(phone.sent_short(), "");
    // What cannot be sent is not tried again.
    phone.set_calls("a1 W3 W4");
    phone.modem.set_return(c_accept, -1);
    EXPECT_EQ(phone.hear({disconnected(1)}), "1001 1028:219,1 1001");
    phone.modem.set_return(c_accept, 0);
    EXPECT_EQ(phone.sent_short(), "44(3)!");
    phone.hear({disconnected(3)});
    EXPECT_EQ(phone.sent_short(), "");
}

PHONE_TEST(CallPhone, FollowUp, RetrieveAfterTheDisconnection) {
    phone.set_calls("a1 h2");
    ask(phone, c_foreground, c_none);
    EXPECT_EQ(phone.sent_short(), "39(2,0,16)");
    EXPECT_EQ(phone.hear({disconnected(1)}), "1028:219,1 1001");
    EXPECT_EQ(phone.sent_short(), "51!");
    EXPECT_EQ(phone.hear({status(2, 13)}), "1001");
    EXPECT_EQ(phone.calls(), "0:2");
    EXPECT_EQ(phone.hear({disconnected(2)}), "1001 1028:219,2 1001");
    EXPECT_EQ(phone.sent_short(), "");
    // Still pending; gone once it cannot be sent.
    phone.set_calls("a1 h2 h3");
    phone.modem.set_return(c_retrieve, -1);
    EXPECT_EQ(phone.hear({disconnected(1)}), "1001 1028:219,1 1001");
    phone.modem.set_return(c_retrieve, 0);
    EXPECT_EQ(phone.sent_short(), "51!");
    phone.hear({disconnected(2)});
    EXPECT_EQ(phone.sent_short(), "");
}

// What makes a disconnection follow nothing up any more.
PHONE_TEST(CallPhone, FollowUp, ClearedByARefusalOrAJoin) {
    const auto pending = [&] {
        phone.set_calls("a11 h12");
        phone.hear({disconnected(11)});
        const std::string sent = phone.sent_short();
        phone.clear();
        return sent;
    };
    const struct {
        const char* calls;
        int request;
        std::string reply;
        const char* follows;
    } rows[] = {
        {"a1 h2", c_foreground, answer_to(c_release, 0), "51!"},
        {"a1 h2", c_foreground, answer_to(c_release, 0, 1), ""},
        {"h2", c_foreground, answer_to(c_retrieve, 2), "51!"},
        {"h2", c_foreground, answer_to(c_retrieve, 2, 1), ""},
        {"h2", c_foreground, answer_to(c_retrieve, 2), "51!"},
        {"h2", c_switch, answer_to(c_retrieve, 9), ""},
        {"h2", c_foreground, answer_to(c_retrieve, 2), "51!"},
        {"a1 h2", c_conference, answer_to(c_join, 0), ""},
        {"h2", c_foreground, answer_to(c_retrieve, 2), "51!"},
        {"a1", c_switch, answer_to(c_hold, 1), ""},  // a plain hold takes its place
    };
    for (const auto& row : rows) {
        after(phone, row.calls, row.request, c_none, row.reply);
        EXPECT_EQ(pending(), row.follows) << row.calls << " request " << row.request;
    }
    phone.set_calls("a1 h2");
    phone.modem.set_return(c_release, -1);
    EXPECT_EQ(ask(phone, c_foreground, c_none), "2");
    phone.modem.set_return(c_release, 0);
    phone.clear();
    EXPECT_EQ(pending(), "");
}

PHONE_TEST(CallPhone, FollowUp, AcceptAfterTheHold) {
    const auto start = [&] {
        phone.set_calls("a1 W3");
        ask(phone, c_switch, c_none);
        EXPECT_EQ(phone.sent_short(), "49");
        return phone.last_token;
    };
    const RIL_Token token = start();
    phone.reply(answer_to(c_hold, 1));
    EXPECT_EQ(phone.hear({}), "");
    EXPECT_EQ(phone.sent_short(), "44(3)");
    EXPECT_EQ(phone.contexts.end()[-1], phone.contexts.end()[-2]);
    EXPECT_EQ(phone.calls(), "1:1 5:3");
    EXPECT_EQ(phone.outcome(token), "open");
    phone.reply(answer_to(c_accept, 3, 1));  // taken for accepted
    EXPECT_EQ(phone.answer(token).error, RIL_E_GENERIC_FAILURE);
    EXPECT_EQ(phone.calls(), "1:1 0:3");
    phone.clear();

    const RIL_Token refused = start();
    phone.reply(answer_to(c_hold, 1, 1));
    EXPECT_EQ(phone.answer(refused).error, RIL_E_GENERIC_FAILURE);
    EXPECT_EQ(phone.calls(), "0:1 5:3");
    phone.clear();

    const RIL_Token gone = start();
    phone.hear({disconnected(3)});
    phone.reply(answer_to(c_hold, 1));
    EXPECT_EQ(phone.answer(gone).error, RIL_E_GENERIC_FAILURE);
    EXPECT_EQ(phone.calls(), "1:1");
    phone.clear();

    const RIL_Token unsent = start();
    phone.modem.set_return(c_accept, -1);
    phone.reply(answer_to(c_hold, 1));
    EXPECT_EQ(phone.answer(unsent).error, RIL_E_GENERIC_FAILURE);
    phone.modem.set_return(c_accept, 0);
    phone.clear();

    // A request that ended in between leaves nothing that another accepted call could meet.
    const RIL_Token late = start();
    phone.android.advance(10'000);
    EXPECT_EQ(phone.outcome(late), "2");
    phone.clear();
    EXPECT_EQ(after(phone, "w3", c_switch, c_none, answer_to(c_accept, 3, 1)), "2 [5:3] 1001");
}

PHONE_TEST(CallPhone, Timer, BeforeAtAndAfterTheExpiry) {
    const struct {
        const char* calls;
        int request;
        int data;
        int seconds;
        uint8_t sends;
    } rows[] = {
        {"", RIL_REQUEST_DIAL, 0, 25, c_setup},         {"a1", c_hangup, 1, 10, c_release},
        {"a1 h2", c_background, c_none, 10, c_release}, {"a1", c_foreground, c_none, 10, c_release},
        {"a1", c_switch, c_none, 10, c_hold},           {"h1", c_switch, c_none, 10, c_retrieve},
        {"r1", c_udub, c_none, 10, c_release},          {"a1", c_separate, 0, 10, c_hold},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.calls) + " request " + std::to_string(row.request));
        const auto start = [&] {
            phone.set_calls(row.calls);
            if (row.request == RIL_REQUEST_DIAL) {
                phone.dial("123");
            } else {
                ask(phone, row.request, row.data);
            }
            phone.sent();
            return phone.last_token;
        };
        RIL_Token token = start();
        phone.android.advance(row.seconds * 1000 - 1);
        EXPECT_EQ(phone.outcome(token), "open");
        phone.reply(answer_to(row.sends, 1));
        EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
        phone.android.advance(1);
        EXPECT_EQ(phone.android.completed(token), 1);
        EXPECT_EQ(phone.android.timers(), 0U);
        phone.clear();

        token = start();
        phone.android.advance(row.seconds * 1000);
        EXPECT_EQ(phone.outcome(token), "2");
        const std::string calls = phone.calls();
        phone.reply(answer_to(row.sends, 1));
        phone.reply(answer_to(row.sends, 1));
        phone.hear({});
        EXPECT_EQ(phone.calls(), calls);
        EXPECT_EQ(phone.android.completed(token), 0);  // hear has emptied the list
        phone.clear();
    }
    EXPECT_NE(radio_log().find("delay!!"), std::string::npos);
}

PHONE_TEST(CallPhone, Marks, ASecondHoldOrRetrieveIsIgnored) {
    for (const auto& [calls, sends] : {std::pair{"a1", c_hold}, {"h1", c_retrieve}}) {
        phone.set_calls(calls);
        EXPECT_EQ(ask(phone, c_switch, c_none), "open");
        EXPECT_EQ(phone.sent_short(), std::to_string(sends));
        EXPECT_EQ(ask(phone, c_switch, c_none), "0");
        EXPECT_EQ(ask(phone, c_separate, 0), "2");
        EXPECT_EQ(phone.sent_short(), "");
        phone.android.advance(10'000);
        EXPECT_EQ(ask(phone, c_switch, c_none), "open");
        EXPECT_EQ(phone.sent_short(), std::to_string(sends));
        phone.reply(answer_to(sends, 1, 1));
        phone.hear({});
        EXPECT_EQ(ask(phone, c_switch, c_none), "open");
        phone.clear();
    }
}

PHONE_TEST(CallPhone, Marks, ADialGoesOutBehindTheHold) {
    for (const bool good : {true, false}) {
        phone.set_calls("a1");
        ask(phone, c_switch, c_none);
        phone.sent();
        std::string outcome;
        std::thread event([&] { outcome = phone.dial("0891234567"); });
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_TRUE(phone.modem.received_ids().empty());
        if (good) {
            phone.reply(answer_to(c_hold, 1));
        } else {
            phone.android.advance(10'000);
        }
        event.join();
        EXPECT_EQ(outcome, "open");
        EXPECT_EQ(phone.sent_short(), "34");
        phone.clear();
    }
}

// The timer's thread is the one that waits: without an answer the wait has an end of its own.
PHONE_TEST(CallPhone, Marks, ADialOutlivesAModemThatDoesNotAnswer) {
    phone.set_calls("a1");
    ask(phone, c_switch, c_none);
    const RIL_Token hold = phone.last_token;
    phone.sent();
    EXPECT_EQ(phone.dial("0891234567"), "open");
    EXPECT_EQ(phone.sent_short(), "34");
    EXPECT_EQ(ask(phone, c_switch, c_none), "0");  // the mark is still the hold's
    phone.android.advance(10'000);
    EXPECT_EQ(phone.outcome(hold), "2");
    EXPECT_EQ(ask(phone, c_switch, c_none), "open");
}

PHONE_TEST(CallPhone, Marks, AModemThatGoesDownReleasesThem) {
    for (const char* calls : {"a1", "h1"}) {
        phone.set_calls(calls);
        ask(phone, c_switch, c_none);
        const RIL_Token token = phone.last_token;
        phone.event(0xB1000000);
        EXPECT_NE(phone.answer(token).error, RIL_E_SUCCESS);
        phone.event(0xB2000000);
        phone.wait_radio_state(RADIO_STATE_OFF);
        EXPECT_EQ(phone.calls(), "");
        phone.set_calls(calls);
        EXPECT_EQ(ask(phone, c_switch, c_none), "open");
        phone.clear();
        EXPECT_EQ(phone.dial("0891234567"), "open");
        phone.clear();
    }
}

}  // namespace
