// Making, taking and ending calls through the real doors, byte for byte, and what Android sees of them.
#include <gtest/gtest.h>

#include "tests/call/call_phone.h"

namespace {

std::string zeros(size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += "00 ";
    }
    return text;
}

std::string hex_of(const std::string& text) {
    return to_hex(Bytes(text.begin(), text.end())) + (text.empty() ? "" : " ");
}

// The setup request for a number, as the wire format has it: all fields from the last to the first.
std::string setup(const std::string& number, const char* type, int clir, int call_type, const char* category) {
    const auto word = [](int value) { return "02 04 00 00 00 0" + std::to_string(value) + " "; };
    return "02 04 00 00 00 FA 02 04 00 00 00 22 AA AA AA AA 7F 22 81 E6 7F 06 06 02 04 AA AA AA AA "
           "7F 81 08 81 D2 02 04 00 00 00 00 55 17 02 04 00 00 00 1A 02 04 00 00 00 03 " +
           zeros(26) + word(0) + "7F 81 02 03 02 01 " + category + " " + word(0) + word(0) +
           "7F 81 04 04 02 02 00 00 " + word(0) + word(0) + word(0) + word(clir) + "02 01 " + type +
           " 55 52 02 04 00 00 00 54 02 04 00 00 00 02 " + hex_of(number) + zeros(84 - number.size()) +
           word(call_type) + "02 04 00 00 00 00";
}

