#include "tests/harness/sleeps.h"

#include <unistd.h>

#include <atomic>

namespace {

std::atomic<uint64_t> s_slept{0};

}  // namespace

uint64_t harness_take_slept() {
    return s_slept.exchange(0);
}

extern "C" __attribute__((visibility("default"))) unsigned sleep(unsigned seconds) {
    s_slept += uint64_t{seconds} * 1000000;
    constexpr unsigned c_for_ever = 3600;
    if (seconds < c_for_ever) {
        return 0;
    }
    for (;;) {
        pause();
    }
}

extern "C" __attribute__((visibility("default"))) int usleep(useconds_t microseconds) {
    s_slept += microseconds;
    return 0;
}
