// How soon a dial is on its way: from RIL_REQUEST_DIAL at on_request to the setup packet at the daemon's socket,
// against a synchronous call of the RPC client through the same sockets.
//   call_bench           the ratio
//   call_bench dial N    N dials, to count instructions with a profiler
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "bench/paired.h"
#include "bench/peer.h"
#include "host/android/modem_link_server.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/sleeps.h"

namespace {

constexpr uint32_t c_setup_voice_call = 34;

// Ends all calls of the module and their contexts, so that the next dial finds an idle phone.
void end_calls() {
    FakeAndroid::instance().advance(25000);
    FakeAndroid::instance().reset();
}

void dial(const RIL_RadioFunctions* ril) {
    char number[] = "0301234567";
    RIL_Dial request{};
    request.address = number;
    ril->onRequest(RIL_REQUEST_DIAL, &request, sizeof(request), FakeAndroid::token(1));
}

}  // namespace

int main(int argc, char** argv) {
    Peer peer(c_setup_voice_call);
    const auto link = ModemLinkServer::start(c_modem_link_path, {});
    link->announce(0xB2000000);
    char name[] = "rild";
    char* arguments[] = {name, nullptr};
    const RIL_RadioFunctions* ril = RIL_Init(FakeAndroid::env(), 1, arguments);
    set_radio_state(0, RADIO_STATE_ON);

    if (argc == 3 && strcmp(argv[1], "dial") == 0) {
        for (int i = 0; i < atoi(argv[2]); ++i) {
            dial(ril);
            end_calls();
        }
        return 0;
    }

    constexpr int c_rounds = 3000;
    Figures dialling;
    for (int round = 0; round < c_rounds; ++round) {
        const Clock::time_point call_start = Clock::now();
        if (RemUtaMsNetOpen(0) != 0) {
            fprintf(stderr, "the call failed\n");
            return 1;
        }
        const double call_ns = ns(Clock::now() - call_start);
        const Clock::time_point dial_start = Clock::now();
        dial(ril);
        dialling.add(ns(Clock::duration(peer.seen_at) - dial_start.time_since_epoch()), call_ns);
        end_calls();
    }
    dialling.print("RIL_REQUEST_DIAL to its setup packet");
    return 0;
}