PHONE_TEST(CallPhone, Dial, SetupByteForByte) {
    const struct {
        const char* number;
        int clir;
        std::string packet;
    } rows[] = {
        {"0891234567", 0, setup("0891234567", "81", 0, 0, "00")},
        {"+491234567", 1, setup("+491234567", "91", 2, 0, "00")},
        {"0891234567", 2, setup("0891234567", "81", 1, 0, "00")},
        {"0891234567", 3, setup("0891234567", "81", 0, 0, "00")},
        {"911", 0, setup("911", "81", 0, 2, "00")},
        {"122", 0, setup("122", "81", 0, 2, "7F")},
        {"9111", 0, setup("9111", "81", 0, 0, "00")},
        {"", 0, setup("", "81", 0, 0, "00")},
        {"1", 0, setup("1", "81", 0, 0, "00")},
        {"*#,;pw\x7F\xC3\xA9%s", 0, setup("*#,;pw\x7F\xC3\xA9%s", "81", 0, 0, "00")},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(phone.dial(row.number, row.clir), "open") << row.number;
        const auto sent = phone.sent();
        ASSERT_EQ(sent.size(), 1U);
        EXPECT_EQ(sent[0], to_hex(from_hex(row.packet))) << row.number;
        phone.reply(answer_to(c_setup, 1));
        EXPECT_EQ(phone.answer(phone.last_token).error, RIL_E_SUCCESS);
    }
    EXPECT_EQ(phone.calls(), "");
    phone.android.advance(25'000);
    EXPECT_EQ(phone.android.timers(), 0U);
}

PHONE_TEST(CallPhone, Dial, NumbersAtTheirLimits) {
    EXPECT_EQ(phone.dial(std::string(81, '7').c_str()), "open");
    EXPECT_EQ(phone.sent()[0], to_hex(from_hex(setup(std::string(81, '7'), "81", 0, 0, "00"))));
    for (const size_t length : {82U, 1000U}) {
        EXPECT_EQ(phone.dial(std::string(length, '7').c_str()), "2");
    }
    EXPECT_EQ(phone.dial(nullptr), "2");
    EXPECT_EQ(phone.ask(RIL_REQUEST_DIAL), "2");
    EXPECT_EQ(phone.ask(RIL_REQUEST_DIAL, 1), "2");  // too short
    EXPECT_TRUE(phone.sent().empty());
}

PHONE_TEST(CallPhone, Dial, UserToUserInformation) {
    std::string data(128, 'u');
    const auto uus = [&](int length) {
        return RIL_UUS_Info{static_cast<RIL_UUS_Type>(3), static_cast<RIL_UUS_DCS>(4), length, data.data()};
    };
    RIL_UUS_Info info = uus(128);
    EXPECT_EQ(phone.dial("0891234567", 0, &info), "open");
    auto sent = phone.sent();
    ASSERT_EQ(sent.size(), 2U);
    // Function 68, which has no context of its own, then the setup.
    EXPECT_EQ(sent[0].substr(0, 35), "02 04 00 00 00 C4 02 04 00 00 00 44");
    EXPECT_EQ(sent[0].substr(47),
              to_hex(from_hex("7F 44 81 B0 7F 81 35 81 A5 02 01 01 7F 81 34 81 9D 02 01 04 02 01 80 "
                              "02 04 00 00 00 03 55 81 80 02 04 00 00 00 82 02 04 00 00 00 02 " +
                              hex_of(data) + "00 00 02 04 00 00 00 00"))
                  .insert(0, " "));
    EXPECT_EQ(sent[1], to_hex(from_hex(setup("0891234567", "81", 0, 0, "00"))));
    info = uus(0);
    EXPECT_EQ(phone.dial("0891234567", 0, &info), "open");
    EXPECT_EQ(phone.sent_short(), "34");
    for (const int length : {129, -1, 0x7FFFFFFF}) {
        info = uus(length);
        EXPECT_EQ(phone.dial("0891234567", 0, &info), "2");
    }
    info = uus(5);
    info.uusData = nullptr;
    EXPECT_EQ(phone.dial("0891234567", 0, &info), "2");
    EXPECT_EQ(phone.sent_short(), "");
    info = uus(5);
    EXPECT_EQ(phone.dial(std::string(82, '1').c_str(), 0, &info), "2");
    EXPECT_EQ(phone.sent_short(), "68");
    phone.modem.set_return(68, -1);
    EXPECT_EQ(phone.dial("0891234567", 0, &info), "2");
    EXPECT_EQ(phone.sent_short(), "68");
}

PHONE_TEST(CallPhone, Dial, Failures) {
    EXPECT_EQ(phone.ask(RIL_REQUEST_LAST_CALL_FAIL_CAUSE), "0: 65535");
    EXPECT_EQ(phone.dial("0891234567"), "open");
    RIL_Token dial = phone.last_token;
    phone.sent();
    phone.android.reset();
    phone.reply(answer_to(c_setup, 1, 1));  // busy
    EXPECT_EQ(phone.answer(dial).error, RIL_E_GENERIC_FAILURE);
    ASSERT_TRUE(soon([&] { return phone.android.unsolicited_numbers() == std::vector<int>{1001}; }));
    EXPECT_EQ(phone.ask(RIL_REQUEST_LAST_CALL_FAIL_CAUSE), "0: 17");
    phone.modem.set_return(c_setup, -1);
    EXPECT_EQ(phone.dial("0891234567"), "2");
}

PHONE_TEST(CallPhone, Dial, EmergencyNumbers) {
    const auto is = [&](const char* number) {
        phone.dial(number);
        const Bytes packet = from_hex(phone.sent().at(0));
        // The call type and the SIM end the packet; the category stands in its record.
        const Bytes head = {0x7F, 0x81, 0x02, 0x03, 0x02, 0x01};
        const auto category = std::search(packet.begin(), packet.end(), head.begin(), head.end()) + 6;
        return packet[packet.size() - 7] == 2 ? static_cast<int>(*category) : -1;
    };
    for (const char* number : {"000", "911", "999", "008", "112", "118", "08"}) {
        EXPECT_EQ(is(number), 0) << number;
    }
    for (const auto& [number, category] : {std::pair{"122", 127}, {"120", 2}, {"110", 1}, {"119", 3}}) {
        EXPECT_EQ(is(number), category) << number;
    }
    for (const char* number : {"", "1", "9", "911 ", "91", "1120000", "123456"}) {
        EXPECT_EQ(is(number), -1) << number;
    }
    phone.hear({emergency_list(2, {{1, "112"}, {5, "123456"}, {6, "77"}, {7, ""}})});
    EXPECT_EQ(is("112"), 1);
    EXPECT_EQ(is("123456"), 5);
    EXPECT_EQ(is("1234567"), -1);
    EXPECT_EQ(is("77"), -1);
    EXPECT_EQ(is("911"), 0);
    for (const uint32_t count : {0U, 11U, 255U}) {
        phone.hear({emergency_list(count, {{1, "112"}, {6, "77"}})});
        EXPECT_EQ(is("112"), 0) << count;
        EXPECT_EQ(is("77"), -1) << count;
    }
    phone.hear({emergency_list(10, {{1, "112"}, {6, "77"}})});
    EXPECT_EQ(is("77"), 6);
    EXPECT_EQ(is(""), -1);
}

PHONE_TEST(CallPhone, Table, OutgoingCall) {
    EXPECT_EQ(phone.hear({dialing(1)}), "1001");
    EXPECT_EQ(phone.call_list(), "2 id=1 toa=0 mpty=0 mt=0 als=0 voice=1 num=-/1 name=-/2");
    EXPECT_EQ(phone.hear({status(1, 5, "0891234567")}), "");
    EXPECT_EQ(phone.hear({alerting(1)}), "1001");
    EXPECT_EQ(phone.call_list(), "3 id=1 toa=129 mpty=0 mt=0 als=0 voice=1 num=0891234567/0 name=-/2");
    EXPECT_EQ(phone.hear({connected(1, "+49", 0)}), "1001");
    EXPECT_EQ(phone.call_list(), "0 id=1 toa=145 mpty=0 mt=0 als=0 voice=1 num=+49/0 name=-/0");
    EXPECT_EQ(phone.hear({connected(1, "", 1)}), "1001");
    EXPECT_EQ(phone.call_list(), "0 id=1 toa=145 mpty=0 mt=0 als=0 voice=1 num=+49/0 name=-/2");
    EXPECT_EQ(phone.hear({status(1, 12)}), "1001");
    EXPECT_EQ(phone.calls(), "1:1");
    EXPECT_EQ(phone.hear({status(1, 13)}), "1001");
    EXPECT_EQ(phone.hear({status(1, 13)}), "");
    EXPECT_EQ(phone.hear({disconnecting(1, 17)}), "");
    EXPECT_EQ(phone.calls(), "0:1");
    EXPECT_EQ(phone.ask(RIL_REQUEST_LAST_CALL_FAIL_CAUSE), "0: 17");
    EXPECT_EQ(phone.hear({disconnected(1, 268)}), "1001 1028:219,1 1001");
    EXPECT_EQ(phone.ask(RIL_REQUEST_LAST_CALL_FAIL_CAUSE), "0: 240");
    EXPECT_EQ(phone.ask(RIL_REQUEST_GET_CURRENT_CALLS), "0");
}

PHONE_TEST(CallPhone, Table, IncomingCalls) {
    EXPECT_EQ(phone.hear({incoming(3, std::string(82, '5'), 1)}), "1001 1018");
    EXPECT_EQ(phone.call_list(),
              "4 id=3 toa=129 mpty=0 mt=1 als=1 voice=1 num=" + std::string(81, '5') + "/0 name=-/2");
    EXPECT_EQ(phone.hear({incoming(4)}), "1001 1018");
    EXPECT_EQ(phone.calls(), "4:3 4:4");
    phone.clear();
    // Of a mobile terminated call neither number nor held state is stored.
    phone.hear({incoming(1, "12"), status(1, 12, "34")});
    EXPECT_EQ(phone.call_list().substr(0, 6), "4 id=1");
    EXPECT_NE(phone.call_list().find("num=12/"), std::string::npos);
    EXPECT_EQ(phone.hear({status(1, 13)}), "1001");
    EXPECT_EQ(phone.calls(), "0:1");
    EXPECT_EQ(phone.hear({status(1, 12)}), "");
}

PHONE_TEST(CallPhone, Table, UnknownIdsAndAFullTable) {
    EXPECT_EQ(phone.hear({alerting(9), connected(9, "1"), status(9, 12), status(9, 13)}), "1001 1001");
    EXPECT_EQ(phone.hear({disconnected(9)}), "1001 1028:219,9 1001");
    EXPECT_EQ(phone.calls(), "");
    std::string expected;
    for (uint32_t id = 1; id <= 16; ++id) {
        phone.hear({dialing(id)});
        expected += (id == 1 ? "2:" : " 2:") + std::to_string(id);
    }
    EXPECT_EQ(phone.hear({dialing(17), dialing(16)}), "1001 1001");
    EXPECT_EQ(phone.hear({incoming(18)}), "1001 1018");
    EXPECT_EQ(phone.calls(), expected);
    EXPECT_NE(radio_log().find("cannot set call info, callmngr_calls_array full"), std::string::npos);
    // Of the other stack nothing is heard.
    EXPECT_EQ(phone.hear({indication(37, call(1), 1), indication(42, record("81 17", u32(16) + call(1)), 1)}), "");
    EXPECT_EQ(phone.calls(), expected);
}

PHONE_TEST(CallPhone, Answer, TheRingingCall) {
    EXPECT_EQ(phone.ask(RIL_REQUEST_ANSWER), "2");
    phone.set_calls("r1");
    EXPECT_EQ(phone.ask(RIL_REQUEST_ANSWER), "open");
    RIL_Token token = phone.last_token;
    const auto sent = phone.sent();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0],
              "02 04 00 00 00 29 02 04 00 00 00 2C AA AA AA AA 7F 2C 16 7F 06 06 02 04 AA AA AA AA "
              "7F 81 00 03 02 01 01 02 04 00 00 00 00");
    EXPECT_EQ(phone.calls(), "4:1");
    phone.android.advance(3'600'000);  // no time-out
    EXPECT_EQ(phone.outcome(token), "open");
    phone.reply(
        "02 04 00 00 00 39 02 04 00 00 00 2D AA AA AA AA 7F 2D 26 7F 06 06 02 04 AA AA AA AA "
        "7F 81 19 13 02 04 00 00 00 00 02 04 00 00 00 00 7F 81 00 03 02 01 01 02 04 00 00 00 00");
    EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
    EXPECT_EQ(phone.calls(), "0:1");
}

