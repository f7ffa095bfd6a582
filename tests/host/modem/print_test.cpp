// The packet printer's output, on packets written by hand, whole, cut and bent; and the catalogue's notation.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <set>
#include <sstream>

#include "host/modem/catalogue_print.h"
#include "host/modem/packet_print.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue.h"

namespace {

using testing::HasSubstr;

std::string print(const std::string& hex, bool one_field_a_line = false) {
    const Bytes bytes = from_hex(hex).value_or(Bytes{});
    std::string text;
    for (const PrintedPacket& packet : read_captured({0, 0, Channel::SEND, true, bytes})) {
        text += print_packet({}, packet, {.one_field_a_line = one_field_a_line, .with_time = false});
    }
    return text;
}

constexpr const char* c_accept =
    "020400000029 02040000002C 20000105 7F2C16 7F06060204 20000105 7F810003020101 020400000000";
constexpr const char* c_accepted =
    "020400000039 02040000002D 20000105 7F2D26 7F06060204 20000105 7F811913 020400000000 020400000000"
    " 7F810003020101 020400000000";

struct Golden {
    const char* hex;
    const char* text;
};

constexpr Golden c_golden[] = {
    {c_accept,
     "request    UtaMsCallCsAcceptCallReq                    20000105 sim_id=0 call_id.call_id=1 "
     "context_id=0x20000105\n"},
    {"020400000016 020400000414 20000105 020400000000",
     "return     UtaMsCallCsAcceptCallReq                    20000105 = 0\n"},
    {c_accepted,
     "response   UtaMsCallCsAcceptCallRspCb                  20000105 sim_id=0 param.call.call_id=1 "
     "param.field_2=0 param.field_3=0 context_id=0x20000105\n"},
    {"020400000013 020400000020 20000100 7F2000", "call       RpcGetRemoteVerInfo                         20000100\n"},
    {"020400000016 020400000408 20000100 0204000004E1",
     "return     RpcGetRemoteVerInfo                         20000100 = 1249\n"},
    // Output parameters, the last first on the wire.
    {"020400000022 02040000051E 20000100 020400000000 0204FFFFFFFF 020107 0201FF",
     "return     CsiUtaMsTpcGetState                         20000100 = 0 status=255 index=7 applied=-1\n"},
    {"020400000035 0204000000E4 20000105 7F816421 7F06060204 20000105 020408049ABC 020400000000 020400000001"
     " 020400000000",
     "request    UtaMsCpsSetModeReq                          20000105 sim_id=0 mode=1:on value_3=0 "
     "callback=0x08049ABC context_id=0x20000105\n"},
    // What the catalogue does not know, or not yet, is told as bytes.
    {"020400000014 0204000000EB 20000100 01020304",
     "unknown    function_235                                20000100 rest=01020304\n"},
    {"020400000026 020400000063 20000100 7F6313 7F820E03AABBCC 020400000002 020400000001",
     "call       UtaAudioEqualizerSetup                      20000100 rest=7F63137F820E03AABBCC0204000000020204"
     "00000001\n"},
    // Two packets together.
    {"020400000013 020400000020 20000100 7F2000 020400000016 020400000408 20000100 0204000004E1",
     "call       RpcGetRemoteVerInfo                         20000100\n"
     "return     RpcGetRemoteVerInfo                         20000100 = 1249\n"},
    // Another tag than the catalogue's goes unnoticed by the client.
    {"020400000029 02040000002C 20000105 7F2C16 7F06060204 20000105 7F810103020101 020400000000",
     "request    UtaMsCallCsAcceptCallReq                    20000105 sim_id=0 call_id.call_id=1 "
     "context_id=0x20000105\n"},
};

TEST(Print, Golden) {
    for (const Golden& golden : c_golden) {
        EXPECT_THAT(print(golden.hex), testing::StartsWith(golden.text));
    }
}

TEST(Print, OneFieldALine) {
    EXPECT_EQ(
        print(c_accepted, true),
        "response   UtaMsCallCsAcceptCallRspCb                  20000105 sim_id             = 0 : i32\n"
        "response   UtaMsCallCsAcceptCallRspCb                  20000105 param.call.call_id = 1 : u8\n"
        "response   UtaMsCallCsAcceptCallRspCb                  20000105 param.field_2      = 0 : enum\n"
        "response   UtaMsCallCsAcceptCallRspCb                  20000105 param.field_3      = 0 : enum\n"
        "response   UtaMsCallCsAcceptCallRspCb                  20000105 context_id         = 0x20000105 : ctx\n");
}

TEST(Print, Captured) {
    setenv("TZ", "UTC", 1);
    tzset();
    const auto line = [](const char* text) {
        const auto captured = parse_captured(text);
        EXPECT_TRUE(captured) << text;
        std::string lines;
        for (const PrintedPacket& packet : captured ? read_captured(*captured) : std::vector<PrintedPacket>{}) {
            lines += print_packet(*captured, packet, {});
        }
        return lines;
    };
    EXPECT_EQ(print_heading({}),
              "TIME             CL D KIND       FUNCTION                                    CONTEXT  FIELDS\n");
    EXPECT_EQ(line("1700000000.123456789 12 recv < 02040000001602040000040820000100020400000"
                   "4E1"),
              "22:13:20.123456  12 < return     RpcGetRemoteVerInfo                         20000100 = 1249\n");
    EXPECT_EQ(
        line("1700000000.000000001 0 event < B1000000"),
        "22:13:20.000000   - < event      E_MODEM_DOWN                                -        code=0xB1000000\n");
    EXPECT_THAT(line("1.000000000 1 reg > 5245474953544552"), HasSubstr(" > register   REGISTER  "));
    EXPECT_THAT(line("1.000000000 1 reg < 01"), HasSubstr(" < register   APPLICATION_ID "));
    EXPECT_THAT(line("1.000000000 1 send < 4849"), HasSubstr(" GREETING "));
    EXPECT_THAT(line("1.000000000 1 send > 4445524547495354455205"), HasSubstr("app_id=5"));
}

TEST(Print, CaptureLinesRoundTripAndMistakes) {
    const Captured captured{1700000000000000042, 7, Channel::RECV, false, {0x02, 0xFF}};
    const std::string text = format_captured(captured);
    EXPECT_EQ(text, "1700000000.000000042 7 recv < 02FF\n");
    for (const char* line : {"", "x", "1.5 1 send > 02", "1.000000000 1 both > 02", "1.000000000 1 send = 02",
                             "1.000000000 x send > 02", "1.000000000 1 send > 0", "1.000000000 1 send > 02 03",
                             "99999999999999.000000000 1 send > 02", "-1.000000000 1 send > 02"}) {
        EXPECT_FALSE(parse_captured(line)) << line;
    }
}

// Every cut of a packet is refused, also by its own size.
TEST(Print, Truncated) {
    const Bytes whole = from_hex(c_accepted).value();
    for (size_t length = 1; length < whole.size(); ++length) {
        Bytes cut(whole.begin(), whole.begin() + static_cast<long>(length));
        EXPECT_THAT(print(to_hex(cut)), HasSubstr(length < 12 ? " !! no packet header" : " !! a size of 57 for "))
            << length;
        if (length >= 12) {
            cut[5] = static_cast<uint8_t>(length);
            EXPECT_THAT(print(to_hex(cut)), HasSubstr(" at byte ")) << length;
        }
    }
}

TEST(Print, Malformed) {
    constexpr Golden c_bad[] = {
        {"0204", "no packet header rest=0204"},
        {"02040000000B 02040000002C",
         "request    UtaMsCallCsAcceptCallReq                    -       "
         " !! a size of 11 for 12 bytes\n"},
        {"02040000000C 02040000002C", "it ends too early at byte 12\n"},
        {"02040000002B 02040000002C 20000105 7F2C18 7F06060204 20000105 7F810030020101 0500 020400000000",
         "20000105 !! a record is longer than what is left at byte 32 rest=7F2C187F"},
        {"020400000024 02040000002D 20000105 7F2D11 7F06060204 20000105 0500 020400000000",
         "it has no record at byte 30"},
        // A string of 200 bytes where there are 22.
        {"020400000056 0204000000AF 20000105 7F812F42 7F06060204 20000105 7F83552F 020400000000 020100 7F835222"
         " 020400000001 7F834918 5581 C80204000000C8 020400000000 31323334FFFFFF 0000 020400000000",
         "an octet string is longer than "},
        {"020400000020 020400000044 20000100 7F440D 7F813503 0201C8 020400000000",
         "a list is longer than what is left at byte "},
    };
    for (const Golden& bad : c_bad) {
        EXPECT_THAT(print(bad.hex), HasSubstr(bad.text));
    }
}

TEST(Catalogue, EveryFunctionAndRecord) {
    std::istringstream in(print_catalogue());
    size_t functions = 0;
    std::set<std::string> names;
    for (std::string line; std::getline(in, line);) {
        functions += line.starts_with("function ") ? 1 : 0;
        names.insert(line);
    }
    EXPECT_EQ(functions, uta::c_functions.size());
    EXPECT_TRUE(names.contains(
        "function 228 228 request enum-result UtaMsCpsSetModeReq (i32 sim_id, enum mode, i32 value_3, callback "
        "callback, ctx context_id)"));
    for (const char* line : {
             "function 310 2 call plain CsiUtaMsTpcGetState (i32 sim_id, >u8 status, >u8 index, >i32 applied)",
             "record UtaCallCsCallId 128 1 7F8100 live",
             "field UtaSimApduCmdReqParam UtaSimApduData? apdu",
             "field UtaSimApduPath octets16[5] path",
             "field UtaSimGenPinReqParam union:activity member",
             "case UtaSimGenPinReqParam 4 UtaSimPinChange change",
             "field UtaRecord10 u8*24 field_1",
             "record UtaAudioEqualizerParams 270 5 7F820E pending",
         }) {
        EXPECT_TRUE(names.contains(line)) << line;
    }
}

}  // namespace
