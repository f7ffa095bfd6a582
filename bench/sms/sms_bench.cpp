// How soon a message is on its way: from the packet of an incoming one to its text at Android, and from
// RIL_REQUEST_SEND_SMS to its packet. Both against a synchronous call of the RPC client through the same sockets that
// carries a packet of the same size.
//   sms_bench            the ratios
//   sms_bench take N     N messages, to count instructions with a profiler
//   sms_bench send N
#include <semaphore.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

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

constexpr uint32_t c_send = uta::row::UtaMsSmsSendReq::id;

std::atomic<Clock::rep> s_told_at{0};
sem_t s_told;

// An incoming message of 160 characters, as the wire has it.
std::vector<uint8_t> incoming_packet() {
    alignas(8) static uint8_t s_buffer[4096];
    UtaSmsIncomingParam param{};
    const uint8_t head[] = {3, 0x91, 0x94, 0x71, 4, 4, 0x91, 0x21, 0x43, 0, 0, 1, 1, 1, 1, 1, 1, 0, 160};
    param.id = 7;
    param.message.pdu.length = sizeof(head) + 140;
    memcpy(param.message.pdu.data, head, sizeof(head));
    memset(param.message.pdu.data + sizeof(head), 0x55, 140);
    const uta::Word words[] = {0, reinterpret_cast<uta::Word>(&param)};
    const auto& function = *uta::find_function(uint32_t{uta::row::UtaMsSmsIncomingIndCb::id});
    const auto packet = uta::pack_packet(function, 0x20000100, words, s_buffer);
    return {packet.begin(), packet.end()};
}

// Until Android has been told; then Android says yes.
void take(const RIL_RadioFunctions* ril, Peer& peer, const std::vector<uint8_t>& packet) {
    peer.give(packet);
    sem_wait(&s_told);
    int answer[] = {1, 0};
    ril->onRequest(RIL_REQUEST_SMS_ACKNOWLEDGE, answer, sizeof(answer), FakeAndroid::token(1));
}

void send_message(const RIL_RadioFunctions* ril) {
    char centre[] = "03919471";
    char message[] = "0100039121F3000003C1E010";
    char* texts[] = {centre, message};
    ril->onRequest(RIL_REQUEST_SEND_SMS, texts, sizeof(texts), FakeAndroid::token(1));
}

// The answer to the last one, so that its context is free again.
void end_sending() {
    for (uint32_t ctxt_id = 2; ctxt_id < rilreq_state_info.size(); ++ctxt_id) {
        if (rilreq_state_info[ctxt_id].token != nullptr && rilreq_state_info[ctxt_id].entry_in_use != 0) {
            const UtaSmsSendRspParam response{};
            UtaMsSmsSendRspCb(0, &response, ctxt_id);
        }
    }
    FakeAndroid::instance().reset();
}

// The bare exchange: a call whose record has the same octets.
double call_ns() {
    static const UtaSmsIncSmsAckParam s_ack{};
    const Clock::time_point start = Clock::now();
    if (RemUtaMsSmsIncomingSmsAck(0, &s_ack, 0x20000100) != 0) {
        fprintf(stderr, "the call failed\n");
        exit(1);
    }
    return ns(Clock::now() - start);
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int c_rounds = 3000;
    sem_init(&s_told, 0, 0);
    Peer peer(c_send);
    const auto link = ModemLinkServer::start(c_modem_link_path, {});
    link->announce(0xB2000000);
    char name[] = "rild";
    char* arguments[] = {name, nullptr};
    const RIL_RadioFunctions* ril = RIL_Init(FakeAndroid::env(), 1, arguments);
    set_radio_state(0, RADIO_STATE_ON);
    FakeAndroid::instance().set_observer({{}, [](int number, const void*, size_t) {
                                              if (number == RIL_UNSOL_RESPONSE_NEW_SMS) {
                                                  s_told_at = Clock::now().time_since_epoch().count();
                                                  sem_post(&s_told);
                                              }
                                          }});
    const std::vector<uint8_t> packet = incoming_packet();
    const std::string_view what = argc == 3 ? argv[1] : "";
    for (int i = 0; argc == 3 && i < atoi(argv[2]); ++i) {
        if (what == "take") {
            take(ril, peer, packet);
        } else {
            send_message(ril);
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
        take(ril, peer, packet);
        taking.add(ns(Clock::duration(s_told_at) - taking_start.time_since_epoch()), taking_call);
        const double sending_call = call_ns();
        const Clock::time_point sending_start = Clock::now();
        send_message(ril);
        sending.add(ns(Clock::duration(peer.seen_at) - sending_start.time_since_epoch()), sending_call);
        end_sending();
    }
    taking.print("an incoming packet to its text at Android");
    sending.print("RIL_REQUEST_SEND_SMS to its packet");
    return 0;
}
