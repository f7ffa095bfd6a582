// Early release of the radio connection (3GPP TS 25.331, 8.1.14, signalling connection release indication).
#pragma once

#include <cstdint>

constexpr int32_t c_fdor_on = 1;
constexpr int32_t c_fdor_off = 2;

// Sets the modem's fast dormancy; the timers are in seconds, and 0 keeps the modem's own. 0 or -1. RIL thread.
int32_t net_set_fast_dormancy(uint32_t sim_id, int32_t mode, uint8_t delay, uint8_t scri);
