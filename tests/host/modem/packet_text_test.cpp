// Packets from assignments, against bytes written by hand, and printed.
#include "host/modem/packet_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/modem/packet_print.h"
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
    const char* printed;  // its fields
};

const Case c_cases[] = {
    {"UtaMsCallCsAcceptCallReq",
     {"call_id=1"},
     "020400000029 02040000002C 20000105 7F2C16 7F06060204 20000105 7F810003020101 020400000000",
     " sim_id=0 call_id.call_id=1 context_id=0x20000105"},
    {"UtaMsCallCsAcceptCallReq",
     {"sim_id=-1", "call_id.call_id=0xFE", "context_id=7"},
     "020400000029 02040000002C 20000105 7F2C16 7F0606020400000007 7F8100030201FE 0204FFFFFFFF",
     " sim_id=-1 call_id.call_id=254 context_id=0x00000007"},
    {"UtaMsCallCsAcceptCallReq",
     {"call_id=null"},
     "020400000024 02040000002C 20000105 7F2C11 7F06060204 20000105 0500 020400000000",
     " sim_id=0 call_id=null context_id=0x20000105"},
    // The union's member, and with it the activity.
    {"UtaMsSimGenPinReq",
     {"member.verify.pin=1", "verify.code1.code=31323334FFFFFFFF"},
     "020400000056 0204000000AF 20000105 7F812F42 7F06060204 20000105 7F83552F 020400000000 020100"
     " 7F835222 020400000001 7F834918 5508 02040000000A 020400000002 31323334FFFFFFFF 0000 020400000000",
     " sim_id=0 param.field_1=0 param.activity=0:verify param.member.verify.code1.code=[8]31323334FFFFFFFF "
     "param.member.verify.pin=1 context_id=0x20000105"},
    {"UtaMsSimGenPinReq",
     {"activity_7.field_1=3"},
     "02040000003A 0204000000AF 20000105 7F812F26 7F06060204 20000105 7F835513 020400000007 020100"
     " 7F835306 020400000003 020400000000",
     " sim_id=0 param.field_1=0 param.activity=7 param.member.activity_7.field_1=3 context_id=0x20000105"},
    // A null pointer, 16-bit elements in the order of memory, an enumeration's value by its name.
    {"UtaMsSimApduCmdReq",
     {"path=0x3F00,0x7FFF", "req_mode=2"},
     "02040000004D 020400000092 20000105 7F811239 7F06060204 20000105 7F821E26 0500 7F821C1A"
     " 5605 02040000000C 020400000002 003FFF7F000000000000 0000 020102 020100 020400000000",
     " sim_id=0 param.channel_id=0 param.req_mode=2 param.path.path=[5]16128,32767 param.apdu=null "
     "context_id=0x20000105"},
    {"UtaMsCpsSetModeIndCb",
     {"mode=on"},
     "020400000030 0204000000E9 20000105 7F81691C 7F846B12 020400000000 020400000000 020400000001 020400000000",
     " sim_id=0 param.mode=1:on param.field_2=0 param.field_3=0"},
    // Without a function header, the record behind a presence byte or nothing but that.
    {"UtaMsSimRecoveryReq",
     {"param=null"},
     "020400000022 02040000017C 20000105 7F06060204 20000105 020102 020400000000",
     " sim_id=0 param=null context_id=0x20000105"},
    // Counted octets, whose total is 0, and null ones.
    {"UtaNvmWrite",
     {"data=AABBCC", "offset=8", "area=7"},
     "020400000042 020400000153 20000105 7F1F2F 7F1A2C 020400000000 5503 020400000000 020400000003 AABBCC000000"
     " 020400000003 020400000008 020400000007",
     " nvm.area=7 nvm.offset=8 nvm.length=3 nvm.data=[3]AABBCC nvm.flag=0"},
    {"UtaNvmWrite",
     {},
     "020400000030 020400000153 20000105 7F1F1D 7F1A1A 020400000000 0500 020400000000 020400000000 020400000000",
     " nvm.area=0 nvm.offset=0 nvm.length=0 nvm.data=null nvm.flag=0"},
};

