// How clients come to the daemon, and how it goes on when they do it wrong.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "tests/host/modem/fixture.h"

namespace {

constexpr std::array<const char*, 7> c_own_files = {
    "/data/rpc_reg",         "/data/rpc_send",     "/data/rpc_recv", "/data/rpcd/rpcd.txt", "/dev/socket/modem_control",
    "/dev/socket/modemlink", "/dev/socket/uta_tap"};

void expect_served(const Client& client) {
    client.write(c_version_call);
    EXPECT_EQ(client.packet(), c_version_return);
}

TEST(Registration, FilesComeAndGo) {
    ModemProcess modem;
    for (const char* path : c_own_files) {
        EXPECT_TRUE(exists(path)) << path;
    }
    EXPECT_EQ(modem.end(SIGTERM), 0);
    for (const char* path : c_own_files) {
        EXPECT_FALSE(exists(path)) << path;
    }
}

TEST(Registration, WhatADeadDaemonLeftGivesWay) {
    ModemProcess first;
    EXPECT_EQ(first.end(SIGKILL), 128 + SIGKILL);
    EXPECT_TRUE(exists("/data/rpcd/rpcd.txt"));
    const ModemProcess second({}, ModemProcess::Wait::FOR_NOTHING);
    // The dead one's marker says nothing, so this tries until it is let in.
    for (int i = 0; i < 10'000 && !Connection::possible("/data/rpc_recv"); ++i) {
        usleep(1000);
    }
    expect_served(Client());
}

TEST(Registration, ASecondModemLeavesTheFirstOneAlone) {
    const std::string capture = "/dev/socket/capture";
    const ModemProcess first({"--capture", capture});
    const Client client;
    const std::string captured = read_file(capture);
    EXPECT_NE(captured, "");
    ModemProcess second({"--capture", capture}, ModemProcess::Wait::FOR_NOTHING);
    EXPECT_EQ(second.end(0), 1);
    for (const char* path : c_own_files) {
        EXPECT_TRUE(exists(path)) << path;
    }
    EXPECT_THAT(read_file(capture), testing::StartsWith(captured));
    expect_served(client);
    expect_served(Client());
}

TEST(Registration, GreetingsAndIds) {
    const ModemProcess modem;
    std::vector<Client> clients(3);
    for (size_t i = 0; i < clients.size(); ++i) {
        EXPECT_EQ(clients[i].app_id, i + 1);
        expect_served(clients[i]);
    }
    // The id of a client that has left goes to the next.
    clients[1] = Client(Client::Steps::NONE);
    EXPECT_EQ(Client().app_id, 2);
}

TEST(Registration, TwoClientsOfOneProcessInterleave) {
    const ModemProcess modem;
    Client first(Client::Steps::NONE);
    Client second(Client::Steps::NONE);
    first.say_register();
    second.say_register();
    first.take_app_id();
    first.say_deregister();
    second.take_app_id();
    second.say_deregister();
    EXPECT_EQ(first.app_id, 1);
    EXPECT_EQ(second.app_id, 2);
    // Each one's answers come on its own socket.
    first.write("02 04 00000013 02 04 00000020 200001AA 7F 20 00");
    second.write("02 04 00000013 02 04 00000020 200002BB 7F 20 00");
    EXPECT_EQ(first.packet(), "020400000016020400000408200001AA0204000004E1");
    EXPECT_EQ(second.packet(), "020400000016020400000408200002BB0204000004E1");
}

TEST(Registration, AClientOfAnotherProcessNeedNotWait) {
    const ModemProcess modem;
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        Client stuck(Client::Steps::NONE);
        stuck.say_register();
        stuck.take_app_id();
        [[maybe_unused]] const ssize_t told = write(pipe_ends[1], &stuck.app_id, 1);
        pause();
        _exit(0);
    }
    uint8_t app_id = 0;
    ASSERT_EQ(read(pipe_ends[0], &app_id, 1), 1);
    const Client client;
    EXPECT_EQ(app_id, 1);
    EXPECT_EQ(client.app_id, 2);
    expect_served(client);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(pipe_ends[0]);
    close(pipe_ends[1]);
}

// Each goes as far as it says and then does something else. The next client is served all the same, and gets the id.
TEST(Registration, AttemptsThatFail) {
    const ModemProcess modem;
    const std::vector<std::function<void(Client&)>> attempts = {
        [](Client& it) { it.reg.emplace_back("/data/rpc_reg"); },
        [](Client& it) {
            it.reg.emplace_back("/data/rpc_reg");
            it.reg[0].write("REGIS");
        },
        [](Client& it) {
            it.reg.emplace_back("/data/rpc_reg");
            it.reg[0].write("REGISTRY");
            EXPECT_TRUE(it.reg[0].closed());
        },
        [](Client& it) { it.say_register(); },
        [](Client& it) {
            it.say_register();
            it.reg[0].read(50);
            it.send_.emplace_back("/data/rpc_send");
        },
        [](Client& it) {
            it.say_register();
            it.take_app_id();
        },
        [](Client& it) {
            it.say_register();
            it.take_app_id();
            it.send->write("DEREGISTER\x63");
            EXPECT_TRUE(it.send->closed());
        },
        // Nobody waits for these two.
        [](Client& it) {
            it.send_.emplace_back("/data/rpc_send");
            EXPECT_TRUE(it.send_[0].closed());
        },
        [](Client& it) {
            it.recv_.emplace_back("/data/rpc_recv");
            EXPECT_TRUE(it.recv_[0].closed());
        },
    };
    for (const auto& attempt : attempts) {
        {
            Client failing(Client::Steps::NONE);
            attempt(failing);
        }
        const Client client;
        EXPECT_EQ(client.app_id, 1);
        expect_served(client);
    }
}

TEST(Registration, WhatFollowsInTheSameWriteIsAPacket) {
    const ModemProcess modem;
    Client client(Client::Steps::NONE);
    client.say_register();
    client.take_app_id();
    client.reg[0].close();  // nothing travels on it any more
    Bytes bytes = hex("44 45 52 45 47 49 53 54 45 52 01");
    const Bytes call = hex(c_version_call);
    bytes.insert(bytes.end(), call.begin(), call.end());
    client.send->write(bytes);
    EXPECT_EQ(client.packet(), c_version_return);
}

}  // namespace
