#include "tests/harness/sleeps.h"

#include <unistd.h>

#include <atomic>

namespace {

std::atomic<uint64_t> s_slept{0};

}  // namespace

// A process under ThreadSanitizer would wait a second at its end for races of threads that it leaves running, and call
// one that has ended and is not joined yet a leak.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {  // NOLINT
    return "atexit_sleep_ms=0:report_thread_leaks=0";
}

// glibc frees the thread-local memory of one that has ended when another takes its stack, under a lock that
// ThreadSanitizer does not see.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {  // NOLINT
    return "race:_dl_deallocate_tls\n";
}

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
