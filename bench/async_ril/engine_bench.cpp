// What the engine adds to a hand-off between two threads.
//   engine_bench              the ratios
//   engine_bench requests N   N requests, to count instructions with a profiler
#include <semaphore.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "bench/paired.h"
#include "ril/config/ril_config.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/gate.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/system_manager/system_manager.h"
#include "rpc/multi-client/rpc-stubs/ril/transport.h"

// The rooms around the engine, empty.
void on_request_handler(uint32_t, int32_t, void*, size_t, RIL_Token) {}
int32_t modem_init() {
    return 0;
}
int32_t module_exit() {
    return 0;
}
void mehHandler(uint32_t) {}
void modem_events_start() {}
uint32_t RPCMakeContextId() {
    return 0x20000100;
}
uint32_t getLastModemEvent() {
    return E_MODEM_UP;
}
uint32_t mmgr_get_spoof_command_state() {
    return 0;
}
int32_t sim_get_sim_status(uint32_t) {
    return SIM_STATUS_SIM_ABSENT;
}
void handleRequestNoModem(uint32_t, int32_t, void*, size_t, RIL_Token) {}
void saveNetPrefInfo(uint32_t, int32_t, void*, size_t, RIL_Token) {}
int32_t ril_config_init(int, char**) {
    return 0;
}
uint32_t RegisterRPCClient(void (*)(uint32_t)) {
    return 0;
}

namespace {

// Two threads, two semaphores: the least that a hand-off and its answer cost.
class BareHandOff {
public:
    BareHandOff() {
        sem_init(&go_, 0, 0);
        sem_init(&done_, 0, 0);
        worker_ = std::thread([this] {
            for (sem_wait(&go_); !end_; sem_wait(&go_)) {
                sem_post(&done_);
            }
        });
    }
    ~BareHandOff() {
        end_ = true;
        sem_post(&go_);
        worker_.join();
    }
    void run(int operations) {
        for (int i = 0; i < operations; ++i) {
            sem_post(&go_);
            sem_wait(&done_);
        }
    }

private:
    sem_t go_, done_;
    bool end_ = false;
    std::thread worker_;
};

void post_requests(int operations) {
    for (int i = 0; i < operations; ++i) {
        qelril_post_request(0, RIL_REQUEST_OPERATOR, nullptr, 0, nullptr);
    }
}

// Context switches of the whole process while everybody is idle.
long wake_ups_in_an_idle_second() {
    rusage before{};
    rusage after{};
    usleep(50000);  // until everybody sleeps
    getrusage(RUSAGE_SELF, &before);
    sleep(1);
    getrusage(RUSAGE_SELF, &after);
    return after.ru_nvcsw - before.ru_nvcsw - 1;  // this thread's own sleep
}

}  // namespace

int main(int argc, char** argv) {
    struct sigaction action {};
    action.sa_handler = qelril_signal_handler;
    sigaction(SIGUSR1, &action, nullptr);
    if (argc == 3 && strcmp(argv[1], "requests") == 0) {
        qelril_init();
        post_requests(atoi(argv[2]));
        qelril_destroy();
        return 0;
    }

    const double start_stop = time_ns(
        [](int operations) {
            for (int i = 0; i < operations; ++i) {
                qelril_init();
                qelril_destroy();
            }
        },
        500);
    std::printf("%-48s %10.1f us\n", "engine start and stop", start_stop / 1000);

    qelril_init();
    BareHandOff bare;
    std::printf("%-48s %10ld\n", "wake-ups in an idle second", wake_ups_in_an_idle_second());
    const PairedResult result = measure_pairs(
        post_requests, [&](int operations) { bare.run(operations); }, 20000, 31);
    print_pairs("post, empty handler, return / bare hand-off", result);
    qelril_destroy();
    return 0;
}
