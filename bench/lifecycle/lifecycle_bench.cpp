// How long the library's start and its restarts take, less the waits that it has to keep: the process's sleeps take no
// time here, and are added up to show that they were asked for. One process for each start of RIL_Init.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>

#include "tests/harness/phone.h"
#include "tests/harness/sleeps.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t c_processes = 25;
constexpr size_t c_restarts = 20;  // in each

// The results of all processes, in milliseconds, the last in microseconds.
struct Results {
    double init[c_processes];
    double restart[c_processes][c_restarts];
    double spoofed[c_processes];  // one request, the harness's record of its answer included
    uint64_t slept;               // microseconds, of the last start
};

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

void measure(Results& results, size_t process) {
    Phone phone;
    std::atomic<bool> is_on_its_way{false};
    Clock::time_point radio_state;  // written before is_on_its_way
    phone.android.set_observer({{}, [&](int number, const void*, size_t) {
                                    if (number == RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED && is_on_its_way) {
                                        radio_state = Clock::now();
                                        is_on_its_way = false;
                                    }
                                }});
    phone.bring_up();
    results.init[process] = milliseconds(phone.init_time());
    for (double& restart : results.restart[process]) {
        phone.event(0xB1000000);
        phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));  // the end is over
        phone.android.reset();
        phone.modem.take_received();
        harness_take_slept();
        is_on_its_way = true;
        const Clock::time_point up = Clock::now();
        phone.event(0xB2000000);
        ASSERT_TRUE(soon([&] { return !is_on_its_way; }));
        restart = milliseconds(radio_state - up);
        results.slept = harness_take_slept();
    }
    phone.event(0xB1000000);
    phone.wait_radio_state(RADIO_STATE_UNAVAILABLE);
    constexpr int c_requests = 1000;
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < c_requests; ++i) {
        phone.request(RIL_REQUEST_DIAL, nullptr, 0);
    }
    results.spoofed[process] = milliseconds(Clock::now() - start) / c_requests * 1000;
}

void print(const char* what, const char* unit, double* first, double* last) {
    std::sort(first, last);
    printf("%-32s median %6.2f %s, least %6.2f, most %6.2f, of %td\n", what, first[(last - first) / 2], unit, *first,
           last[-1], last - first);
}

}  // namespace

int main() {
    auto* results = static_cast<Results*>(
        mmap(nullptr, sizeof(Results), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (results == MAP_FAILED) {
        return 1;
    }
    for (size_t process = 0; process < c_processes; ++process) {
        in_own_process([&] { measure(*results, process); });
    }
    printf("less the waits of %.3f s:\n", static_cast<double>(results->slept) / 1e6);
    print("RIL_Init to its return", "ms", results->init, results->init + c_processes);
    print("E_MODEM_UP to the radio's state", "ms", results->restart[0], results->restart[0] + c_processes * c_restarts);
    print("a request without a modem", "us", results->spoofed, results->spoofed + c_processes);
    return testing::Test::HasFailure() ? 1 : 0;
}
