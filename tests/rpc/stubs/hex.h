// Bytes written as text: pairs of hex digits, any white space between them, XX*N for N times the same byte.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<uint8_t>;

Bytes hex(std::string_view text);
std::string to_text(const Bytes& bytes);
