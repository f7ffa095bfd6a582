// The strength of the radio signal.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

// The last report's values as the modem gave them (not scaled, as the unsolicited report is). RIL thread.
RIL_SignalStrength_v6 net_read_signal_strength(uint32_t sim_id);
