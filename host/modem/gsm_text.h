// Texts as the network codes them: the 7-bit default alphabet (3GPP TS 23.038, 6.2.1) packed as for USSD, and UCS2.
// Text outside is UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

constexpr uint8_t c_dcs_gsm = 0x0F;
constexpr uint8_t c_dcs_ucs2 = 0x48;

struct CodedText {
    uint8_t dcs;
    std::vector<uint8_t> octets;
};

// In 7 bits where the alphabet has every character, else in UCS2; as much as fits in `most` octets.
CodedText code_text(const std::string& text, size_t most);

// By the scheme: 7 bits, octets or UCS2. The return that fills the last octet is no part of the text.
std::string decode_text(std::span<const uint8_t> octets, uint8_t dcs);
