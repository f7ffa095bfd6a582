// Cell broadcast texts: pages of 82 octets (3GPP TS 23.041, 9.4.1.2.4) in the coding schemes of 3GPP TS 23.038,
// clause 5. Network names come in the same schemes.
#include <algorithm>

#include "ril/core/src/decode/decode.h"
#include "ril/core/src/decode/gsm_tables.h"

namespace {

// Fifteen pages and room to spare.
constexpr size_t c_max_septets = 1456;
constexpr size_t c_page_septets = 93;

// The language in front of every page: two letters and a carriage return in 7-bit text, two octets in front of UCS2.
constexpr size_t c_language_septets = 3;
constexpr size_t c_language_bits = 7 * c_language_septets;

size_t unpack_pages(std::span<const uint8_t> packed, uint32_t language_mode, std::span<uint8_t> septets) {
    const bool has_language = language_mode == DECODE_LANGUAGE_INDICATOR;
    const size_t per_page = has_language ? c_page_septets - c_language_septets : c_page_septets;
    size_t count = 0;
    for (size_t page = 0; page < packed.size() && count < septets.size(); page += c_cbs_page_octets) {
        const std::span<uint8_t> room = septets.subspan(count, std::min(per_page, septets.size() - count));
        count += gsm_unpack_septets(packed.subspan(page), has_language ? c_language_bits : 0, room);
    }
    return count;
}

size_t length_without_padding(std::span<const uint8_t> septets) {
    const auto is_padding = [](uint8_t first, uint8_t second) {
        return first == c_gsm_carriage_return && second == c_gsm_carriage_return;
    };
    const auto padding = std::adjacent_find(septets.begin(), septets.end(), is_padding);
    return static_cast<size_t>(padding - septets.begin()) + (padding != septets.end() ? 1 : 0);
}

size_t copy_octets(std::span<const uint8_t> octets, std::span<uint16_t> out) {
    const size_t length = std::min(octets.size(), out.size());
    std::copy_n(octets.begin(), length, out.begin());
    return length;
}

void end_text(std::span<uint16_t> out, size_t length) {
    if (length < out.size()) {
        out[length] = 0;
    }
}

enum class Decoder { none, septets, ucs2, ucs2_with_language, octets };

Decoder decoder_of(uint8_t coding_scheme) {
    const uint8_t low = coding_scheme & 0x0F;
    switch (coding_scheme >> 4) {
        case 0:  // a language of the list
            return low == 0 || low == 1 || low == 15 ? Decoder::septets : Decoder::none;
        case 1:  // the text begins with its language
            return low == 0 ? Decoder::septets : low == 1 ? Decoder::ucs2_with_language : Decoder::none;
        case 15:  // message class and alphabet
            return (coding_scheme & 0x04) == 0 ? Decoder::septets : Decoder::octets;
        default:
            break;
    }
    if ((coding_scheme & 0x60) != 0x40) {
        return Decoder::none;
    }
    switch (coding_scheme & 0x0C) {  // the alphabet of general data coding
        case 0x00:
            return Decoder::septets;
        case 0x08:
            return Decoder::ucs2;
        default:
            return Decoder::none;
    }
}

}  // namespace

void cbs_UnpackSeptetMessage(std::span<uint16_t> out, size_t* out_length, std::span<const uint8_t> packed,
                             uint32_t language_mode, bool escape, uint32_t character_set) {
    if (out.data() == nullptr || out_length == nullptr || packed.data() == nullptr) {
        return;
    }
    std::array<uint8_t, c_max_septets> buffer;
    std::span<const uint8_t> septets(buffer.data(), unpack_pages(packed, language_mode, buffer));
    septets = septets.first(length_without_padding(septets));
    if (is_gsmconversion_needed(character_set) != 0) {
        gsm7_defaultString_toUnicodeString(septets, out, out_length, escape);
    } else {
        *out_length = copy_octets(septets, out);
    }
    end_text(out, *out_length);
}

void decode_ucs2(std::span<uint16_t> out, size_t* out_length, std::span<const uint8_t> data, uint32_t language_mode) {
    const bool has_language = language_mode == DECODE_LANGUAGE_INDICATOR;
    size_t length = 0;
    for (size_t position = 0; position + 1 < data.size() && length < out.size(); position += 2) {
        if (has_language && position % c_cbs_page_octets == 0) {
            continue;  // the language, as wide as a character
        }
        const uint16_t character = static_cast<uint16_t>(data[position] << 8 | data[position + 1]);
        if (character == 0 && length > 0 && out[length - 1] == '\r') {
            --length;
            break;
        }
        out[length++] = character;
    }
    if (out_length != nullptr) {
        *out_length = length;
    }
}

uint32_t decode_gsm(std::span<uint16_t> out, uint8_t coding_scheme, std::span<const uint8_t> data, size_t* out_length,
                    bool escape, uint32_t* kind, uint32_t character_set) {
    const bool has_buffers = out.data() != nullptr && data.data() != nullptr;
    const Decoder decoder = has_buffers ? decoder_of(coding_scheme) : Decoder::none;
    size_t length = 0;
    switch (decoder) {
        case Decoder::none:
            break;
        case Decoder::septets:
            cbs_UnpackSeptetMessage(out, &length, data, DECODE_LANGUAGE_NONE, escape, character_set);
            break;
        case Decoder::ucs2:
            decode_ucs2(out, &length, data, DECODE_LANGUAGE_NONE);
            break;
        case Decoder::ucs2_with_language:
            decode_ucs2(out, &length, data, DECODE_LANGUAGE_INDICATOR);
            break;
        case Decoder::octets:
            length = copy_octets(data, out);
            break;
    }
    if (out_length != nullptr) {
        *out_length = length;
    }
    if (decoder == Decoder::none) {
        return 0;
    }
    end_text(out, length);
    if (kind != nullptr && decoder != Decoder::octets) {
        *kind = decoder == Decoder::septets ? DECODE_KIND_GSM : DECODE_KIND_UCS2;
    }
    return 1;
}
