#include <telephony/librilutils.h>
#include <time.h>

uint64_t ril_nano_time() {
    constexpr uint64_t c_nanoseconds = 1'000'000'000;
    timespec now = {};
    if (clock_gettime(CLOCK_BOOTTIME, &now) != 0) {
        clock_gettime(CLOCK_MONOTONIC, &now);
    }
    return static_cast<uint64_t>(now.tv_sec) * c_nanoseconds + static_cast<uint64_t>(now.tv_nsec);
}