PHONE_TEST(CallPhone, HangUp, ReleaseByteForByte) {
    phone.set_calls("a1");
    EXPECT_EQ(phone.ask(RIL_REQUEST_HANGUP, 1), "open");
    RIL_Token token = phone.last_token;
    EXPECT_EQ(phone.sent().at(0),
              "02 04 00 00 00 39 02 04 00 00 00 27 AA AA AA AA 7F 27 26 7F 06 06 02 04 AA AA AA AA "
              "7F 81 14 13 02 04 00 00 00 10 7F 81 00 03 02 01 01 02 04 00 00 00 00 02 04 00 00 00 00");
    phone.reply(answer_to(c_release, 1));
    EXPECT_EQ(phone.answer(token).error, RIL_E_SUCCESS);
    EXPECT_EQ(phone.calls(), "");
    char short_data[3] = {1, 0, 0};
    EXPECT_EQ(phone.outcome(phone.request(RIL_REQUEST_HANGUP, short_data, sizeof(short_data))), "2");
    EXPECT_EQ(phone.ask(RIL_REQUEST_HANGUP), "2");
}

PHONE_TEST(CallPhone, Settings, Mute) {
    EXPECT_EQ(phone.ask(RIL_REQUEST_GET_MUTE), "0: 0");
    EXPECT_EQ(phone.ask(RIL_REQUEST_SET_MUTE, 1), "0");
    EXPECT_EQ(phone.sent().at(0).substr(18),
              "02 04 00 00 00 61 AA AA AA AA 7F 61 0C "
              "02 01 01 02 01 00 02 01 03 02 01 00");
    for (const int bad : {2, -1, 256}) {
        EXPECT_EQ(phone.ask(RIL_REQUEST_SET_MUTE, bad), "2");
    }
    EXPECT_EQ(phone.ask(RIL_REQUEST_SET_MUTE), "2");
    phone.modem.set_return(97, 1);
    EXPECT_EQ(phone.ask(RIL_REQUEST_SET_MUTE, 0), "2");
    EXPECT_EQ(phone.ask(RIL_REQUEST_GET_MUTE), "0: 1");
}

