// Calls and their returns, requests and their responses, byte for byte.
#include "tests/host/modem/fixture.h"

namespace {

std::string compact(const std::string& text) {
    return to_hex(hex(text));
}

struct Exchange {
    const char* what;
    const char* call;
    const char* reply;
};

constexpr Exchange c_exchanges[] = {
    {"the version", c_version_call, c_version_return},
    {"a function that nobody serves", "020400000019 02040000005C 20000100 7F5C06 020400000001",
     "020400000016 020400000444 20000100 020400000000"},
    {"a call to a stack that there is not", "02040000001A 020400000091 20000100 7F811106 020400000002",
     "020400000016 020400000479 20000100 020400000000"},
    {"a request to it",
     "020400000035 0204000000E4 20000105 7F816421 7F06060204 20000105 020400000000 020400000000 020400000001"
     " 020400000002",
     "020400000016 0204000004CC 20000105 0204FFFFFFFF"},
    {"a function whose record is not known", "020400000013 020400000063 20000155 7F6300",
     "020400000016 02040000044B 20000155 020400000000"},
    {"an id that is no function's", "020400000010 0204000000EB 20000100",
     "020400000016 0204000004D3 20000100 020400000000"},
    {"a call that is cut short", "020400000018 020400000091 20000100 7F811106 02040000",
     "020400000016 020400000479 20000100 0204FFFFFFFF"},
    {"a call with something behind it, which nobody reads",
     "02040000001C 020400000091 20000100 7F811108 020400000000 0500",
     "020400000016 020400000479 20000100 020400000000"},
    {"the TTY mode, set", "02040000001F 020400000137 20000100 7F030C 020400000003 020400000000",
     "020400000016 02040000051F 20000100 020400000000"},
    {"and read: an output enumeration", "02040000001F 020400000046 20000100 7F460C 020400000009 020400000000",
     "02040000001C 02040000042E 20000100 020400000000 020400000003"},
    {"three outputs, the last first",
     "020400000025 020400000136 20000100 7F0212 020400000005 020109 020108 020400000000",
     "020400000022 02040000051E 20000100 020400000000 020400000000 020100 020100"},
    // IMEI 001010000000016 behind the nibble A, IMEISV 0010100000000101 behind a 3.
    {"the identity", "02040000001C 0204000000C6 20000100 7F814608 0500 020400000000",
     "020400000048 0204000004AE 20000100 020400000000 7F83732E"
     " 5509 02040000000A 020400000001 031010000000 0001F1 00"
     " 5508 020400000008 020400000000 0A10100000000061"},
    {"a text, as much of it as there is room for",
     "02040000003A 0204000000DF 20000100 7F815F26 020400000008 7F847016"
     " 5508 020400000008 020400000000 0000000000000000 020400000004",
     "020400000030 0204000004C7 20000100 020400000000 7F847016"
     " 5508 020400000008 020400000000 53494D554C415400"},
    {"an array that says it is longer than it is",
     "020400000032 0204000000DF 20000100 7F815F1E 020400FFFFFF 7F84700E"
     " 5500 020400000000 020400000000 020400000004",
     nullptr},
    // The last, since its response comes some time later.
    {"no header, and a record that is not there",
     "020400000022 02040000017C 20000105 7F06060204 20000105 020102 020400000000",
     "020400000016 020400000564 20000105 020400000000"},
};

TEST(Call, Returns) {
    const ModemProcess modem;
    const Client client;
    for (const Exchange& exchange : c_exchanges) {
        client.write(exchange.call);
        const std::string packet = client.packet();
        if (exchange.reply != nullptr) {
            EXPECT_EQ(packet, compact(exchange.reply)) << exchange.what;
        } else {
            EXPECT_NE(packet, "") << exchange.what;
        }
    }
}

// Four octets at offset 8 of an area, written and read again; a place that no area has.
TEST(Call, NonVolatileMemory) {
    const ModemProcess modem;
    const Client client;
    const std::string octets = "020400000000 5504 020400000004 020400000000";
    const std::string place = "020400000004 020400000008 020410420000";
    client.write("020400000040 020400000153 20000100 7F1F2D 7F1A2A" + octets + "DEADBEEF" + place);
    EXPECT_EQ(client.packet(), compact("020400000016 02040000053B 20000100 020400000000"));
    client.write("020400000040 020400000152 20000100 7F1E2D 7F1A2A" + octets + "00000000" + place);
    const std::string read = client.packet();
    EXPECT_EQ(read.substr(12, 32), compact("02040000053A 20000100 020400000000"));
    EXPECT_NE(read.find("DEADBEEF"), std::string::npos) << read;
    client.write("020400000040 020400000152 20000100 7F1E2D 7F1A2A" + octets + "00000000" +
                 "020400000004 020400001000 020410420000");
    EXPECT_EQ(client.packet().substr(12, 32), compact("02040000053A 20000100 0204FFFFFFFF"));
}

// A one-way function, a response that a client sends, a packet that ends before its context id, an index far beyond all
// functions: the next call's return is the next packet, but for the last's.
TEST(Call, WhatIsNotAnswered) {
    const ModemProcess modem;
    const Client client;
    for (const char* packet : {"02040000001A 020400000174 20000100 02020001 020400000001",
                               "020400000010 02040000002D 20000100", "02040000000E 020400000091 2000"}) {
        client.write(packet);
        client.write(c_version_call);
        EXPECT_EQ(client.packet(), c_version_return) << packet;
    }
}

TEST(Call, PacketsInPiecesAndPacketsTogether) {
    const ModemProcess modem;
    const Client client;
    const Bytes call = hex(c_version_call);
    for (const uint8_t byte : call) {
        client.send->write(Bytes{byte});
    }
    EXPECT_EQ(client.packet(), c_version_return);
    Bytes calls;
    for (int i = 0; i < 100; ++i) {
        calls.insert(calls.end(), call.begin(), call.end());
    }
    client.send->write(calls);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(client.packet(), c_version_return);
    }
}

