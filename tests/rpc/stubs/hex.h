// Bytes written as text: pairs of hex digits, any white space between them, XX*N for N times the same byte, ( ... )*N
// for N times what is in the brackets; o1, h1, w1 for the numbers 02 01 01, 02 02 00 01, 02 04 00 00 00 01.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<uint8_t>;

Bytes hex(std::string_view text);
std::string to_text(const Bytes& bytes);
