// The radio around a stack: its signal, the technologies and bands that it may use, the names and the time that a
// network sends. Runs in the loop.
#pragma once

#include <cstdint>

class Modem;

// Whether the stack's settings let it use a technology (1 GSM, 2 UMTS, 3 LTE).
bool radio_allows(uint32_t sim_id, int32_t rat);

// The stack has registered with a network, or moved to another: it tells its name and the time, and the signal changes.
void radio_registered(Modem& modem, uint32_t sim_id, uint16_t mcc, uint16_t mnc);