PHONE_TEST(CallPhone, Settings, TextTelephone) {
    for (const auto& [android, uta] : {std::pair{0, 0}, {1, 1}, {2, 3}, {3, 2}}) {
        EXPECT_EQ(phone.ask(RIL_REQUEST_SET_TTY_MODE, android), "0");
        EXPECT_EQ(phone.sent().at(0).substr(18), "02 04 00 00 01 37 AA AA AA AA 7F 03 0C 02 04 00 00 00 0" +
                                                     std::to_string(uta) + " 02 04 00 00 00 00");
        phone.modem.set_return(70, 0, from_hex("02 04 00 00 00 0" + std::to_string(uta)));
        EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_TTY_MODE), "0: " + std::to_string(android));
        phone.sent();
    }
    for (const int bad : {4, -1}) {
        EXPECT_EQ(phone.ask(RIL_REQUEST_SET_TTY_MODE, bad), "2");
    }
    EXPECT_EQ(phone.ask(RIL_REQUEST_SET_TTY_MODE), "2");
    EXPECT_TRUE(phone.sent().empty());
    phone.modem.set_return(70, 0, from_hex("02 04 00 00 00 04"));
    EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_TTY_MODE), "2");
    phone.modem.set_return(70, 0);  // no value at all
    EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_TTY_MODE), "2");
    phone.modem.set_return(70, -1);
    EXPECT_EQ(phone.ask(RIL_REQUEST_QUERY_TTY_MODE), "2");
    phone.modem.set_return(311, -1);
    EXPECT_EQ(phone.ask(RIL_REQUEST_SET_TTY_MODE, 1), "2");
}

}  // namespace
