// What the module's files share. Nobody outside the module includes this.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

void stk_forget_profile(uint32_t sim_id);

// Octets of hexadecimal text: 0, or -1 for an odd length, more octets than `out` has or a character that is no digit.
int32_t stk_octets_of(const char* text, std::span<uint8_t> out, size_t* length);
