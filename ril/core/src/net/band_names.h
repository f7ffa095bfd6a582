// Names of the modem's band numbers (3GPP TS 45.005, 2 and TS 25.101, 5.2).
#pragma once

#include <cstdint>

// The name, or null for a number without one. Any thread.
const char* net_band_name(uint32_t band);
