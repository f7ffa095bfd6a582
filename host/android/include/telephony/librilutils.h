// Helpers of the telephony platform.
#pragma once

#include <stdint.h>

extern "C" {
#pragma GCC visibility push(default)

// Nanoseconds since boot, time asleep included: the clock of RIL_CellInfo's time stamps. Any thread.
uint64_t ril_nano_time(void);

#pragma GCC visibility pop
}
