// What each operation sends for the calls that are there, and what follows it, through the real doors. Which operation
// it is in every other situation, the model of calls holds.
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
    {"a1 h2", c_background, c_none, "39(0,2,21)"},
    {"h4 h2", c_background, c_none, "39(0,2,21)"},
    {"a1 W3", c_udub, c_none, "39(5,3,17)"},
    {"r5", c_udub, c_none, "39(0,5,17)"},
    {"r5", c_background, c_none, "39(0,5,17)"},
    {"a1", c_background, c_none, ""},
    // Release the active calls and go on with another.
    {"a1 W3", c_foreground, c_none, "39(2,0,16)"},
    {"a1 h2", c_foreground, c_none, "39(2,0,16)"},
    {"h2 W3", c_foreground, c_none, "44(3)"},
    {"h2", c_foreground, c_none, "51"},
    {"d1", c_foreground, c_none, ""},
    // The same by a hang-up that names no call; one that does.
    {"h2", c_hangup, 0, "51"},
    {"w3", c_hangup, 17, "44(3)"},
    {"a1", c_hangup, -1, "39(2,0,16)"},
    {"a1", c_hangup, 0x10000, "39(2,0,16)"},
    {"a1 h2", c_hangup, 2, "39(0,2,16)"},
    {"a1 h16", c_hangup, 16, "39(0,16,16)"},
    {"a1", c_hangup, 0x10001, "39(0,1,16)"},
    {"r1", c_hangup, 1, "39(0,1,21)"},
    {"a1", c_hangup, 2, ""},
    {"a1", c_hangup, c_none, ""},
    // Hold the active calls and go on with another.
    {"a1 h2", c_switch, c_none, "47"},
    {"a1 W3", c_switch, c_none, "49"},
    {"a1", c_switch, c_none, "49"},
    {"h2 W3", c_switch, c_none, "44(3)"},
    {"h2", c_switch, c_none, "51"},
    {"r4", c_switch, c_none, "44(4)"},
    {"d1", c_switch, c_none, ""},
    // The same by a separation that names no call; one that does.
    {"a1", c_separate, 0, "49"},
    {"m1 m2", c_separate, 2, "53(2)"},
    {"a1 h2", c_separate, 2, "47"},
    {"h2", c_separate, 2, "51"},
    {"a1 h2", c_separate, 1, ""},
    {"a1 h16", c_separate, 16, "47"},
    {"a1 h17", c_separate, 17, ""},
    {"a1 h2", c_separate, -1, ""},
    {"a1 h2", c_separate, c_none, ""},
    // Join and transfer.
    {"a1 h2", c_conference, c_none, "55"},
    {"a1", c_conference, c_none, ""},
    {"h2", c_conference, c_none, ""},
    {"a1 h2", c_explicit_transfer, c_none, "57"},
    {"h2 l1", c_explicit_transfer, c_none, "57"},
    {"h2 d1", c_explicit_transfer, c_none, ""},
    {"a1", c_explicit_transfer, c_none, ""},
};

std::string ask(CallPhone& phone, int request, int data) {
    return data == c_none ? phone.ask(request) : phone.ask(request, data);
}

bool has_timer(const Row& row) {
    return row.request != c_conference && row.request != c_explicit_transfer && row.request != c_separate;
}

