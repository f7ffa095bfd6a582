// Packets from assignments, against bytes written by hand.
#include "host/modem/packet_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"

namespace {

constexpr uint32_t c_context = 0x20000105;

std::string make(const std::string& function, const std::vector<std::string>& assignments, std::string& error) {
    const uta::Function* found = uta::find_function(function);
    EXPECT_NE(found, nullptr) << function;
    return found == nullptr ? "" : to_hex(make_packet(*found, c_context, assignments, error));
}

struct Case {
    const char* function;
    std::vector<std::string> assignments;
    const char* bytes;
};

const Case c_cases[] = {
    {"UtaMsCallCsAcceptCallReq",
     {"call_id=1"},
     "020400000029 02040000002C 20000105 7F2C16 7F06060204 20000105 7F810003020101 020400000000"},
    {"UtaMsCallCsAcceptCallReq",
     {"sim_id=-1", "call_id.call_id=0xFE", "context_id=7"},
     "020400000029 02040000002C 20000105 7F2C16 7F0606020400000007 7F8100030201FE 0204FFFFFFFF"},
    {"UtaMsCallCsAcceptCallReq",
     {"call_id=null"},
     "020400000024 02040000002C 20000105 7F2C11 7F06060204 20000105 0500 020400000000"},
    // The union's member, and with it the activity.
    {"UtaMsSimGenPinReq",
     {"member.verify.pin=1", "verify.code1.code=31323334FFFFFFFF"},
     "020400000056 0204000000AF 20000105 7F812F42 7F06060204 20000105 7F83552F 020400000000 020100"
     " 7F835222 020400000001 7F834918 5508 02040000000A 020400000002 31323334FFFFFFFF 0000 020400000000"},
    {"UtaMsSimGenPinReq",
     {"activity_7.field_1=3"},
     "02040000003A 0204000000AF 20000105 7F812F26 7F06060204 20000105 7F835513 020400000007 020100"
     " 7F835306 020400000003 020400000000"},
    // A null pointer, 16-bit elements in the order of memory, an enumeration's value by its name.
    {"UtaMsSimApduCmdReq",
     {"path=0x3F00,0x7FFF", "req_mode=2"},
     "02040000004D 020400000092 20000105 7F811239 7F06060204 20000105 7F821E26 0500 7F821C1A"
     " 5605 02040000000C 020400000002 003FFF7F000000000000 0000 020102 020100 020400000000"},
    {"UtaMsCpsSetModeIndCb",
     {"mode=on"},
     "020400000030 0204000000E9 20000105 7F81691C 7F846B12 020400000000 020400000000 020400000001 020400000000"},
    // Without a function header, the record behind a presence byte or nothing but that.
    {"UtaMsSimRecoveryReq",
     {"param=null"},
     "020400000022 02040000017C 20000105 7F06060204 20000105 020102 020400000000"},
};

TEST(PacketText, Bytes) {
    for (const Case& it : c_cases) {
        std::string error;
        EXPECT_EQ(make(it.function, it.assignments, error), to_hex(from_hex(it.bytes).value_or(Bytes{})))
            << it.function << " " << error;
    }
}

// Text fills the start of its 82 bytes.
TEST(PacketText, Text) {
    std::string error;
    const std::string packet = make("UtaMsCallCsSetupVoiceCallReq", {"number=+49 30"}, error);
    EXPECT_THAT(packet, testing::HasSubstr("2B3439203330" + std::string(2 * 76, '0'))) << error;
    EXPECT_NE(make("UtaMsCallCsSetupVoiceCallReq", {"number=" + std::string(82, '7')}, error), "");
    EXPECT_EQ(make("UtaMsCallCsSetupVoiceCallReq", {"number=" + std::string(83, '7')}, error), "");
}

TEST(PacketText, Pointer) {
    std::string error;
    const std::string with = make("UtaMsSimApduCmdReq", {"apdu.length=3", "apdu.data=A0A400"}, error);
    EXPECT_THAT(with, testing::HasSubstr("A0A400000000")) << error;
    const std::string zero = make("UtaMsSimApduCmdReq", {"apdu=present"}, error);
    EXPECT_EQ(zero.size(), with.size());
    EXPECT_EQ(make("UtaMsSimApduCmdReq", {"apdu=present", "apdu=null"}, error), make("UtaMsSimApduCmdReq", {}, error));
}

TEST(PacketText, Mistakes) {
    for (const Case& it : {
             Case{"UtaMsSimGenPinReq", {"pin=1"}, "pin is one of param.member.verify.pin param.member.unblock.pin"},
             Case{"UtaMsSimGenPinReq", {"nothing=1"}, "no field nothing in UtaMsSimGenPinReq"},
             Case{"UtaMsSimGenPinReq", {"member=1"}, "no field member in"},
             Case{"UtaMsSimGenPinReq", {"member.verify=1"}, "member is a record"},
             Case{"UtaMsSimGenPinReq", {"field_1=256"}, "is one of"},
             Case{"UtaMsSimGenPinReq", {"param.field_1=256"}, "bad number 256 for field_1"},
             Case{"UtaMsSimGenPinReq", {"param.field_1=-129"}, "bad number"},
             Case{"UtaMsSimGenPinReq", {"param.field_1="}, "has room for 1"},
             Case{"UtaMsSimGenPinReq", {"param.field_1[1]=1"}, "has room for 1"},
             Case{"UtaMsSimGenPinReq", {"param=7"}, "no field param in UtaMsSimGenPinReq"},
             Case{"UtaMsSimGenPinReq", {"param=null", "param.field_1=1"}, "param is null"},
             Case{"UtaMsSimGenPinReq", {"verify.code1.code=313"}, "octets"},
             Case{"UtaMsSimGenPinReq", {"verify.code1.code=313233343536373839"}, "octets"},
             Case{"UtaMsSimGenPinReq", {"=1"}, "not an assignment"},
             Case{"UtaMsSimGenPinReq", {"sim_id[0]=1"}, "sim_id has no elements"},
             Case{"UtaMsSimGenPinReq", {"a[99999]=1"}, "bad index"},
             Case{"UtaMsSimApduCmdReq", {"path=1,2,3,4,5,6"}, "path has room for 5"},
             Case{"UtaMsSimApduCmdReq", {"path=65536"}, "bad number"},
             Case{"UtaMsSimApduCmdReq", {"apdu[0]=present"}, "apdu has no elements"},
             Case{"UtaAudioEqualizerSetup", {}, "not spelled out"},
         }) {
        std::string error;
        EXPECT_EQ(make(it.function, it.assignments, error), "") << it.bytes;
        EXPECT_THAT(error, testing::HasSubstr(it.bytes));
    }
}

}  // namespace
