// The packet printer and the packets made from assignments, on packets written by hand, whole, cut and bent.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "host/modem/packet_print.h"
#include "host/modem/packet_text.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

using testing::HasSubstr;

std::string print(const std::string& hex, const PrintOptions& options = {.with_time = false}) {
    std::string text;
    for (const PrintedPacket& packet : read_captured({0, 0, Channel::SEND, true, from_hex(hex).value()})) {
        text += print_packet({}, packet, options);
    }
    return text;
}

constexpr const char* c_accepted =
    "020400000039 02040000002D 20000105 7F2D26 7F06060204 20000105 7F811913 020400000000 020400000000"
    " 7F810003020101 020400000000";

struct Golden {
    const char* hex;
    const char* text;
};

TEST(Print, Golden) {
    constexpr Golden c_golden[] = {
        {c_accepted,
         "response   UtaMsCallCsAcceptCallRspCb                  20000105 sim_id=0 param.call.call_id=1 "
         "param.field_2=0 param.field_3=0 context_id=0x20000105\n"},
        // Output parameters, the last first on the wire.
        {"020400000022 02040000051E 20000100 020400000000 0204FFFFFFFF 020107 0201FF",
         "return     CsiUtaMsTpcGetState                         20000100 = 0 status=255 index=7 applied=-1\n"},
        // What the catalogue does not know is told as bytes.
        {"020400000014 0204000000EB 20000100 01020304",
         "unknown    function_235                                20000100 rest=01020304\n"},
        // Two packets together.
        {"020400000013 020400000020 20000100 7F2000 020400000016 020400000408 20000100 0204000004E1",
         "call       RpcGetRemoteVerInfo                         20000100\n"
         "return     RpcGetRemoteVerInfo                         20000100 = 1249\n"},
    };
    for (const Golden& golden : c_golden) {
        EXPECT_THAT(print(golden.hex), testing::StartsWith(golden.text));
    }
    EXPECT_THAT(
        print(c_accepted, {.one_field_a_line = true, .with_time = false}),
        HasSubstr("20000105 sim_id             = 0 : i32\n"
                  "response   UtaMsCallCsAcceptCallRspCb                  20000105 param.call.call_id = 1 : u8\n"));
}

TEST(Print, Captured) {
    setenv("TZ", "UTC", 1);
    tzset();
    constexpr Golden c_golden[] = {
        {"1700000000.123456789 12 recv < 02040000001602040000040820000100020400000"
         "4E1",
         "22:13:20.123456  12 < return     RpcGetRemoteVerInfo                         20000100 = 1249\n"},
        {"1.000000000 0 event < B1000000", "  - < event      E_MODEM_DOWN "},
        {"1.000000000 1 reg > 5245474953544552", " > register   REGISTER  "},
        {"1.000000000 1 reg < 01", " < register   APPLICATION_ID "},
        {"1.000000000 1 send > 4445524547495354455205", "app_id=5"},
    };
    for (const Golden& golden : c_golden) {
        const auto captured = parse_captured(golden.hex);
        ASSERT_TRUE(captured) << golden.hex;
        EXPECT_THAT(print_packet(*captured, read_captured(*captured).at(0), {}), HasSubstr(golden.text));
    }
    EXPECT_EQ(format_captured({1700000000000000042, 7, Channel::RECV, false, {0x02, 0xFF}}),
              "1700000000.000000042 7 recv < 02FF\n");
    for (const char* line : {"", "1.5 1 send > 02", "1.000000000 1 both > 02", "1.000000000 1 send > 0",
                             "99999999999999.000000000 1 send > 02"}) {
        EXPECT_FALSE(parse_captured(line)) << line;
    }
}

// Every cut of a packet is refused, also by its own size.
TEST(Print, CutAndBent) {
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
    constexpr Golden c_bad[] = {
        {"02040000000B 02040000002C", " !! a size of 11 for 12 bytes\n"},
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

// What the transcripts make and compare is not repeated here.
TEST(PacketText, Mistakes) {
    const struct {
        const char* function;
        const char* assignment;
        const char* error;
    } c_mistakes[] = {
        {"UtaMsSimGenPinReq", "pin=1", "pin is one of param.member.verify.pin param.member.unblock.pin"},
        {"UtaMsSimGenPinReq", "nothing=1", "no field nothing in UtaMsSimGenPinReq"},
        {"UtaMsSimGenPinReq", "member.verify=1", "member is a record"},
        {"UtaMsSimGenPinReq", "param.field_1=256", "bad number 256 for field_1"},
        {"UtaMsSimGenPinReq", "param.field_1=-129", "bad number"},
        {"UtaMsSimGenPinReq", "verify.code1.code=313", "octets"},
        {"UtaMsSimGenPinReq", "=1", "not an assignment"},
        {"UtaMsSimGenPinReq", "a[99999]=1", "bad index"},
        {"UtaMsSimApduCmdReq", "path=1,2,3,4,5,6", "path has room for 5"},
        {"UtaNvmWrite", "length=3", "follows from the list"},
        {"UtaMsCallCsSetUus1Info", "elements.type=3", "wants an element's number"},
    };
    for (const auto& it : c_mistakes) {
        std::string error;
        EXPECT_EQ(to_hex(make_packet(*uta::find_function(it.function), 0, {it.assignment}, error)), "") << it.error;
        EXPECT_THAT(error, HasSubstr(it.error));
    }
}

}  // namespace
