// What the tests of the codecs share: hexadecimal vectors, as heap blocks of the exact size, so that a sanitizer sees
// one element too many.
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

inline std::u16string text_of(const uint16_t* text, size_t length) {
    return {text, text + length};
}
