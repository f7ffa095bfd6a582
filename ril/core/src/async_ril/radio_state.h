// The radio state that Android sees, per SIM: off, unavailable or on.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

// RADIO_STATE_UNAVAILABLE until the modem first answers, and whenever it is away. Any thread.
RIL_RadioState get_radio_state(uint32_t sim_id);

// Stores a state and, if it is a new one, tells Android. RIL thread or modem event thread.
void set_radio_state(uint32_t sim_id, RIL_RadioState state);

// Both SIMs to RADIO_STATE_UNAVAILABLE, without a word to Android. Modem event thread.
void radio_state_start();
