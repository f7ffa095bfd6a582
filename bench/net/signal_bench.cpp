// From the packet of a signal report to Android's unsolicited response, against a synchronous call of the RPC client
// through the same sockets with a packet of about the same size. And the blocks that a report takes.
//   signal_bench            the ratio and the count
//   signal_bench take N     N reports, to count instructions with a profiler
#include <semaphore.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench/blocks.h"
#include "bench/peer.h"
#include "host/android/modem_link_server.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/sleeps.h"

namespace {

std::atomic<Clock::rep> s_told_at{0};
sem_t s_told;

std::vector<uint8_t> signal_packet() {
    alignas(8) static uint8_t s_buffer[4096];
    static UtaNetRadioSignalIndParam s_param{};
    s_param.signal = 40;
    const uta::Word words[] = {0, reinterpret_cast<uta::Word>(&s_param)};
    const auto& function = *uta::find_function(uint32_t{uta::row::UtaMsNetRadioSignalIndCb::id});
    const auto packet = uta::pack_packet(function, 0x20000100, words, s_buffer);
    return {packet.begin(), packet.end()};
}

double call_ns() {
    const Clock::time_point start = Clock::now();
    if (RemUtaMsNetBandStatusReq(0, 0x20000100) != 0) {
        fprintf(stderr, "the call failed\n");
        exit(1);
    }
    return ns(Clock::now() - start);
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int c_rounds = 3000;
    sem_init(&s_told, 0, 0);
    Peer peer(uta::row::UtaMsNetBandStatusReq::id);
    const auto link = ModemLinkServer::start(c_modem_link_path, {});
    link->announce(0xB2000000);
    char name[] = "rild";
    char* arguments[] = {name, nullptr};
    RIL_Init(FakeAndroid::env(), 1, arguments);
    set_radio_state(0, RADIO_STATE_ON);
    FakeAndroid::instance().set_observer({{}, [](int number, const void*, size_t) {
                                              if (number == RIL_UNSOL_SIGNAL_STRENGTH) {
                                                  s_told_at = Clock::now().time_since_epoch().count();
                                                  sem_post(&s_told);
                                              }
                                          }});
    const std::vector<uint8_t> packet = signal_packet();
    const auto take = [&] {
        peer.give(packet);
        sem_wait(&s_told);
    };
    for (int i = 0; argc == 3 && i < atoi(argv[2]); ++i) {
        take();
    }
    if (argc == 3) {
        return 0;
    }
    Figures reports;
    size_t blocks = 0;
    for (int round = 0; round < c_rounds; ++round) {
        const double call = call_ns();
        const size_t before = s_blocks;
        const Clock::time_point start = Clock::now();
        take();
        reports.add(ns(Clock::duration(s_told_at) - start.time_since_epoch()), call);
        blocks += s_blocks - before;
        FakeAndroid::instance().reset();
    }
    reports.print("a signal report to Android");
    std::printf("%-48s %10.3f blocks\n", "a signal report", static_cast<double>(blocks) / c_rounds);
    return 0;
}