PHONE_TEST(CallPhone, Control, EachOperationByTheCallsThatAreThere) {
    for (const Row& row : c_rows) {
        SCOPED_TRACE(std::string(row.calls) + " request " + std::to_string(row.request) + " " +
                     std::to_string(row.data));
        phone.set_calls(row.calls);
        const std::string before = phone.calls();
        const std::string outcome = ask(phone, row.request, row.data);
        RIL_Token token = phone.last_token;
        EXPECT_EQ(outcome, row.sent[0] == '\0' ? "2" : "open");
        EXPECT_EQ(phone.sent_short(), row.sent);
        EXPECT_EQ(phone.calls(), before);
        phone.android.advance(10'000);
        EXPECT_EQ(phone.android.completed(token), row.sent[0] == '\0' || has_timer(row) ? 1 : 0);
        phone.clear();
    }
}

// Sends `request` over these calls, answers it, and gives outcome, calls and what Android heard.
std::string after(CallPhone& phone, const char* calls, int request, int data, const std::string& reply) {
    phone.set_calls(calls);
    ask(phone, request, data);
    RIL_Token token = phone.last_token;
    phone.sent();
    const std::string heard = phone.hear({phone.as_reply(reply)});
    std::string text = phone.outcome(token) + " [" + phone.calls() + "]" + (heard.empty() ? "" : " ") + heard;
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
        {"a1", c_switch, c_none, answer_to(c_hold, 1, 5), "2 [0:1]"},
        {"m1 m2", c_switch, c_none, answer_to(c_hold, 2), "0 [1:1* 1:2*] 1001"},
        {"a1 h2", c_switch, c_none, answer_to(c_swap, 2, 0, 1), "0 [1:1 0:2] 1001"},
        {"a1 h2", c_switch, c_none, answer_to(c_swap, 2, 1, 1), "2 [0:1 1:2]"},
        {"m1 m2 h3", c_switch, c_none, answer_to(c_swap, 3, 0, 1), "0 [1:1* 1:2* 0:3] 1001"},
        {"h2", c_switch, c_none, answer_to(c_retrieve, 2), "0 [0:2] 1001"},
        {"h2", c_switch, c_none, answer_to(c_retrieve, 2, 1), "2 [1:2]"},
        {"w3", c_switch, c_none, answer_to(c_accept, 3), "0 [0:3] 1001"},
        {"w3", c_switch, c_none, answer_to(c_accept, 3, 1), "2 [5:3] 1001"},
        {"w3", c_foreground, c_none, answer_to(c_accept, 3), "0 [0:3] 1001"},
        {"w3", c_foreground, c_none, answer_to(c_accept, 3, 1), "2 [0:3] 1001"},
        {"a1 h2", c_conference, c_none, answer_to(c_join, 0), "0 [0:1* 0:2*] 1001"},
        {"a1 h2", c_conference, c_none, answer_to(c_join, 0, 1), "2 [0:1 1:2]"},
        {"m1 m2", c_separate, 2, answer_to(c_split, 2), "0 [1:1* 0:2] 1001"},
        {"m1 m2", c_separate, 2, answer_to(c_split, 2, 1), "2 [0:1* 0:2*]"},
        {"h2 l1", c_explicit_transfer, c_none, answer_to(c_transfer, 1), "0 [1:2 0:1] 1001"},
        {"h2 l1", c_explicit_transfer, c_none, answer_to(c_transfer, 1, 1), "2 [1:2 3:1]"},
        {"a1 h2", c_foreground, c_none, answer_to(c_release, 0), "0 [0:1 1:2]"},
        {"a1", c_hangup, 1, answer_to(c_release, 1), "0 []"},
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
    EXPECT_EQ(phone.sent_short(), "39(2,0,16)");
    EXPECT_EQ(phone.hear({phone.as_reply(answer_to(c_release, 0))}), "");
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
}

PHONE_TEST(CallPhone, FollowUp, AcceptAfterTheHoldOnTheSameContext) {
    phone.set_calls("a1 W3");
    ask(phone, c_switch, c_none);
    RIL_Token token = phone.last_token;
    EXPECT_EQ(phone.sent_short(), "49");
    EXPECT_EQ(phone.hear({phone.as_reply(answer_to(c_hold, 1))}), "");
    EXPECT_EQ(phone.sent_short(), "44(3)");
    EXPECT_EQ(phone.contexts.end()[-1], phone.contexts.end()[-2]);
    EXPECT_EQ(phone.outcome(token), "open");
    EXPECT_EQ(phone.calls(), "1:1 5:3");
    phone.reply(answer_to(c_accept, 3, 1));  // taken for accepted
    EXPECT_EQ(phone.answer(token).error, RIL_E_GENERIC_FAILURE);
    EXPECT_EQ(phone.calls(), "1:1 0:3");
}

PHONE_TEST(CallPhone, Timer, ALateAnswerChangesNothing) {
    phone.set_calls("a1");
    ask(phone, c_hangup, 1);
    RIL_Token token = phone.last_token;
    phone.sent();
    phone.android.advance(9'999);
    EXPECT_EQ(phone.outcome(token), "open");
    phone.android.advance(1);
    EXPECT_EQ(phone.outcome(token), "2");
    EXPECT_EQ(phone.hear({phone.as_reply(answer_to(c_release, 1))}), "");
    EXPECT_TRUE(phone.android.completions().empty());
    EXPECT_EQ(phone.calls(), "0:1");
    EXPECT_NE(radio_log().find("delay!!"), std::string::npos);
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
    RIL_Token hold = phone.last_token;
    phone.sent();
    EXPECT_EQ(phone.dial("0891234567"), "open");
    EXPECT_EQ(phone.sent_short(), "34");
    phone.android.advance(10'000);
    EXPECT_EQ(phone.outcome(hold), "2");
    EXPECT_EQ(ask(phone, c_switch, c_none), "open");
}

}  // namespace
