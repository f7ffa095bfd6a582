// What becomes of received bytes: routing, the queue, the dispatch thread.
#include <semaphore.h>

#include <mutex>

#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_queue.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_route.h"
#include "tests/rpc/transport/fixture.h"

namespace {

std::mutex s_lock;
std::vector<Bytes>& s_unpacked = *new std::vector<Bytes>;  // the dispatch thread outlives main
sem_t s_gate;

size_t unpacked() {
    const std::lock_guard hold(s_lock);
    return s_unpacked.size();
}

int keep(std::span<const uint8_t> body) {
    const std::lock_guard hold(s_lock);
    s_unpacked.emplace_back(body.begin(), body.end());
    return 0;
}

int keep_behind_gate(std::span<const uint8_t> body) {
    sem_wait(&s_gate);
    return keep(body);
}

constexpr RPCHostUnpackerRow c_rows[] = {{-1, nullptr}, {45, keep},   {0, nullptr},  {76, keep_behind_gate},
                                         {999, keep},   {1000, keep}, {-1, nullptr}, {77, keep}};

}  // namespace

const RPCHostUnpackerRow* const RPCUnpackerTable = c_rows;

namespace {

constexpr uint32_t c_context = 0x20000105;
const Bytes c_good = packet(45, c_context, {1, 2, 3});
const Bytes c_good_body = {0x20, 0, 1, 5, 1, 2, 3};

Bytes with_size(uint8_t a, uint8_t b, uint8_t c, uint8_t d) {
    Bytes bytes = packet(76, c_context, {9, 9});
    bytes[2] = a, bytes[3] = b, bytes[4] = c, bytes[5] = d;
    return bytes;
}

TEST(Route, OneRead) {
    const struct {
        const char* name;
        Bytes read;
        std::vector<uint32_t> queued;  // function ids
        const char* log;
    } c_cases[] = {
        {"two packets", c_good + packet(76, 1), {45, 76}, nullptr},
        {"no body", {2, 4, 0, 0, 0, 12, 2, 4, 0, 0, 0, 45}, {45}, nullptr},
        {"cut packet",
         c_good + Bytes(c_good.begin(), c_good.end() - 1),
         {45},
         "packet_size[19] is bigger than packet_left[18], abandon it! ret_type_idx[45]\n"},
        {"the rest of it", {3}, {}, "packet_left[1] has no packet header, abandon it!\n"},
        {"size 0", with_size(0, 0, 0, 0) + c_good, {}, "packet_size[0] is less than"},
        {"size 11", c_good + with_size(0, 0, 0, 11) + c_good, {45}, "packet_size[11] is less than"},
        {"size huge", with_size(0xFF, 0xFF, 0xFF, 0xFF) + c_good, {}, "packet_size[-1] is bigger"},
        {"size big", with_size(0x7F, 0xFF, 0xFF, 0xFF) + c_good, {}, "ret_type_idx[76]\n"},
        {"header cut", c_good + Bytes{2, 4, 0, 0, 0, 12, 2, 4, 0, 0, 0}, {45}, "packet_left[11] has no"},
        {"other tags", Bytes{1, 9, 0, 0, 0, 12, 0x7F, 0, 0, 0, 0, 45} + c_good, {45, 45}, nullptr},
        {"unknown ids",
         packet(0, 0) + packet(44, 0) + packet(77, 0) + packet(1000, 0) + packet(999, 0),
         {999},
         nullptr},
        {"return without waiter", return_of(45, 0, 0) + c_good, {45}, "AppRecvFromRPCIFTask: sem_index is MAX\n"},
        {"return of the highest id", packet(0xFFFFFFFF, 0) + c_good, {45}, "sem_index is MAX"},
        {"return without context",
         Bytes{2, 4, 0, 0, 0, 15, 2, 4, 0, 0, 4, 20, 1, 2, 3} + c_good,
         {45},
         "return of function 44 has no context id"},
    };
    in_own_process([&] {
        APPInitQueue();
        CreateFuncIdIndexMap();
        for (const auto& each : c_cases) {
            SCOPED_TRACE(each.name);
            const char* log = each.log == nullptr ? "" : each.log;  // every line has this
            const int logged = times_logged(log);
            RPCRouteReceived(each.read);
            std::vector<uint32_t> queued;
            for (RpcQueueEntry entry{}; APPRcvMsg(entry) == 1; free(entry.data)) {
                queued.push_back(entry.index);
                EXPECT_EQ(entry.kind, 2U);
                const Bytes body(entry.data, entry.data + entry.length);
                EXPECT_TRUE(entry.index != 45 || body.empty() || body == c_good_body);
            }
            EXPECT_EQ(queued, each.queued);
            EXPECT_EQ(times_logged(log), each.log == nullptr ? logged : logged + 1);
        }
    });
}

TEST(Queue, HoldsEightyAlsoWhenWrapped) {
    in_own_process([] {
        APPInitQueue();
        RpcQueueEntry entry{};
        uint8_t next_in = 0;
        uint8_t next_out = 0;
        const auto put = [&] { return APPSendMsg(std::span(&next_in, 1), 45) == 1 && ++next_in != 0; };
        const auto take = [&] {
            const bool taken = APPRcvMsg(entry) == 1 && entry.data[0] == next_out++;
            free(entry.data);
            return taken;
        };
        for (const int moved : {0, 1, 79}) {  // slots by which the ring has turned when it is filled
            for (int i = 0; i < moved; i++) {
                ASSERT_TRUE(put() && put() && take() && take());
                ASSERT_EQ(APPRcvMsg(entry), 0);
            }
            next_in = next_out = 0;
            ASSERT_TRUE(put() && take() && put());
            for (int i = 1; i < 80; i++) {
                ASSERT_TRUE(put());
            }
            EXPECT_FALSE(put());
            ASSERT_TRUE(take());
            ASSERT_TRUE(put());
            EXPECT_FALSE(put());
            for (int i = 0; i < 80; i++) {
                ASSERT_TRUE(take());
            }
            EXPECT_EQ(APPRcvMsg(entry), 0);
        }
        EXPECT_EQ(times_logged("MSG QUEUE --> FULL \n"), 6);
    });
}

TEST(Dispatch, WhileOneUnpackerIsParkedReturnsGoOnAndTheQueueFills) {
    with_client(1, [](FakeDaemon& daemon) {
        sem_init(&s_gate, 0, 0);
        daemon.write(packet(76, c_context));
        // Taken from the queue once a call behind it got its return and the queue is found to hold 80 more.
        expect_call(daemon, 71, c_context, 5);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        Bytes flood;
        for (uint8_t i = 0; i < 81; i++) {
            flood = flood + packet(45, c_context, {i});
        }
        daemon.write(flood);
        ASSERT_TRUE(soon([] { return times_logged("MSG QUEUE --> FULL \n") == 1; }));
        EXPECT_EQ(unpacked(), 0U);
        sem_post(&s_gate);
        ASSERT_TRUE(soon([] { return unpacked() == 81; }));
        for (uint8_t i = 0; i < 80; i++) {
            EXPECT_EQ(s_unpacked[1 + i].back(), i);
        }
        daemon.write(c_good);
        ASSERT_TRUE(soon([] { return unpacked() == 82; }));
        EXPECT_EQ(s_unpacked.back(), c_good_body);
    });
}

}  // namespace
