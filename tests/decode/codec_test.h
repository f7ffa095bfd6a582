// What the tests of the codecs share: hexadecimal vectors, and a packer that goes bit by bit. Buffers are heap blocks
// of the exact size, so that a sanitizer sees one element too many. of the exact size, so that a sanitizer sees one
// element too many.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline Bytes hex(std::string_view text) {
    Bytes bytes(text.size() / 2);
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(std::stoi(std::string(text.substr(2 * i, 2)), nullptr, 16));
    }
    return bytes;
}

// Septets from bit `first_bit` on, each one least significant bit first (3GPP TS 23.038, 6.1.2.1.1).
inline Bytes pack_bit_by_bit(const Bytes& septets, size_t first_bit = 0) {
    Bytes octets((first_bit + septets.size() * 7 + 7) / 8);
    for (size_t bit = 0; bit < septets.size() * 7; ++bit) {
        if ((septets[bit / 7] >> (bit % 7) & 1) != 0) {
            octets[(first_bit + bit) / 8] |= static_cast<uint8_t>(1U << ((first_bit + bit) % 8));
        }
    }
    return octets;
}

inline std::u16string text_of(const uint16_t* text, size_t length) {
    return {text, text + length};
}
