#include "tests/rpc/stubs/hex.h"

#include <cstdio>
#include <sstream>

Bytes hex(std::string_view text) {
    Bytes bytes;
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        const size_t star = word.find('*');
        const size_t times = star == std::string::npos ? 1 : std::stoul(word.substr(star + 1));
        bytes.insert(bytes.end(), times, static_cast<uint8_t>(std::stoul(word.substr(0, star), nullptr, 16)));
    }
    return bytes;
}

std::string to_text(const Bytes& bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[4];
        snprintf(digits, sizeof(digits), "%02X ", byte);
        text += digits;
    }
    return text;
}
