// What a scenario can make the modem do, from the control socket and from a script; and what is captured of it.
#include <signal.h>
#include <unistd.h>

#include <sstream>

#include "tests/host/modem/fixture.h"

namespace {

using testing::HasSubstr;

constexpr const char* c_open = "02040000001A 020400000091 20000100 7F811106 020400000000";
constexpr const char* c_opened = "020400000016020400000479200001000204";

TEST(Faults, Refuse) {
    const ModemProcess modem;
    const Client client;
    const Control control;
    const auto open = [&] {
        client.write(c_open);
        return client.packet();
    };
    EXPECT_EQ(control("refuse UtaMsSimOpenReq 7"), "ok");
    EXPECT_EQ(open(), std::string(c_opened) + "00000007");
    EXPECT_EQ(control("refuse UtaMsSimOpenReq"), "ok");
    EXPECT_EQ(open(), std::string(c_opened) + "FFFFFFFF");
    EXPECT_EQ(control("refuse 145 -2 once"), "ok");
    EXPECT_EQ(control("status").substr(control("status").rfind('\n', control("status").size() - 4)),
              "\nrefuse UtaMsSimOpenReq -2 once\nok");
    EXPECT_EQ(open(), std::string(c_opened) + "FFFFFFFE");
    EXPECT_EQ(open(), std::string(c_opened) + "00000000");
    EXPECT_EQ(control("refuse * 3"), "ok");
    EXPECT_EQ(open(), std::string(c_opened) + "00000003");
    EXPECT_EQ(control("normal *"), "ok");
    EXPECT_EQ(open(), std::string(c_opened) + "00000000");
    // A refused request has no response.
    EXPECT_EQ(control("refuse UtaMsCpsSetModeReq 5 once"), "ok");
    client.write(c_set_mode);
    EXPECT_EQ(client.packet(), "0204000000160204000004CC20000105020400000005");
    EXPECT_EQ(open(), std::string(c_opened) + "00000000");
}

TEST(Faults, LateAndDropped) {
    const ModemProcess modem({"--latency", "0"});
    const Client client;
    const Control control;
    // Both calls are in one write, so that the modem has both when it answers the first.
    EXPECT_EQ(control("late UtaMsSimOpenReq 50 once"), "ok");
    client.write(std::string(c_open) + c_version_call);
    EXPECT_EQ(client.packet(), c_version_return);
    EXPECT_EQ(client.packet(), std::string(c_opened) + "00000000");
    // The late response comes behind that of the request after it.
    EXPECT_EQ(control("late UtaMsCpsSetModeRsp 50 once"), "ok");
    std::string other = c_set_mode;
    for (size_t at = 0; (at = other.find("20000105", at)) != std::string::npos;) {
        other[at + 7] = '6';
    }
    client.write(c_set_mode + other);
    EXPECT_EQ(client.packet(), c_set_mode_return);
    EXPECT_EQ(client.packet().substr(24, 8), "20000106");
    EXPECT_EQ(client.packet().substr(24, 8), "20000106");
    EXPECT_EQ(client.packet(), c_set_mode_response);
    // A dropped call is not even refused.
    EXPECT_EQ(control("drop UtaMsSimOpenReq"), "ok");
    client.write(c_open);
    EXPECT_EQ(control("drop UtaMsCpsSetModeRsp once"), "ok");
    client.write(c_set_mode);
    EXPECT_EQ(client.packet(), c_set_mode_return);
    EXPECT_EQ(control("version 1300"), "ok");
    client.write(c_version_call);
    EXPECT_EQ(client.packet(),
              "0204000000160204000004082000010002040000"
              "0514");
}

TEST(Faults, SilentResponses) {
    const ModemProcess modem({"--latency", "0"});
    const Client client;
    const Control control;
    EXPECT_EQ(control("silent responses"), "ok");
    client.write(c_set_mode);
    EXPECT_EQ(client.packet(), c_set_mode_return);
    EXPECT_EQ(control("silent off"), "ok");
    client.write(c_version_call);
    EXPECT_EQ(client.packet(), c_version_return);
}

TEST(Control, Mistakes) {
    const ModemProcess modem;
    const Control control;
    for (const char* line : {"dance",
                             "modem",
                             "modem sideways",
                             "modem up now",
                             "refuse",
                             "refuse Nobody",
                             "refuse UtaMsSimOpenReq 0",
                             "refuse UtaMsSimOpenReq 1 2",
                             "late UtaMsSimOpenReq",
                             "late UtaMsSimOpenReq -1",
                             "drop UtaMsSimOpenReq 4",
                             "normal",
                             "version",
                             "version x",
                             "latency -5",
                             "silent",
                             "event E_MODEM_SIDEWAYS",
                             "event 123",
                             "send",
                             "send 9 UtaMsSimFullAccessIndCb",
                             "send * Nobody",
                             "send * UtaMsSimFullAccessIndCb nothing=1",
                             "send * UtaMsSimFullAccessIndCb sim_id=x",
                             "send * UtaMsSimFullAccessIndCb sim_id",
                             "raw",
                             "raw *",
                             "raw * 0",
                             "expect",
                             "expect Nobody",
                             "expect UtaMsSimOpenReq soon",
                             "stack 2 on",
                             "imei 0 12",
                             "status now",
                             "send * \"unclosed"}) {
        EXPECT_EQ(control(line).substr(0, 6), "error ") << line;
    }
    EXPECT_EQ(control(""), "ok");
    EXPECT_EQ(control("# nothing"), "ok");
    EXPECT_THAT(control("help"), HasSubstr("  expect FUNCTION [MS]"));
}

TEST(Control, SeveralCallersAndExpect) {
    const ModemProcess modem;
    const Client client;
    const Control waits;
    const Control acts;
    // What went by since the caller came counts, each packet once.
    client.write(c_open);
    EXPECT_EQ(client.packet(), std::string(c_opened) + "00000000");
    EXPECT_EQ(waits("expect UtaMsSimOpenReq 0"), "ok");
    EXPECT_EQ(waits("expect UtaMsSimOpenReq 0"), "error no UtaMsSimOpenReq came");
    // A caller that waits keeps nobody else from being served, and hears when it comes.
    const Connection raw("/dev/socket/modem_control");
    raw.write("expect UtaMsCallCsAlertingIndCb\nversion 7\n");
    EXPECT_EQ(acts("send 1 UtaMsCallCsAlertingIndCb sim_id=1 call_id=2"), "ok");
    EXPECT_EQ(raw.line(), "ok");
    EXPECT_EQ(raw.line(), "ok");
    EXPECT_EQ(client.packet("UtaMsCallCsAlertingIndCb"),
              to_hex(hex("020400000020 020400000025 20000100 7F250D 7F810003020102 020400000001")));
    EXPECT_THAT(acts("status"), HasSubstr("version 7"));
    EXPECT_EQ(Control()("expect UtaMsCallCsAlertingIndCb 0"), "error no UtaMsCallCsAlertingIndCb came");
}

// Without a card a stack is there for emergency calls only, and nobody can call it. The band is the network's.
TEST(Network, WantsACard) {
    const ModemProcess modem;
    const Client client;
    const Control control;
    EXPECT_EQ(control("call incoming 1"), "error the stack is not registered");
    EXPECT_EQ(control("card remove"), "ok");
    EXPECT_EQ(control("stack 0 on"), "ok");
    EXPECT_THAT(client.packet("UtaMsNetRegistrationInfoIndCb"), testing::EndsWith("020400000001020400000000"));
    EXPECT_THAT(control("status"), HasSubstr("net: stack 0 not registered"));
    EXPECT_EQ(control("network 26201"), "error the stack is off, or its card can't be used");
    EXPECT_EQ(control("card insert"), "ok");
    EXPECT_THAT(client.packet("UtaMsNetRegistrationInfoIndCb"), HasSubstr("020400000032"));
    EXPECT_EQ(control("network 310260"), "ok");
    EXPECT_THAT(client.packet("UtaMsNetRegistrationInfoIndCb"), HasSubstr("020400000035"));
    EXPECT_EQ(control("call incoming 1"), "ok");
}

TEST(Script, PlaysWithTheClient) {
    write_file("/data/script",
               "# a comment\n"
               "0     refuse UtaMsCallCsAcceptCallReq 1\n"
               "0     expect UtaMsCallCsAcceptCallReq\n"
               "+10   send 1 UtaMsCallCsAcceptCallRspCb call_id=1\n"
               "+0    raw * 0102 03\n"
               "100   expect UtaMsSimOpenReq\n"
               "+0    quit\n");
    ModemProcess modem({"--script", "/data/script"});
    const Client client;
    client.write("020400000029 02040000002C 20000105 7F2C16 7F06060204 20000105 7F810003020101 020400000000");
    EXPECT_EQ(client.packet(),
              "020400000016020400000414200001050204"
              "00000001");
    EXPECT_EQ(client.packet(),
              "02040000003902040000002D200001057F2D267F06060204200001057F81191302040000000002040000000"
              "07F810003020101020400000000");
    EXPECT_EQ(to_hex(client.recv->read_all(3)), "010203");
    client.write(c_open);
    EXPECT_EQ(client.packet(), std::string(c_opened) + "00000000");
    EXPECT_EQ(modem.end(0), 0);
}

TEST(Script, EndsTheModemWhenItGoesWrong) {
    struct Case {
        const char* script;
        int status;
    };
    for (const Case& it : {Case{"0 expect UtaMsSimOpenReq 10\n", 1}, Case{"0 send 4 UtaMsSimFullAccessIndCb\n", 1},
                           Case{"0 dance\n", 2}, Case{"soon quit\n", 2}, Case{"5\n", 2}, Case{"-1 quit", 2}}) {
        write_file("/data/script", it.script);
        ModemProcess modem({"--script", "/data/script"}, ModemProcess::Wait::FOR_NOTHING);
        EXPECT_EQ(modem.end(0), it.status) << it.script;
        EXPECT_FALSE(exists("/data/rpcd/rpcd.txt"));
    }
    ModemProcess missing({"--script", "/data/no-script"}, ModemProcess::Wait::FOR_NOTHING);
    EXPECT_EQ(missing.end(0), 2);
}

// Without its time, each line of a capture.
std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        EXPECT_TRUE(line.starts_with('#') || parse_captured(line)) << line;
        lines.push_back(line.starts_with('#') ? line : line.substr(line.find(' ') + 1));
    }
    return lines;
}

TEST(Capture, FileAndTap) {
    ModemProcess modem({"--capture", "/data/capture", "--no-boot"});
    const Connection tap("/dev/socket/uta_tap");
    std::string heard = tap.line() + "\n";
    const Control control;
    EXPECT_EQ(control("modem up"), "ok");
    {
        const Client client;
        client.write(c_version_call);
        EXPECT_EQ(client.packet(), c_version_return);
    }
    const std::vector<std::string> expected = {
        "# uta capture 1: time client socket direction bytes",
        "0 event < B2000000",
        "1 reg > 5245474953544552",
        "1 reg < 01",
        "1 send < 48454C4C4F",
        "1 recv < 48454C4C4F",
        "1 send > 4445524547495354455201",
        "1 send > " + to_hex(hex(c_version_call)),
        std::string("1 recv < ") + c_version_return,
    };
    while (lines_of(heard).size() < expected.size()) {
        heard += tap.line() + "\n";
    }
    EXPECT_EQ(lines_of(heard), expected);
    EXPECT_EQ(modem.end(SIGTERM), 0);
    EXPECT_EQ(lines_of(read_file("/data/capture")), expected);
}

}  // namespace
