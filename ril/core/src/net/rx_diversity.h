// Receive diversity and the receiver's DARP setting (3GPP TS 24.008, 10.5.1.7, downlink advanced receiver performance).
#pragma once

#include <cstdint>

constexpr uint16_t c_darp_none = 0xFFFF;

// Sends both to the modem: `rx_diversity` 1 is on, `darp` may be c_darp_none. 0 once it is on its way, or -1. RIL
// thread or modem event thread.
int32_t configure_rx_diversity_darp(uint32_t sim_id, uint32_t rx_diversity, uint16_t darp);
