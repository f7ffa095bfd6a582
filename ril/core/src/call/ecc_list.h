// Lists of emergency numbers, and what the card tells about its own (EF_ECC, 3GPP TS 31.102, 4.2.21).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ril/core/src/call/ecc_hardcoded.h"

constexpr size_t c_ecc_entries = 10;

struct ecc_list {
    uint8_t count;  // valid entries; a list with more than it has room for is not looked at
    std::array<ecc_entry, c_ecc_entries> entries;
};

// The card's list, or null, and how many of its entries count: its own `count` is not used. RIL thread.
const ecc_list* sim_get_ecc_list(uint32_t sim_id);
uint32_t sim_get_ecc_records(uint32_t sim_id);
