// Registration, and what the client does when the daemon goes.
#include <chrono>
#include <filesystem>
#include <thread>

#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/rpc/transport/fixture.h"

namespace {

TEST(Registration, MarkerMayComeLaterThanTheSockets) {
    in_own_process([] {
        std::filesystem::create_directory("/data/rpcd");
        FakeDaemon daemon;
        std::atomic<uint32_t> context_id{0};
        std::thread client([&] { context_id = RegisterRPCClient(nullptr); });
        ASSERT_TRUE(soon([] { return g_meh_client == 0xB7000000; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(daemon.knocked());
        FakeDaemon::put_marker();
        daemon.admit(7);
        client.join();
        EXPECT_EQ(context_id, 0x20000700U);
        EXPECT_EQ(RPCMakeContextId(), 0x20000700U);
    });
}

TEST(Registration, DaemonMayComeLongAfterTheMarker) {
    for (const bool marker : {true, false}) {  // false: not even the marker's directory
        in_own_process([=] {
            if (marker) {
                FakeDaemon::put_marker();
            }
            std::thread client([] { RegisterRPCClient(nullptr); });
            ASSERT_TRUE(soon([] { return times_logged("Connect to reg_intf_id failed , errno = 2") > 3; }));
            FakeDaemon daemon;
            daemon.admit(255);
            client.join();
            EXPECT_EQ(RPCMakeContextId(), 0x2000FF00U);
        });
    }
}

TEST(Registration, FailedAttemptIsRepeatedOnFreshSockets) {
    for (const bool silent : {false, true}) {
        for (int step = FakeDaemon::ACCEPT_REG; step < FakeDaemon::DONE; step++) {
            if (silent && (step == FakeDaemon::ID_ZERO || step == FakeDaemon::FAREWELL)) {
                continue;  // no answer is due there
            }
            SCOPED_TRACE(testing::Message() << "step " << step << (silent ? " silent" : " closed"));
            in_own_process([=] {
                FakeDaemon::put_marker();
                FakeDaemon daemon;
                if (silent) {
                    FakeDaemon::so_silent(static_cast<FakeDaemon::Step>(step));
                }
                std::thread client([] { RegisterRPCClient(nullptr); });
                daemon.admit(1, static_cast<FakeDaemon::Step>(step), silent);
                daemon.admit(2);
                client.join();
                EXPECT_EQ(RPCMakeContextId(), 0x20000200U);
            });
        }
    }
}

TEST(Connection, CallsBeforeTheFirstOneLinger) {
    in_own_process([] {
        const Bytes request = packet(44, 0x20000005);
        EXPECT_EQ(AppSendPackedData(nullptr, 12), 0);
        EXPECT_EQ(g_second_sleeps, 0);
        EXPECT_EQ(AppSendPackedData(request.data(), request.size()), 1);
        EXPECT_EQ(g_second_sleeps, 1);
        EXPECT_EQ(times_logged("SendDataToRPCIF send_rpc_data = FALSE\n"), 1);
        EXPECT_EQ(call(44, 0x20000005), -99);
    });
}

TEST(Connection, WhenTheDaemonGoesWaitingAndNewCallsFailAtOnceUntilItIsBack) {
    with_client(3, [](FakeDaemon& daemon) {
        std::thread waiting([] { EXPECT_EQ(call(44, 0x20000305), -99); });
        daemon.read_packet();
        daemon.die();
        waiting.join();
        ASSERT_TRUE(soon([] { return times_logged("Connect to reg_intf_id failed") > 0; }));
        EXPECT_EQ(call(44, 0x20000305), -99);
        EXPECT_EQ(times_logged("timed out"), 0);
        EXPECT_EQ(g_second_sleeps, 0);

        daemon.listen_all();
        daemon.admit(4);
        ASSERT_TRUE(soon([] { return RPCMakeContextId() == 0x20000400U; }));
        std::thread answering([&] { daemon.write(return_of(45, word_at(daemon.read_packet(), 12), 17)); });
        int32_t value = -99;
        EXPECT_TRUE(soon([&] { return (value = call(45, 0x20000406)) != -99; }));  // up a moment after the id
        EXPECT_EQ(value, 17);
        answering.join();
    });
}

TEST(Connection, EndOfEitherSocketEndsBoth) {
    for (const bool send : {false, true}) {
        with_client(3, [=](FakeDaemon& daemon) {
            daemon.hang_up(send, !send);
            if (send) {
                EXPECT_EQ(call(44, 0x20000305), -99);  // finds out, at once
                EXPECT_EQ(times_logged("SOCKET NOT WRITTEN\n"), 1);
            }
            daemon.admit(4);
            EXPECT_TRUE(soon([] { return RPCMakeContextId() == 0x20000400U; }));
        });
    }
}

TEST(Connection, DaemonThatNeverReadsBlocksNobody) {
    with_client(3, [](FakeDaemon& /*daemon*/) {
        const Bytes request = packet(44, 0x20000300, Bytes(2000));
        for (int i = 0; i < 1000; i++) {
            ASSERT_EQ(AppSendPackedData(request.data(), request.size()), 1);
        }
        EXPECT_GT(times_logged("msgsnd failed due to errno = 11"), 0);
        EXPECT_EQ(call(44, 0x20000305), -99);
        EXPECT_EQ(times_logged("timed out"), 0);
    });
}

TEST(Connection, DaemonKilledAndRestartedUnderLoad) {
    with_client(1, [](FakeDaemon& daemon) {
        constexpr uint32_t c_callers = 4;
        constexpr int c_lives = 6;
        constexpr int c_served = 500;  // calls in one life of the daemon
        std::atomic<bool> stop{false};
        std::atomic<int> answered{0};
        std::vector<std::thread> callers;
        for (uint32_t caller = 0; caller < c_callers; caller++) {
            callers.emplace_back([&, caller] {
                for (uint32_t i = 0; !stop; i = (i + 1) & 0xFFFF) {
                    const uint32_t context_id = 0x20000000U | i << 4 | caller;
                    const int32_t value = call(44, context_id);
                    if (value != -99) {
                        ASSERT_EQ(static_cast<uint32_t>(value), context_id ^ 0x5555U);
                        answered++;
                    }
                }
            });
        }
        const auto serve = [&] {
            const Bytes request = daemon.read_packet();
            if (request.empty() || word_at(request, 8) != 44) {
                return false;
            }
            daemon.write(return_of(44, word_at(request, 12), word_at(request, 12) ^ 0x5555U));
            return true;
        };
        for (int life = 2; life <= c_lives; life++) {
            for (int served = 0; served < c_served; served++) {
                ASSERT_TRUE(serve());
            }
            daemon.die();
            daemon.listen_all();
            daemon.admit(static_cast<uint8_t>(life));
        }
        std::thread serving([&] {
            while (serve()) {
            }
        });
        ASSERT_TRUE(soon([&] { return answered > c_served * c_lives; }));
        stop = true;
        for (std::thread& caller : callers) {
            caller.join();
        }
        EXPECT_EQ(call(44, 0x20FFFFFF), 0x20FFFFFF ^ 0x5555);
        EXPECT_EQ(times_logged("registered again"), c_lives - 1);
        EXPECT_EQ(times_logged("timed out"), 0);
        const Bytes last = packet(45, 0);  // ends the serving thread
        AppSendPackedData(last.data(), last.size());
        serving.join();
    });
}

}  // namespace
