// The emergency numbers that hold whatever card and network say (3GPP TS 22.101, 10.1).
#pragma once

#include <array>
#include <cstdint>

struct ecc_entry {
    uint8_t category;
    char number[6];  // digits, terminated when there are fewer than 6
};

constexpr std::array<ecc_entry, 7> callmngr_ecc_hardcoded_list = {{
    {0, "000"},
    {0, "911"},
    {0, "999"},
    {0, "008"},
    {0, "112"},
    {0, "118"},
    {0, "08"},
}};
