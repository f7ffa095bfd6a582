// How soon a string of USSD is on its way: from RIL_REQUEST_SEND_USSD to its packet, and from the network's packet to
// its text at Android. Both against a synchronous call of the RPC client through the same sockets that carries a packet
// of the same size. And what a tone allocates, beside a request that keeps something until its answer comes.
//   ss_bench             the ratios and the counts
//   ss_bench send N      N strings, to count instructions with a profiler
//   ss_bench take N
#include <semaphore.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "bench/blocks.h"
#include "bench/paired.h"
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

// A question of the network, of 160 characters, as the wire has it.
std::vector<uint8_t> question_packet() {
    alignas(8) static uint8_t s_buffer[4096];
    UtaSsUssdParamStruct param{};
    param.ussd_type = 3;
    param.dcs = 15;
    param.length = 140;
    memset(param.data, 0x55, param.length);
    const uta::Word words[] = {0, reinterpret_cast<uta::Word>(&param)};
    const auto& function = *uta::find_function(uint32_t{uta::row::UtaMsSsUssdIndCb::id});
    const auto packet = uta::pack_packet(function, 0x20000100, words, s_buffer);
    return {packet.begin(), packet.end()};
}

void ask(const RIL_RadioFunctions* ril, int request, const char* text) {
    ril->onRequest(request, const_cast<char*>(text), text == nullptr ? 0 : sizeof(char*), FakeAndroid::token(1));
}

// Until Android has been told.
void take(Peer& peer, const std::vector<uint8_t>& packet) {
    peer.give(packet);
    sem_wait(&s_told);
}

void send_string(const RIL_RadioFunctions* ril) {
    ask(ril, RIL_REQUEST_SEND_USSD, "*100#");
}

uint32_t context_of_open_request() {
    for (uint32_t ctxt_id = 2; ctxt_id < rilreq_state_info.size(); ++ctxt_id) {
        if (rilreq_state_info[ctxt_id].token != nullptr && rilreq_state_info[ctxt_id].entry_in_use != 0) {
            return ctxt_id;
        }
    }
    fprintf(stderr, "no request is open\n");
    exit(1);
}

void end_sending() {
    const UtaSsUssdParamStruct answer{};
    UtaMsSsUssdRspCb(0, &answer, context_of_open_request());
    FakeAndroid::instance().reset();
}

// The session of a question ends, so that the next string begins one.
void cancel(const RIL_RadioFunctions* ril) {
    ask(ril, RIL_REQUEST_CANCEL_USSD, nullptr);
    FakeAndroid::instance().reset();
}

// The bare exchange: a call whose record has the same octets.
double call_ns() {
    static const UtaSsRespondUssdParamStruct s_answer{};
    const Clock::time_point start = Clock::now();
    if (RemUtaMsSsRespondUssd(0, &s_answer, 0x20000100) != 0) {
        fprintf(stderr, "the call failed\n");
        exit(1);
    }
    return ns(Clock::now() - start);
}

// --- What is allocated -----------------------------------------------------------------------------------------------

void call_is_active() {
    UtaCallCsDialingIndCbParams dialing{};
    UtaCallCsConnectedIndCbParams connected{};
    dialing.call.call_id = connected.call.call_id = 1;
    UtaMsCallCsDialingIndCb(0, &dialing);
    UtaMsCallCsConnectedIndCb(0, &connected);
}

void start_answered() {
    const UtaCallCsStartDtmfRspCbParams started{};
    UtaMsCallCsStartDtmfRspCb(0, &started, context_of_open_request());
}

void stop_answered() {
    const UtaCallCsCallId stopped{};
    UtaMsCallCsStopDtmfRspCb(0, &stopped, context_of_open_request());
}

template <typename Work>
double blocks_of(int times, Work&& work) {
    const size_t before = s_blocks;
    for (int i = 0; i < times; ++i) {
        work();
    }
    FakeAndroid::instance().reset();
    return static_cast<double>(s_blocks - before) / times;
}

void count_blocks(const RIL_RadioFunctions* ril) {
    constexpr int c_tones = 10'000;
    call_is_active();
    const double profile = blocks_of(c_tones, [ril] {
        ask(ril, RIL_REQUEST_STK_SET_PROFILE, "01");
        const UtaSimTkTerminalProfileRspParam taken{};
        UtaMsSimTkSendTerminalProfileRspCb(0, &taken, context_of_open_request());
    });
    const double tone = blocks_of(c_tones, [ril] {
        ask(ril, RIL_REQUEST_DTMF_START, "5");
        start_answered();
        ask(ril, RIL_REQUEST_DTMF_STOP, nullptr);
        stop_answered();
    });
    std::printf("%-48s %10.3f blocks  a toolkit profile %10.3f blocks\n", "a tone, started and stopped", tone, profile);
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int c_rounds = 3000;
    sem_init(&s_told, 0, 0);
    Peer peer(uta::row::UtaMsSsSendUssdReq::id);
    const auto link = ModemLinkServer::start(c_modem_link_path, {});
    link->announce(0xB2000000);
    char name[] = "rild";
    char* arguments[] = {name, nullptr};
    const RIL_RadioFunctions* ril = RIL_Init(FakeAndroid::env(), 1, arguments);
    set_radio_state(0, RADIO_STATE_ON);
    FakeAndroid::instance().set_observer({{}, [](int number, const void*, size_t) {
                                              if (number == RIL_UNSOL_ON_USSD) {
                                                  s_told_at = Clock::now().time_since_epoch().count();
                                                  sem_post(&s_told);
                                              }
                                          }});
    const std::vector<uint8_t> packet = question_packet();
    const std::string_view what = argc == 3 ? argv[1] : "";
    for (int i = 0; argc == 3 && i < atoi(argv[2]); ++i) {
        if (what == "take") {
            take(peer, packet);
            FakeAndroid::instance().reset();
        } else {
            send_string(ril);
            end_sending();
        }
    }
    if (argc == 3) {
        return 0;
    }
    Figures taking;
    Figures sending;
    for (int round = 0; round < c_rounds; ++round) {
        const double taking_call = call_ns();
        const Clock::time_point taking_start = Clock::now();
        take(peer, packet);
        taking.add(ns(Clock::duration(s_told_at) - taking_start.time_since_epoch()), taking_call);
        cancel(ril);
        const double sending_call = call_ns();
        const Clock::time_point sending_start = Clock::now();
        send_string(ril);
        sending.add(ns(Clock::duration(peer.seen_at) - sending_start.time_since_epoch()), sending_call);
        end_sending();
    }
    taking.print("a packet of USSD to its text at Android");
    sending.print("RIL_REQUEST_SEND_USSD to its packet");
    count_blocks(ril);
    return 0;
}
