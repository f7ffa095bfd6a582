// What becomes of received bytes: routing, the queue, the slots of the calls that wait.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>

#include "rpc/multi-client/rpc-stubs/ril/transport.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_queue.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_route.h"
#include "rpc/multi-client/rpc-stubs/ril/transport_slots.h"
#include "rpc/multi-client/utils/osa/android/sys_arch.h"
#include "tests/rpc/stubs/fake_log.h"
#include "tests/rpc/stubs/hex.h"

extern std::atomic<int64_t> g_realtime_back_ms;  // how far CLOCK_REALTIME lags

static int ignore(std::span<const uint8_t>) {
    return 0;
}

static constexpr RPCHostUnpackerRow c_rows[] = {{-1, nullptr}, {45, ignore},   {0, nullptr},  {76, ignore},
                                                {999, ignore}, {1000, ignore}, {-1, nullptr}, {77, ignore}};
const RPCHostUnpackerRow* const RPCUnpackerTable = c_rows;

namespace {

TEST(Route, OneRead) {
    APPInitQueue();
    CreateFuncIdIndexMap();
    const std::string c_good = "w19 w45 20 00 01 05 01 02 03 ";
    const struct {
        std::string read;
        std::vector<uint32_t> queued;  // function ids
        const char* log = nullptr;
    } c_cases[] = {
        {c_good + "w16 w76 20 00 01 05", {45, 76}},
        {"w12 w45", {45}},
        {c_good + "w19 w45 20 00 01 05 01 02",
         {45},
         "packet_size[19] is bigger than packet_left[18], abandon it! ret_type_idx[45]\n"},
        {c_good + "w11 w76 09 09 09 09 " + c_good, {45}, "packet_size[11] is less than"},
        {"02 04 FF FF FF FF w76 " + c_good, {}, "packet_size[-1] is bigger"},
        {c_good + "02 04 00 00 00 0C 02 04 00 00 00", {45}, "packet_left[11] has no packet header, abandon it!\n"},
        {"01 09 00 00 00 0C 7F 00 00 00 00 2D " + c_good, {45, 45}},  // other tags
        {"w12 w0 w12 w44 w12 w77 w16 w1000 00 00 00 00 w12 w999", {999}},
        {"w22 w1045 20 00 01 05 w0 " + c_good, {45}, "AppRecvFromRPCIFTask: sem_index is MAX\n"},
        {"02 04 00 00 00 10 02 04 FF FF FF FF 20 00 01 05 " + c_good, {45}, "sem_index is MAX"},
        {"w15 w1044 01 02 03 " + c_good, {45}, "return of function 44 has no context id"},
    };
    for (const auto& each : c_cases) {
        SCOPED_TRACE(each.read);
        clear_log();
        RPCRouteReceived(hex(each.read));
        std::vector<uint32_t> queued;
        for (RpcQueueEntry entry{}; APPRcvMsg(entry) == 1; free(entry.data)) {
            queued.push_back(entry.index);
            EXPECT_EQ(entry.kind, 2U);
            const std::string body = to_text(Bytes(entry.data, entry.data + entry.length));
            EXPECT_TRUE(entry.index != 45 || body.empty() || body == "20 00 01 05 01 02 03 ");
        }
        EXPECT_EQ(queued, each.queued);
        EXPECT_EQ(times_logged(), each.log == nullptr ? 0 : 1);
        EXPECT_EQ(times_logged(each.log == nullptr ? "" : each.log), times_logged());
    }
}

TEST(Queue, HoldsEightyAlsoWhenWrapped) {
    APPInitQueue();
    for (const int moved : {0, 1, 79}) {  // slots by which the ring has turned when it is filled
        uint8_t put = 0;
        uint8_t taken = 0;
        const auto send = [&] { return APPSendMsg(std::span(&put, 1), 45) == 1 && ++put != 0; };
        const auto take = [&] {
            RpcQueueEntry entry{};
            const bool right = APPRcvMsg(entry) == 1 && entry.data[0] == taken && ++taken != 0;
            free(entry.data);
            return right;
        };
        while (put < moved) {
            ASSERT_TRUE(send() && (put == 1 || take()));  // one stays, so that the ring does not start over
        }
        while (put < 200 && send()) {
        }
        EXPECT_EQ(put, taken + 80);
        ASSERT_TRUE(take() && send());
        clear_log();
        RPCRouteReceived(hex("w12 w45 w12 w45"));  // lost, both of them
        EXPECT_EQ(times_logged("MSG QUEUE --> FULL \n"), 2);
        while (take()) {
        }
        EXPECT_EQ(taken, put);
    }
}

// Calls, returns, lost connections and posts that come late, in any order, against a list of who waits.
TEST(Slots, AsTheListOfThoseWhoWait) {
    struct Waiting {
        uint32_t slot, id, context;
        bool settled;
        int value;  // -1 without a return
    };
    std::vector<Waiting> waiting;  // the first that called in front
    std::mt19937 random(1);
    const auto any = [&](size_t below) { return random() % below; };
    size_t most = 0;
    g_realtime_back_ms = 5000;  // every wait for a return is over as it begins
    CreateFuncIdIndexMap();
    for (int step = 0; step < 40000; ++step) {
        const auto id = static_cast<uint32_t>(71 + any(3));
        const auto context = static_cast<uint32_t>(any(4));
        // Mostly more calls than ends, and now and then the other way.
        const size_t kind = any(step / 1000 % 2 == 0 ? 10 : 16);
        if (kind < 5) {
            const SysMutexHold hold(SynchSemLock);
            const uint32_t slot = RPCCreateSemaphore(id, context);
            ASSERT_EQ(slot == c_synch_sem_count, waiting.size() == c_synch_sem_count);
            if (slot != c_synch_sem_count) {
                waiting.push_back({slot, id, context, false, -1});
                most = std::max(most, waiting.size());
            }
        } else if (kind < 8) {
            Waiting* found = nullptr;
            Waiting* last = nullptr;
            size_t of_function = 0;
            for (Waiting& one : waiting) {
                if (one.id == id && !one.settled) {
                    ++of_function;
                    last = &one;
                    found = found == nullptr && one.context == context ? &one : found;
                }
            }
            found = found == nullptr && of_function == 1 ? last : found;
            const auto value = static_cast<int>(any(256));
            clear_log();
            RPCRouteReceived(hex("w22 w" + std::to_string(id + 1000) + " 00 00 00 0" + std::to_string(context) + " w" +
                                 std::to_string(value)));
            ASSERT_EQ(times_logged("sem_index is MAX"), found == nullptr ? 1 : 0) << step;
            if (found != nullptr) {
                found->settled = true;
                found->value = value;
            }
        } else if (kind == 8 && any(20) == 0) {
            const SysMutexHold hold(SynchSemLock);
            RPCFailAllSemaphores();
            for (Waiting& one : waiting) {
                one.settled = true;
            }
        } else if (!waiting.empty()) {
            const auto one = waiting.begin() + static_cast<long>(any(waiting.size()));
            if (any(10) == 0) {
                RPCReleaseSemaphore(one->slot);  // meant for the slot's previous caller
            }
            clear_log();
            RpcReturn ret{};
            ASSERT_EQ(RPCWaitOnSemaphore(one->slot, ret), one->value >= 0 ? 1 : 0) << step;
            ASSERT_TRUE(one->value < 0 ? ret.body == nullptr : ret.body[9] == one->value) << step;
            ASSERT_EQ(times_logged("sem_timedwait() timed out\n"), one->settled ? 0 : 1) << step;
            RPCReleaseReturn(ret);
            waiting.erase(one);
        }
    }
    EXPECT_EQ(most, c_synch_sem_count);
    g_realtime_back_ms = -3600000;
    clear_log();
}

}  // namespace
