// What other services of the modem know of packet data. Runs in the loop.
#pragma once

#include <cstdint>

class Modem;

// A call on GSM takes the radio, or gives it back: packet service rests meanwhile (3GPP TS 23.060, 16.2.1). Tells the
// phone of a change.
void packet_service_rests(Modem& modem, uint32_t sim_id, bool rests);

// Whether the stack has a context that is active, so that packets can go.
bool packet_data_is_active(uint32_t sim_id);
