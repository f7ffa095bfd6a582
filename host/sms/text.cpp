#include <algorithm>

#include "host/sms/message.h"

namespace sms {

namespace {

// 3GPP TS 23.038, 6.2.1 and 6.2.1.1. The escape stands for itself.
constexpr std::u32string_view c_alphabet =
    U"@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞ\x1BÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§¿"
    U"abcdefghijklmnopqrstuvwxyzäöñüà";
static_assert(c_alphabet.size() == 128);
constexpr uint8_t c_escape = 0x1B;

struct Extension {
    uint8_t code;
    char32_t character;
};
constexpr Extension c_extensions[] = {{0x0A, U'\f'}, {0x14, U'^'}, {0x28, U'{'}, {0x29, U'}'}, {0x2F, U'\\'},
                                      {0x3C, U'['},  {0x3D, U'~'}, {0x3E, U']'}, {0x40, U'|'}, {0x65, U'€'}};

constexpr size_t c_octets = 140;
constexpr size_t c_header_octets = 6;  // its length and a concatenation with a reference of 8 bits (9.2.3.24.1)
constexpr uint8_t c_dcs_ucs2 = 8;
constexpr uint8_t c_dcs_7bit = 0;

enum class Coding { SEPTETS, OCTETS, UCS2 };

// 3GPP TS 23.038, clause 4.
Coding coding_of(uint8_t dcs) {
    const uint8_t group = dcs >> 4;
    if (group < 4) {
        const uint8_t alphabet = dcs >> 2 & 3;
        return alphabet == 2 ? Coding::UCS2 : alphabet == 0 ? Coding::SEPTETS : Coding::OCTETS;
    }
    if (group == 0xE) {
        return Coding::UCS2;
    }
    return group == 0xF && (dcs & 4) != 0 ? Coding::OCTETS : Coding::SEPTETS;
}

void append_utf8(std::string& text, char32_t c) {
    if (c < 0x80) {
        text += static_cast<char>(c);
        return;
    }
    const unsigned more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    text += static_cast<char>((0xF0U << (3 - more) & 0xF0U) | c >> 6 * more);
    for (unsigned i = more; i > 0; --i) {
        text += static_cast<char>(0x80U | (c >> 6 * (i - 1) & 0x3FU));
    }
}

std::u16string units_of(std::u32string_view text) {
    std::u16string units;
    for (const char32_t c : text) {
        if (c >= 0x10000) {
            units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        } else {
            units += static_cast<char16_t>(c);
        }
    }
    return units;
}

// The ends of the parts of a text of so many units, none of which is cut behind a unit that goes on.
template <typename Units, typename GoesOn>
std::vector<Units> cut(const Units& units, size_t whole, size_t part, GoesOn goes_on) {
    if (units.size() <= whole) {
        return {units};
    }
    std::vector<Units> parts;
    for (size_t at = 0; at < units.size();) {
        size_t end = std::min(at + part, units.size());
        end -= end < units.size() && goes_on(units[end - 1]) ? 1 : 0;
        parts.emplace_back(units.begin() + static_cast<std::ptrdiff_t>(at),
                           units.begin() + static_cast<std::ptrdiff_t>(end));
        at = end;
    }
    return parts;
}

Octets header_of(uint8_t reference, size_t total, size_t number) {
    return {5, 0, 3, reference, static_cast<uint8_t>(total), static_cast<uint8_t>(number)};
}

size_t header_size(const UserData& data) {
    return data.has_header && !data.octets.empty() ? data.octets[0] + size_t{1} : 0;
}

std::string septets_to_text(const UserData& data) {
    const size_t header = (header_size(data) * 8 + 6) / 7;
    std::string text;
    bool escaped = false;
    for (size_t i = header; i < data.length; ++i) {
        const size_t bit = 7 * i;
        if (bit / 8 >= data.octets.size()) {
            break;
        }
        const unsigned high = bit / 8 + 1 < data.octets.size() ? data.octets[bit / 8 + 1] : 0;
        const auto code = static_cast<uint8_t>((data.octets[bit / 8] | high << 8) >> bit % 8 & 0x7F);
        if (escaped) {
            const auto* const found = std::find_if(std::begin(c_extensions), std::end(c_extensions),
                                                   [code](const Extension& row) { return row.code == code; });
            append_utf8(text, found != std::end(c_extensions) ? found->character : c_alphabet[code]);
            escaped = false;
        } else if (code == c_escape) {
            escaped = true;
        } else {
            append_utf8(text, c_alphabet[code]);
        }
    }
    return text;
}

std::string ucs2_to_text(std::span<const uint8_t> octets) {
    std::string text;
    char32_t high = 0;
    for (size_t i = 0; i + 1 < octets.size(); i += 2) {
        const char32_t unit = static_cast<char32_t>(octets[i]) << 8 | octets[i + 1];
        if (unit >> 10 == 0x36) {
            high = unit;
        } else if (unit >> 10 == 0x37 && high != 0) {
            append_utf8(text, 0x10000 + ((high & 0x3FF) << 10 | (unit & 0x3FF)));
            high = 0;
        } else {
            append_utf8(text, unit);
        }
    }
    return text;
}

}  // namespace

std::u32string characters_of(std::string_view text) {
    std::u32string result;
    for (size_t i = 0; i < text.size();) {
        const auto first = static_cast<uint8_t>(text[i++]);
        unsigned more = first < 0xC0 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
        char32_t c = more == 0 ? first : first & 0x3FU >> more;
        for (; more > 0 && i < text.size(); --more) {
            c = c << 6 | (static_cast<uint8_t>(text[i++]) & 0x3FU);
        }
        result += c;
    }
    return result;
}

std::optional<Octets> septets_of(std::u32string_view text) {
    Octets septets;
    for (const char32_t c : text) {
        const auto* const extension = std::find_if(std::begin(c_extensions), std::end(c_extensions),
                                                   [c](const Extension& row) { return row.character == c; });
        if (extension != std::end(c_extensions)) {
            septets.push_back(c_escape);
            septets.push_back(extension->code);
            continue;
        }
        const size_t code = c_alphabet.find(c);
        if (code == std::u32string_view::npos || code == c_escape) {
            return {};
        }
        septets.push_back(static_cast<uint8_t>(code));
    }
    return septets;
}

Octets pack(std::span<const uint8_t> septets, size_t first_bit) {
    Octets octets((first_bit + 7 * septets.size() + 7) / 8);
    size_t bit = first_bit;
    for (const uint8_t septet : septets) {
        for (unsigned i = 0; i < 7; ++i, ++bit) {
            octets[bit / 8] = static_cast<uint8_t>(octets[bit / 8] | (septet >> i & 1U) << bit % 8);
        }
    }
    return octets;
}

std::vector<UserData> user_data_of(std::string_view text, uint8_t reference) {
    const std::u32string characters = characters_of(text);
    std::vector<UserData> all;
    if (const auto septets = septets_of(characters)) {
        constexpr size_t c_header_septets = (c_header_octets * 8 + 6) / 7;
        const auto parts = cut(*septets, c_octets * 8 / 7, c_octets * 8 / 7 - c_header_septets,
                               [](uint8_t c) { return c == c_escape; });
        for (const Octets& part : parts) {
            const bool alone = parts.size() == 1;
            Octets octets = pack(part, alone ? 0 : 7 * c_header_septets);
            const Octets header = alone ? Octets{} : header_of(reference, parts.size(), all.size() + 1);
            for (size_t i = 0; i < header.size(); ++i) {
                octets[i] = static_cast<uint8_t>(octets[i] | header[i]);
            }
            const size_t length = part.size() + (alone ? 0 : c_header_septets);
            all.push_back({c_dcs_7bit, !alone, static_cast<uint8_t>(length), octets});
        }
        return all;
    }
    const auto parts = cut(units_of(characters), c_octets / 2, (c_octets - c_header_octets) / 2,
                           [](char16_t c) { return c >> 10 == 0x36; });
    for (const std::u16string& part : parts) {
        const bool alone = parts.size() == 1;
        Octets octets = alone ? Octets{} : header_of(reference, parts.size(), all.size() + 1);
        for (const char16_t unit : part) {
            octets.push_back(static_cast<uint8_t>(unit >> 8));
            octets.push_back(static_cast<uint8_t>(unit));
        }
        all.push_back({c_dcs_ucs2, !alone, static_cast<uint8_t>(octets.size()), octets});
    }
    return all;
}

std::string text_of(const UserData& data) {
    const std::span<const uint8_t> octets = data.octets;
    const std::span<const uint8_t> content = octets.subspan(std::min(header_size(data), octets.size()));
    switch (coding_of(data.dcs)) {
        case Coding::SEPTETS:
            return septets_to_text(data);
        case Coding::UCS2:
            return ucs2_to_text(content);
        default:
            return hex_of(content);
    }
}

// 9.2.3.24.1; elements of another kind are passed over.
std::optional<Part> part_of(const UserData& data) {
    const size_t end = std::min(header_size(data), data.octets.size());
    for (size_t at = 1; at + 1 < end; at += 2 + data.octets[at + 1]) {
        if (data.octets[at] == 0 && data.octets[at + 1] == 3 && at + 4 < end) {
            return Part{data.octets[at + 2], data.octets[at + 3], data.octets[at + 4]};
        }
    }
    return {};
}

std::string hex_of(std::span<const uint8_t> octets) {
    constexpr std::string_view c_digits = "0123456789ABCDEF";
    std::string text;
    for (const uint8_t octet : octets) {
        text += c_digits[octet >> 4];
        text += c_digits[octet & 15];
    }
    return text;
}

std::optional<Octets> octets_of(std::string_view hex) {
    Octets octets;
    if (hex.size() % 2 != 0) {
        return {};
    }
    for (size_t i = 0; i < hex.size(); i += 2) {
        unsigned value = 0;
        for (const char c : hex.substr(i, 2)) {
            const size_t digit =
                std::string_view("0123456789abcdef").find(static_cast<char>(c | (c >= 'A' ? 0x20 : 0)));
            if (digit == std::string_view::npos) {
                return {};
            }
            value = value << 4 | static_cast<unsigned>(digit);
        }
        octets.push_back(static_cast<uint8_t>(value));
    }
    return octets;
}

}  // namespace sms
