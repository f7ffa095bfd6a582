// The emergency numbers of the card, EF_ECC (3GPP TS 31.102, 4.2.21), and the property that tells Android of them.
// RIL thread unless it says otherwise. The list itself is for calls: call/ecc_list.h.
#pragma once

#include <cstdint>

// Start values.
void sim_ecc_init(uint32_t sim_id);

// Starts to read the emergency numbers on a context whose private area was made by qelril_create_multi_mod_priv. The
// context is the reading's from here on.
void sim_ecc_file_properties(uint32_t sim_id, uint32_t ctxt_id);

// Adds a number to a text of numbers between commas if it is not there: 0, or 1 with no room left. `list` has room for
// c_ecc_list_size characters. Any thread.
constexpr uint32_t c_ecc_list_size = 92;
int32_t sim_check_if_ecc_entry_already_available_else_update(char* list, const char* number);
