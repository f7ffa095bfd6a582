// The radio around a stack: its signal, the technologies and bands that it may use, the names and the time that a
// network sends. Runs in the loop.
#pragma once

#include <cstddef>
#include <cstdint>

class Modem;

// Whether the stack's settings let it use a technology (1 GSM, 2 UMTS, 3 LTE).
bool radio_allows(uint32_t sim_id, int32_t rat);

// The stack has registered with a network, or moved to another: it tells its name and the time, and the signal changes.
void radio_registered(Modem& modem, uint32_t sim_id, uint16_t mcc, uint16_t mnc);

// Sites with a cell of each of a network's technologies, along the way of a walk. The nearest one serves the stack, and
// its level is the stack's signal: decibels above the lowest that is told (3GPP TS 45.008, 8.1.4; 25.133, 9.1.1.3).
constexpr size_t c_sites = 3;
size_t serving_site(uint32_t sim_id);
uint8_t level_of_site(uint32_t sim_id, size_t site);  // 0: too far away
