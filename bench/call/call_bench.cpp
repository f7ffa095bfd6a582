// How soon a dial is on its way: from RIL_REQUEST_DIAL at on_request to the setup packet at the daemon's socket,
// against a synchronous call of the RPC client through the same sockets.
//   call_bench           the ratio
//   call_bench dial N    N dials, to count instructions with a profiler
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "bench/paired.h"
#include "host/android/modem_link_server.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/fake_android.h"
#include "tests/harness/sleeps.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t c_setup_voice_call = 34;

// The daemon's end: registers one client and returns 0 to every call at once.
class Peer {
public:
    Peer() {
        const char* paths[] = {"/data/rpc_reg", "/data/rpc_send", "/data/rpc_recv"};
        for (int i = 0; i < 3; ++i) {
            unlink(paths[i]);
            listeners_[i] = socket(AF_UNIX, SOCK_STREAM, 0);
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            strcpy(address.sun_path, paths[i]);
            if (bind(listeners_[i], reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
                listen(listeners_[i], 4) != 0) {
                perror(paths[i]);
                exit(1);
            }
        }
        mkdir("/data/rpcd", 0755);
        fclose(fopen("/data/rpcd/rpcd.txt", "w"));
        std::thread([this] { serve(); }).detach();
    }

    std::atomic<Clock::rep> setup_at{0};  // when the last setup packet was read

private:
    static uint32_t word(const uint8_t* at) {
        return uint32_t{at[0]} << 24U | uint32_t{at[1]} << 16U | uint32_t{at[2]} << 8U | at[3];
    }

    void serve() {
        char text[16];
        const uint8_t id = 1;
        const int reg = accept(listeners_[0], nullptr, nullptr);
        (void)!recv(reg, text, 8, MSG_WAITALL);
        (void)!send(reg, &id, 1, 0);
        const int in = accept(listeners_[1], nullptr, nullptr);
        (void)!send(in, &id, 1, 0);
        const int out = accept(listeners_[2], nullptr, nullptr);
        (void)!send(out, &id, 1, 0);
        (void)!recv(in, text, 11, MSG_WAITALL);
        uint8_t packet[4096];
        for (ssize_t got = recv(in, packet, sizeof(packet), 0); got > 12; got = recv(in, packet, sizeof(packet), 0)) {
            const uint32_t function = word(packet + 8);
            if (function == c_setup_voice_call) {
                setup_at = Clock::now().time_since_epoch().count();
            }
            uint8_t answer[] = {2, 4,          0,          0,          0,          22, 2, 4, 0, 0, 0,
                                0, packet[12], packet[13], packet[14], packet[15], 2,  4, 0, 0, 0, 0};
            const uint32_t index = function + 1000;
            answer[10] = static_cast<uint8_t>(index >> 8U);
            answer[11] = static_cast<uint8_t>(index);
            if (function == 32) {  // the version
                answer[20] = 1249 >> 8;
                answer[21] = 1249 & 0xFF;
            }
            (void)!send(out, answer, sizeof(answer), MSG_NOSIGNAL);
        }
    }

    int listeners_[3];
};

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

double ns(Clock::duration duration) {
    return std::chrono::duration<double, std::nano>(duration).count();
}

}  // namespace

int main(int argc, char** argv) {
    Peer peer;
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
    std::vector<double> call_ns;
    std::vector<double> dial_ns;
    std::vector<double> ratios;
    for (int round = 0; round < c_rounds; ++round) {
        const Clock::time_point call_start = Clock::now();
        if (RemUtaMsNetOpen(0) != 0) {
            fprintf(stderr, "the call failed\n");
            return 1;
        }
        call_ns.push_back(ns(Clock::now() - call_start));
        const Clock::time_point dial_start = Clock::now();
        dial(ril);
        dial_ns.push_back(ns(Clock::duration(peer.setup_at) - dial_start.time_since_epoch()));
        ratios.push_back(dial_ns.back() / call_ns.back());
        end_calls();
    }
    std::printf("%-48s %10.1f ns  synchronous call %10.1f ns  ratio %.3f\n", "RIL_REQUEST_DIAL to its setup packet",
                median(dial_ns), median(call_ns), median(ratios));
    return 0;
}
