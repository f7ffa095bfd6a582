#include "tests/rpc/stubs/hex.h"

#include <cstdio>
#include <sstream>

Bytes hex(std::string_view text) {
    Bytes bytes;
    size_t group = 0;  // where the last bracket opened
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        const size_t star = word.find('*');
        const size_t times = star == std::string::npos ? 1 : std::stoul(word.substr(star + 1));
        const size_t width = word[0] == 'o' ? 1 : word[0] == 'h' ? 2 : word[0] == 'w' ? 4 : 0;
        Bytes item;
        if (word[0] == '(') {
            group = bytes.size();
        } else if (word[0] == ')') {
            item.assign(bytes.begin() + static_cast<long>(group), bytes.end());
            bytes.resize(group);
        } else if (width != 0) {
            const unsigned long value = std::stoul(word.substr(1));
            item = {2, static_cast<uint8_t>(width)};
            for (size_t i = width; i-- > 0;) {
                item.push_back(static_cast<uint8_t>(value >> (8 * i)));
            }
        } else {
            item.push_back(static_cast<uint8_t>(std::stoul(word, nullptr, 16)));
        }
        for (size_t i = 0; i < times; ++i) {
            bytes.insert(bytes.end(), item.begin(), item.end());
        }
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
