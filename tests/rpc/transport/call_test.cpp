// Synchronous calls and their slots.
#include <chrono>
#include <csignal>
#include <thread>

#include "ril/utils/thread_stop.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "tests/rpc/transport/fixture.h"

namespace {

TEST(Call, VersionHandshakeByteForByte) {
    with_client(1, [](FakeDaemon& daemon) {
        int32_t version = 0;
        std::thread asking([&] { version = RemRpcGetRemoteVerInfo(); });
        EXPECT_EQ(daemon.read_packet(),
                  (Bytes{2, 4, 0, 0, 0, 0x13, 2, 4, 0, 0, 0, 0x20, 0x20, 0, 1, 0, 0x7F, 0x20, 0}));
        daemon.write({2, 4, 0, 0, 0, 0x16, 2, 4, 0, 0, 4, 8, 0x20, 0, 1, 0, 2, 4, 0, 0, 4, 0xE1});
        asking.join();
        EXPECT_EQ(version, c_rpc_version);

        std::thread again([&] { version = RemRpcGetRemoteVerInfo(); });
        daemon.read_packet();
        daemon.write({2, 4, 0, 0, 0, 0x12, 2, 4, 0, 0, 4, 8, 0x20, 0, 1, 0, 2, 4});  // ends ahead of its value
        again.join();
        EXPECT_EQ(version, -99);
    });
}

TEST(Call, TwoThreadsInOneFunctionEachGetTheirOwnReturn) {
    with_client(1, [](FakeDaemon& daemon) {
        // In two contexts the returns may come in either order.
        for (const bool reversed : {false, true}) {
            std::thread one([] { EXPECT_EQ(call(71, 0x20000102), 1002); });
            std::thread two([] { EXPECT_EQ(call(71, 0x20000103), 1003); });
            Bytes first = daemon.read_packet();
            Bytes second = daemon.read_packet();
            if (reversed) {
                first.swap(second);
            }
            for (const Bytes& request : {first, second}) {
                const uint32_t context_id = word_at(request, 12);
                daemon.write(return_of(71, context_id, 1000 + (context_id & 0xFF)));
            }
            one.join();
            two.join();
        }
        // In one context the first that was sent gets the first return, also where its slot is the higher one; other
        // functions' calls of that context have no part in it.
        std::thread apart([] { EXPECT_EQ(call(80, 0x20000100), 3); });
        daemon.read_packet();
        std::thread early([] { EXPECT_EQ(call(50, 0x20000100), 0); });
        daemon.read_packet();
        std::thread older([] { EXPECT_EQ(call(71, 0x20000100), 1); });
        daemon.read_packet();
        daemon.write(return_of(50, 0x20000100, 0));
        early.join();
        std::thread younger([] { EXPECT_EQ(call(71, 0x20000100), 2); });
        daemon.read_packet();
        daemon.write(return_of(71, 0x20000100, 1) + return_of(71, 0x20000100, 2) + return_of(80, 0x20000100, 3));
        apart.join();
        older.join();
        younger.join();
    });
}

TEST(Call, TheOnlyOneOfItsFunctionTakesAReturnOfAnyContext) {
    with_client(1, [](FakeDaemon& daemon) {
        std::thread alone([] { EXPECT_EQ(call(71, 0x20000102), 5); });
        daemon.read_packet();
        daemon.write(return_of(72, 0x20000102, 4) + return_of(71, 0xFFFFFFFF, 5));
        alone.join();
        // Of two, neither does.
        std::thread one([] { EXPECT_EQ(call(71, 0x20000102), 6); });
        daemon.read_packet();
        std::thread two([] { EXPECT_EQ(call(71, 0x20000103), 7); });
        daemon.read_packet();
        daemon.write(return_of(71, 0x20000101, 8) + return_of(71, 0x20000103, 7) + return_of(71, 0x20000101, 6));
        one.join();
        two.join();
        EXPECT_EQ(times_logged("AppRecvFromRPCIFTask: sem_index is MAX\n"), 2);
    });
}

TEST(Call, SignalsDoNotKeepThePacketBack) {
    with_client(1, [](FakeDaemon& daemon) {
        g_polls_interrupted = 3;
        expect_call(daemon, 71, 0x20000105, 2);
    });
}

TEST(Call, FortySlotsBusy) {
    with_client(1, [](FakeDaemon& daemon) {
        std::vector<std::thread> callers;
        for (uint32_t i = 0; i < 40; i++) {
            callers.emplace_back([i] { EXPECT_EQ(call(71, i), static_cast<int32_t>(i)); });
            daemon.read_packet();
        }
        EXPECT_EQ(call(72, 0), -99);
        for (uint32_t i = 40; i-- > 0;) {
            daemon.write(return_of(71, i, i));
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
        EXPECT_EQ(times_logged("timed out"), 0);
    });
}

TEST(Call, TimeoutGivesTheSlotBackAndALateReturnIsDropped) {
    with_client(1, [](FakeDaemon& daemon) {
        g_realtime_back_ms = 4990;
        for (int i = 0; i < 41; i++) {
            ASSERT_EQ(call(71, 0x20000105), -99);
            daemon.read_packet();
        }
        EXPECT_EQ(times_logged("sem_timedwait() timed out\n"), 41);
        g_realtime_back_ms = -3600000;
        daemon.write(return_of(71, 0x20000105, 1));
        ASSERT_TRUE(soon([] { return times_logged("sem_index is MAX\n") == 1; }));
        expect_call(daemon, 71, 0x20000105, 2);
        EXPECT_EQ(times_logged("msgrcv failed"), 0);  // an idle connection is no event
    });
}

TEST(Call, EndsWhenItsThreadIsToldToEnd) {
    with_client(1, [](FakeDaemon& daemon) {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGUSR1, &action, nullptr);
        std::thread stoppable([] {
            thread_stop_enter();
            EXPECT_EQ(call(71, 0x20000105), -99);
            EXPECT_EQ(call(72, 0x20000106), -99);  // nothing is sent any more
            thread_stop_leave();
        });
        daemon.read_packet();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // most likely asleep by then
        thread_stop_request(stoppable.native_handle());
        stoppable.join();
        EXPECT_EQ(times_logged("timed out"), 0);
        daemon.write(return_of(71, 0x20000105, 1));
        ASSERT_TRUE(soon([] { return times_logged("sem_index is MAX\n") == 1; }));
        // The request's own post may still be in the slot.
        expect_call(daemon, 73, 0x20000105, 7);
    });
}

}  // namespace
