// The process's sleeps take no time; they are counted instead.
#pragma once

#include <cstdint>

// Microseconds that sleep and usleep were asked for since the last call.
uint64_t harness_take_slept();
