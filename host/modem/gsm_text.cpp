#include "host/modem/gsm_text.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace {

constexpr char32_t c_escape = 0x1B;
constexpr char32_t c_alphabet[] =
    U"@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞ\x1B"
    U"ÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§¿abcdefghijklmnopqrstuvwxyzäöñüà";
static_assert(std::size(c_alphabet) == 128 + 1);

constexpr struct {
    uint8_t septet;
    char32_t character;
} c_extension[] = {{0x14, U'^'}, {0x28, U'{'}, {0x29, U'}'}, {0x2F, U'\\'}, {0x3C, U'['},
                   {0x3D, U'~'}, {0x3E, U']'}, {0x40, U'|'}, {0x65, U'€'}};

// What is no UTF-8 is taken byte by byte.
std::u32string from_utf8(const std::string& text) {
    std::u32string characters;
    for (size_t i = 0; i < text.size();) {
        const auto first = static_cast<uint8_t>(text[i]);
        const size_t count = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
        char32_t character = count == 1 ? first : first & (0x7FU >> count);
        for (size_t k = 1; k < count && i + k < text.size(); ++k) {
            character = character << 6 | (static_cast<uint8_t>(text[i + k]) & 0x3FU);
        }
        characters += character;
        i += count;
    }
    return characters;
}

void add_utf8(std::string& text, char32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += {static_cast<char>(0xC0U | character >> 6), static_cast<char>(0x80U | (character & 0x3FU))};
    } else {
        text += {static_cast<char>(0xE0U | character >> 12), static_cast<char>(0x80U | (character >> 6 & 0x3FU)),
                 static_cast<char>(0x80U | (character & 0x3FU))};
    }
}

// One or two septets, or none for a character that the alphabet has not.
std::vector<uint8_t> septets_of(char32_t character) {
    for (const auto& row : c_extension) {
        if (row.character == character) {
            return {c_escape, row.septet};
        }
    }
    for (size_t septet = 0; septet < std::size(c_alphabet) - 1; ++septet) {
        if (c_alphabet[septet] == character && character != c_escape) {
            return {static_cast<uint8_t>(septet)};
        }
    }
    return {};
}

std::optional<std::vector<uint8_t>> to_septets(const std::u32string& characters, size_t most) {
    std::vector<uint8_t> septets;
    for (const char32_t character : characters) {
        const std::vector<uint8_t> one = septets_of(character);
        if (one.empty()) {
            return std::nullopt;
        }
        if (septets.size() + one.size() <= most) {
            septets.insert(septets.end(), one.begin(), one.end());
        }
    }
    return septets;
}

std::vector<uint8_t> pack(std::vector<uint8_t> septets) {
    if (septets.size() % 8 == 7) {
        septets.push_back('\r');
    }
    std::vector<uint8_t> octets((septets.size() * 7 + 7) / 8);
    for (size_t bit = 0; bit < septets.size() * 7; ++bit) {
        octets[bit / 8] = static_cast<uint8_t>(octets[bit / 8] | (septets[bit / 7] >> bit % 7 & 1U) << bit % 8);
    }
    return octets;
}

std::string unpack(std::span<const uint8_t> octets) {
    std::vector<uint8_t> septets(octets.size() * 8 / 7);
    for (size_t bit = 0; bit < septets.size() * 7; ++bit) {
        septets[bit / 7] = static_cast<uint8_t>(septets[bit / 7] | (octets[bit / 8] >> bit % 8 & 1U) << bit % 7);
    }
    if (!septets.empty() && septets.size() % 8 == 0 && septets.back() == '\r') {
        septets.pop_back();
    }
    std::string text;
    for (size_t i = 0; i < septets.size(); ++i) {
        char32_t character = c_alphabet[septets[i]];
        if (septets[i] == c_escape && i + 1 < septets.size()) {
            ++i;
            const auto* row = std::find_if(std::begin(c_extension), std::end(c_extension),
                                           [&](const auto& it) { return it.septet == septets[i]; });
            character = row != std::end(c_extension) ? row->character : c_alphabet[septets[i]];
        }
        add_utf8(text, character);
    }
    return text;
}

}  // namespace

CodedText code_text(const std::string& text, size_t most) {
    const std::u32string characters = from_utf8(text);
    if (const auto septets = to_septets(characters, most * 8 / 7)) {
        return {c_dcs_gsm, pack(*septets)};
    }
    CodedText coded{c_dcs_ucs2, {}};
    for (const char32_t character : characters) {
        if (coded.octets.size() + 2 <= most) {
            coded.octets.push_back(static_cast<uint8_t>(character >> 8));
            coded.octets.push_back(static_cast<uint8_t>(character));
        }
    }
    return coded;
}

std::string decode_text(std::span<const uint8_t> octets, uint8_t dcs) {
    switch (dcs & 0x0C) {
        case 0x04:
            return {octets.begin(), octets.end()};
        case 0x08: {
            std::string text;
            for (size_t i = 0; i + 1 < octets.size(); i += 2) {
                add_utf8(text, static_cast<char32_t>(octets[i] << 8 | octets[i + 1]));
            }
            return text;
        }
        default:
            return unpack(octets);
    }
}
