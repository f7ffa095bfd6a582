// The modem's power, what its manager tells, and what is lost with it.
#include <signal.h>
#include <unistd.h>

#include "tests/host/modem/fixture.h"

namespace {

constexpr uint32_t E_DOWN = 0xB1000000;
constexpr uint32_t E_UP = 0xB2000000;
constexpr uint32_t E_RESET = 0xB3000000;
constexpr uint32_t E_SHUTDOWN = 0xB4000000;

constexpr const char* c_power_file = "/sys/devices/platform/tqz_boot/state";

std::vector<uint32_t> events(const Listener& listener, size_t count) {
    std::vector<uint32_t> heard;
    for (size_t i = 0; i < count; ++i) {
        heard.push_back(listener.event());
    }
    return heard;
}

TEST(Power, Events) {
    const ModemProcess modem;
    const Control control;
    const Listener listener;
    EXPECT_EQ(listener.event(), E_UP);
    struct Case {
        const char* command;
        std::vector<uint32_t> events;
    };
    for (const Case& it : std::vector<Case>{{"modem up", {E_UP}},
                                            {"modem crash", {E_DOWN, E_UP}},
                                            {"modem reset", {E_RESET, E_DOWN, E_UP}},
                                            {"modem down", {E_DOWN}},
                                            {"modem down", {E_DOWN}},
                                            {"modem up", {E_UP}},
                                            {"modem hang", {}},
                                            {"event E_MODEM_RESET", {E_RESET}},
                                            {"event 12345678", {0x12345678}},
                                            {"modem shutdown", {E_SHUTDOWN, E_DOWN}}}) {
        EXPECT_EQ(control(it.command), "ok");
        EXPECT_EQ(events(listener, it.events.size()), it.events) << it.command;
    }
    EXPECT_EQ(read_file(c_power_file), "OFF");
    // Who comes now hears nothing before the modem is up again.
    const Listener late;
    EXPECT_EQ(control("modem up"), "ok");
    EXPECT_EQ(late.event(), E_UP);
    EXPECT_EQ(read_file(c_power_file), "ON");
}

TEST(Power, AskedForByTheLinkAndByTheStateFile) {
    const ModemProcess modem;
    const Listener listener;
    EXPECT_EQ(listener.event(), E_UP);
    listener.request(0xA1000000);
    EXPECT_EQ(events(listener, 3), (std::vector<uint32_t>{E_RESET, E_DOWN, E_UP}));
    write_file(c_power_file, "OFF");
    EXPECT_EQ(events(listener, 2), (std::vector<uint32_t>{E_SHUTDOWN, E_DOWN}));
    EXPECT_EQ(read_file(c_power_file), "OFF");
    write_file(c_power_file, "ON");
    EXPECT_EQ(listener.event(), E_UP);
}

// UtaMsSysShutdown is answered before the power goes, UtaBootShutdownReq never.
TEST(Power, ShutdownByCall) {
    const ModemProcess modem;
    const Client client;
    const Listener listener;
    EXPECT_EQ(listener.event(), E_UP);
    client.write("02040000001A 0204000000C4 20000100 7F814406 020400000000");
    EXPECT_EQ(client.packet(), "0204000000160204000004AC20000100020400000000");
    EXPECT_EQ(events(listener, 2), (std::vector<uint32_t>{E_SHUTDOWN, E_DOWN}));
    EXPECT_EQ(Control()("modem up"), "ok");
    EXPECT_EQ(listener.event(), E_UP);
    client.write("020400000016 020400000178 20000100 020400000001");
    EXPECT_EQ(events(listener, 2), (std::vector<uint32_t>{E_SHUTDOWN, E_DOWN}));
}

// A crash takes with it the response on its way, the call that waits, and what the modem knew. The connection stays.
TEST(Power, CrashWithPendingWork) {
    const ModemProcess modem({"--latency", "3600000"});
    const Client client;
    const Control control;
    const Listener listener;
    EXPECT_EQ(listener.event(), E_UP);
    EXPECT_EQ(control("stack 1 on"), "ok");
    EXPECT_EQ(client.packet("UtaMsCpsSetModeIndCb").substr(20, 4), "00E9");
    client.write(c_set_mode);
    EXPECT_EQ(client.packet(), c_set_mode_return);
    EXPECT_EQ(control("late UtaMsCpsSetModeReq 3600000 once"), "ok");
    client.write(c_set_mode);
    EXPECT_EQ(control("expect UtaMsCpsSetModeReq"), "ok");
    EXPECT_EQ(control("latency 0"), "ok");
    EXPECT_EQ(control("modem crash"), "ok");
    EXPECT_EQ(events(listener, 2), (std::vector<uint32_t>{E_DOWN, E_UP}));
    EXPECT_THAT(control("status"), testing::HasSubstr("stack 0 off, its card on, stack 1 off"));
    client.write(c_version_call);
    EXPECT_EQ(client.packet(), c_version_return);
}

// Off until told otherwise, down and hung it reads and forgets.
TEST(Power, WithoutPowerNothingIsAnswered) {
    const ModemProcess modem({"--no-boot"});
    const Client client;
    const Control control;
    EXPECT_THAT(control("status"), testing::StartsWith("modem off,"));
    for (const char* command : {"status", "modem down", "modem hang"}) {
        EXPECT_THAT(control(command), testing::EndsWith("ok"));
        client.write("020400000013 020400000020 200001EE 7F2000");
        EXPECT_EQ(control("expect RpcGetRemoteVerInfo"), "ok");
        EXPECT_EQ(control("modem up"), "ok");
        client.write(c_version_call);
        EXPECT_EQ(control("expect RpcGetRemoteVerInfo"), "ok");
        EXPECT_EQ(client.packet(), c_version_return) << command;
    }
}

}  // namespace