TEST(PacketText, MadeAndPrinted) {
    for (const Case& it : c_cases) {
        std::string error;
        const Bytes bytes = from_hex(it.bytes).value_or(Bytes{});
        EXPECT_EQ(make(it.function, it.assignments, error), to_hex(bytes)) << it.function << " " << error;
        EXPECT_THAT(print_packet({}, read_packet(bytes), {}), testing::EndsWith(std::string(it.printed) + "\n"));
    }
}

// A list is behind the numbers on the wire, its last element first.
TEST(PacketText, List) {
    std::string error;
    const std::string packet = make("UtaMsCallCsSetUus1Info", {"elements[1].type=3", "elements[0].dcs=4"}, error);
    const std::string head = "7F8135824501020102";
    EXPECT_THAT(packet, testing::HasSubstr(head)) << error;
    const std::string last = packet.substr(packet.find(head) + head.size());
    EXPECT_EQ(last.substr(0, 34), "7F8134819B020100020100020400000003") << packet;
    EXPECT_THAT(last, testing::HasSubstr("7F8134819D020104020100020400000000"));
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

struct Mistake {
    const char* function;
    std::vector<std::string> assignments;
    const char* error;
};

TEST(PacketText, Mistakes) {
    for (const Mistake& it : {
             Mistake{"UtaMsSimGenPinReq", {"pin=1"}, "pin is one of param.member.verify.pin param.member.unblock.pin"},
             Mistake{"UtaMsSimGenPinReq", {"nothing=1"}, "no field nothing in UtaMsSimGenPinReq"},
             Mistake{"UtaMsSimGenPinReq", {"member=1"}, "no field member in"},
             Mistake{"UtaMsSimGenPinReq", {"member.verify=1"}, "member is a record"},
             Mistake{"UtaMsSimGenPinReq", {"field_1=256"}, "is one of"},
             Mistake{"UtaMsSimGenPinReq", {"param.field_1=256"}, "bad number 256 for field_1"},
             Mistake{"UtaMsSimGenPinReq", {"param.field_1=-129"}, "bad number"},
             Mistake{"UtaMsSimGenPinReq", {"param.field_1="}, "has room for 1"},
             Mistake{"UtaMsSimGenPinReq", {"param.field_1[1]=1"}, "has room for 1"},
             Mistake{"UtaMsSimGenPinReq", {"param=7"}, "no field param in UtaMsSimGenPinReq"},
             Mistake{"UtaMsSimGenPinReq", {"param=null", "param.field_1=1"}, "param is null"},
             Mistake{"UtaMsSimGenPinReq", {"verify.code1.code=313"}, "octets"},
             Mistake{"UtaMsSimGenPinReq", {"verify.code1.code=313233343536373839"}, "octets"},
             Mistake{"UtaMsSimGenPinReq", {"=1"}, "not an assignment"},
             Mistake{"UtaMsSimGenPinReq", {"sim_id[0]=1"}, "sim_id has no elements"},
             Mistake{"UtaMsSimGenPinReq", {"a[99999]=1"}, "bad index"},
             Mistake{"UtaMsSimApduCmdReq", {"path=1,2,3,4,5,6"}, "path has room for 5"},
             Mistake{"UtaMsSimApduCmdReq", {"path=65536"}, "bad number"},
             Mistake{"UtaMsSimApduCmdReq", {"apdu[0]=present"}, "apdu has no elements"},
             Mistake{"UtaAudioEqualizerSetup", {}, "not spelled out"},
             Mistake{"UtaNvmWrite", {"length=3"}, "follows from the list"},
             Mistake{"UtaMsCallCsSetUus1Info", {"count=1"}, "follows from the list"},
             Mistake{"UtaMsCallCsSetUus1Info", {"elements[0]=3"}, "elements is a record"},
             Mistake{"UtaMsCallCsSetUus1Info", {"elements.type=3"}, "wants an element's number"},
         }) {
        std::string error;
        EXPECT_EQ(make(it.function, it.assignments, error), "") << it.error;
        EXPECT_THAT(error, testing::HasSubstr(it.error));
    }
}

}  // namespace
