// The process's sleeps take no time; they are counted instead. A sleep of an hour or more is meant to last: it has no
// end.
#pragma once

#include <cstdint>

// Microseconds that sleep and usleep were asked for since the last call.
uint64_t harness_take_slept();
