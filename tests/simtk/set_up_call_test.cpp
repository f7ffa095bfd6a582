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

int32_t uta::call(uint16_t, const uta::Word*) {
    return 0;
}
int32_t sim_get_inserted_sim_type(uint32_t) {
    return SIM_CARD_TYPE_3G;
}

namespace {

std::atomic<int> s_told;

void told(int number, const void* data, size_t) {
    const bool is_call =
        number == RIL_UNSOL_STK_EVENT_NOTIFY && strcmp(static_cast<const char*>(data), "D009810301100082028183") == 0;
    s_told += is_call ? 1 : 100;
}

TEST(SetUpCall, IsToldOnceInWhateverOrderItComes) {
    static constexpr RIL_Env c_env = {[](RIL_Token, RIL_Errno, void*, size_t) {}, told,
                                      [](RIL_TimedCallback, void*, const timeval*) {}};
    constexpr int c_rounds = 10000;
    stood_in.modem_init = [] {
        stk_module_init(0);
        return 0;
    };
    start_engine(&c_env);
    std::barrier together(2);
    const auto rounds = [&](auto say) {
        for (int round = 0; round < c_rounds; ++round) {
            together.arrive_and_wait();
            say();
            together.arrive_and_wait();
            EXPECT_EQ(s_told, round + 1);
        }
    };
    std::thread modem([&] { rounds([] { UtaMsSimTkExecSimInitiatedCallIndCb(0, nullptr); }); });
    UtaSimTkRawDataParam command{{}, 11, {0xD0, 9, 0x81, 3, 1, 0x10, 0, 0x82, 2, 0x81, 0x83}};
    rounds([&] { UtaMsSimTkProactiveCommandIndCb(0, &command); });
    modem.join();
    stop_engine();
}

}  // namespace