constexpr const char* c_set_mode_indication =
    "020400000030 0204000000E9 20000100 7F81691C 7F846B12 020400000000 020400000000 020400000001 020400000000";

TEST(Call, ModeRequest) {
    const ModemProcess modem;
    const Client first;
    const Client second;
    first.write(c_set_mode);
    EXPECT_EQ(first.packet(), c_set_mode_return);
    EXPECT_EQ(first.packet(), c_set_mode_response);
    EXPECT_EQ(first.packet("UtaMsCpsSetModeIndCb"), compact(c_set_mode_indication));
    // The response is the first client's alone; that the mode has changed everybody hears.
    std::string indication = compact(c_set_mode_indication);
    indication.replace(indication.find("20000100"), 8, "20000200");
    EXPECT_EQ(second.packet("UtaMsCpsSetModeIndCb"), indication);
    // Once more changes nothing, so that nobody hears of it.
    first.write(c_set_mode);
    EXPECT_EQ(first.packet(), c_set_mode_return);
    EXPECT_EQ(first.packet(), c_set_mode_response);
    first.write(c_version_call);
    EXPECT_EQ(first.packet(), c_version_return);
}

// By the seed, the indication overtakes the response or not.
TEST(Call, OrderOfResponseAndIndication) {
    const ModemProcess modem({"--seed", "1", "--latency", "0"});
    const Client client;
    std::string off = c_set_mode;
    off.replace(off.rfind("020400000001"), 12, "020400000000");
    size_t overtakes = 0;
    constexpr size_t c_rounds = 40;
    for (size_t i = 0; i < c_rounds; ++i) {
        client.write(i % 2 == 0 ? c_set_mode : off.c_str());
        EXPECT_EQ(client.packet(), c_set_mode_return);
        const std::string first = client.packet("UtaMsCpsSetModeIndCb");
        const std::string second = client.packet("UtaMsCpsSetModeIndCb");
        EXPECT_NE(first, second);
        overtakes += first.starts_with("020400000030") ? 1 : 0;
    }
    EXPECT_GT(overtakes, c_rounds / 8);
    EXPECT_LT(overtakes, c_rounds * 7 / 8);
}

// Stack 1: its card goes off at once by the SIM's own request (mode 1), its stack stays as it is. A mode that is none
// is refused, and no response follows.
TEST(Call, SimModeRequest) {
    const ModemProcess modem;
    const Client client;
    client.write(
        "02040000002F 0204000000E6 20000177 7F81661B 7F06060204 20000177 020408049ABC 020400000001 020400000001");
    EXPECT_EQ(client.packet(), compact("020400000016 0204000004CE 20000177 020400000000"));
    EXPECT_EQ(client.packet(), compact("02040000002F 0204000000E5 20000177 7F81651B 020400000000"
                                       " 7F06060204 20000177 020400000001 020400000001"));
    const Control control;
    EXPECT_THAT(control("status"), testing::HasSubstr("stack 0 off, its card on, stack 1 off, its card off"));
    std::string wrong = c_set_mode;
    wrong.replace(wrong.find("020400000001"), 12, "020400000007");
    client.write(wrong);
    EXPECT_EQ(client.packet(), compact("020400000016 0204000004CC 20000105 0204FFFFFFFF"));
    client.write(c_version_call);
    EXPECT_EQ(client.packet(), c_version_return);
}

