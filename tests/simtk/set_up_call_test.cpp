// The card's command to set up a call and the modem's word that it is about to, each on a thread of its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cstring>
#include <thread>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/simtk/simtk.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

constexpr uint8_t c_set_up_call[] = {0xD0, 0x09, 0x81, 0x03, 0x01, 0x10, 0x00, 0x82, 0x02, 0x81, 0x83};
constexpr const char* c_set_up_call_text = "D009810301100082028183";

std::atomic<int> s_told;
std::atomic<int> s_strange;

void told(int number, const void* data, size_t) {
    const bool is_call =
        number == RIL_UNSOL_STK_EVENT_NOTIFY && strcmp(static_cast<const char*>(data), c_set_up_call_text) == 0;
    (is_call ? s_told : s_strange).fetch_add(1);
}

constexpr RIL_Env c_env = {[](RIL_Token, RIL_Errno, void*, size_t) {}, told,
                           [](RIL_TimedCallback, void*, const timeval*) {}};

TEST(SetUpCall, IsToldOnceInWhateverOrderItComes) {
    constexpr int c_rounds = 10000;
    stood_in.modem_init = [] {
        stk_module_init(0);
        return 0;
    };
    start_engine(&c_env);
    std::barrier together(2);
    std::thread modem([&] {
        const UtaSimTkExecSimInitiatedCallInfoIndParam info{};
        for (int round = 0; round < c_rounds; ++round) {
            together.arrive_and_wait();
            UtaMsSimTkExecSimInitiatedCallIndCb(0, &info);
            together.arrive_and_wait();
        }
    });
    UtaSimTkRawDataParam command{};
    command.data_len = sizeof(c_set_up_call);
    std::copy(std::begin(c_set_up_call), std::end(c_set_up_call), command.data);
    int rounds_told_once = 0;
    for (int round = 0; round < c_rounds; ++round) {
        together.arrive_and_wait();
        UtaMsSimTkProactiveCommandIndCb(0, &command);
        together.arrive_and_wait();
        rounds_told_once += s_told.exchange(0) == 1 ? 1 : 0;
    }
    modem.join();
    stop_engine();
    EXPECT_EQ(rounds_told_once, c_rounds);
    EXPECT_EQ(s_strange, 0);
}

}  // namespace

int32_t uta::call(uint16_t, const uta::Word*) {
    return 0;
}
int32_t sim_get_inserted_sim_type(uint32_t) {
    return SIM_CARD_TYPE_3G;
}
