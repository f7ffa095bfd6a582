// A small cache of the PIN, kept with the identity of the card that it belongs to, for a caller outside of the library.
// The values lie in properties in plain text: no cipher is part of this, whatever two of the names say. No PIN reaches
// the log.
//
// Any thread, silent_pin_entry any but the RIL thread. A `sim` other than 0 counts as 1. Buffers that take a PIN have
// room for PROPERTY_VALUE_MAX bytes.
#pragma once

#include <cstdint>

extern "C" {
#pragma GCC visibility push(default)

// Whether the PIN shall be used: set to 1 or cleared, 0 or -1; 0 if it is set and -1 otherwise.
int32_t set_use_cached_pin(uint32_t sim, int32_t value);
int32_t get_use_cached_pin(uint32_t sim);

// Forgets identity and PIN. 0 or -1.
int32_t cached_clear(uint32_t sim);

// Stores the PIN alone, 0 or -1, and reads it: 0; -1 without a buffer, -4 with none stored.
int32_t encrypt(uint32_t sim, const char* pin);
int32_t decrypt(uint32_t sim, char* pin);

// Stores the PIN of the card with this identity. 0 or -1.
int32_t pin_cache_store(uint32_t sim, const char* uicc, const char* pin);

// Reads the PIN of that card: 0; -2 for bad arguments or another card's PIN, -4 with none stored.
int32_t get_cached_pin(uint32_t sim, const char* uicc, char* pin);

// Enters the stored PIN if it is the present card's. Blocks until the modem has it; Android hears nothing of it.
void silent_pin_entry(uint32_t sim);

// One PIN in memory, of up to 8 characters; the default is none. Nobody else writes it while it is read.
void store_sim_pin(const char* pin);
char* get_sim_pin();
void reset_pin_to_default();

#pragma GCC visibility pop
}