// The card's configuration takes effect with the next mode request of its stack.
TEST(Call, ConfigurationWaitsForTheModeRequest) {
    const ModemProcess modem;
    const Client client;
    const Control control;
    client.write("020400000020 0204000000E8 20000100 7F81680C 020400000001 020400000000");
    EXPECT_EQ(client.packet(), compact("020400000016 0204000004D0 20000100 020400000000"));
    EXPECT_THAT(control("status"), testing::HasSubstr("stack 0 off, its card on"));
    client.write(c_set_mode);
    EXPECT_EQ(client.packet(), c_set_mode_return);
    EXPECT_EQ(client.packet(), c_set_mode_response);
    EXPECT_EQ(client.packet("UtaMsCpsSetModeIndCb"), compact(c_set_mode_indication));
    EXPECT_THAT(control("status"), testing::HasSubstr("stack 0 on, its card off"));
}

// --- Clients that misbehave ------------------------------------------------------------------------------------------

TEST(BadClient, IsLetGoAndTheOthersAreServed) {
    const ModemProcess modem;
    const Client good;
    struct Case {
        const char* what;
        const char* bytes;
    };
    for (const Case& bad :
         {Case{"garbage", "474152424147452121212121"}, Case{"a header of other numbers", "0201000000290204"},
          Case{"a size below the header's", "02040000000B0204000000200000"},
          Case{"a size beyond all packets", "020400010000 020400000020 2000"}}) {
        const Client client;
        client.write(bad.bytes);
        EXPECT_TRUE(client.recv->closed()) << bad.what;
        EXPECT_TRUE(client.send->closed()) << bad.what;
    }
    {
        const Client client;
        client.recv->write("hello");
        EXPECT_TRUE(client.send->closed());
    }
    {
        Client client;
        client.write("020400000029 0204000000");
        client.send->close();
        EXPECT_TRUE(client.recv->closed());
    }
    {
        Client client;
        client.recv->close();
        EXPECT_TRUE(client.send->closed());
    }
    const Client half;
    half.write("020400000029 0204000000");
    good.write(c_version_call);
    EXPECT_EQ(good.packet(), c_version_return);
    EXPECT_EQ(Client().app_id, 3);
}

// It gets 1 MB of packets that it doesn't read, and is let go; what was sent before can still be read, in whole
// packets, and never more at a time than a client's buffer takes.
TEST(BadClient, ThatNeverReads) {
    const ModemProcess modem;
    const Client good;
    const Client deaf;
    const Control control;
    const std::string send = "send 2 UtaMsCallCsIncomingCallIndCb number=1234";
    std::string answer = "ok";
    for (int i = 0; i < 10000 && answer == "ok"; ++i) {
        answer = control(send);
    }
    EXPECT_EQ(answer, "error no such client: 2");
    good.write(c_version_call);
    EXPECT_EQ(good.packet(), c_version_return);
    const Bytes unread = deaf.recv->read(65536);
    EXPECT_LT(unread.size(), 32768U);
    ASSERT_GT(unread.size(), 6U);
    const size_t size = static_cast<size_t>(unread[4]) << 8 | unread[5];
    EXPECT_EQ(unread.size() % size, 0U);
}

// A client that reads late loses nothing below the limit.
TEST(BadClient, ThatReadsLate) {
    const ModemProcess modem;
    const Client client;
    const Control control;
    constexpr int c_count = 1000;
    for (int i = 0; i < c_count; ++i) {
        ASSERT_EQ(control("send 1 UtaMsCallCsAlertingIndCb sim_id=" + std::to_string(i)), "ok");
    }
    for (int i = 0; i < c_count; ++i) {
        const std::string packet = client.packet("UtaMsCallCsAlertingIndCb");
        ASSERT_EQ(packet.size(), 2U * 32U);
        EXPECT_EQ(packet.substr(packet.size() - 8),
                  to_hex(Bytes{0, 0, static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i)}));
    }
}

}  // namespace
