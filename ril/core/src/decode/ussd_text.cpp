#include "ril/core/src/decode/ussd_text.h"

#include <algorithm>
#include <cstring>

#include "ril/core/src/decode/decode.h"

namespace {

constexpr size_t c_septets_of_octet_group = 8;
constexpr uint8_t c_padded_return = 0x1A;  // a carriage return above the one bit of the septet before

// One character of UTF-8 (RFC 3629, clause 3); a half of a surrogate pair is taken for a character of its own.
size_t put_utf8(uint32_t character, char (&out)[3]) {
    constexpr uint32_t c_low_bits = 0x3F;
    if (character < 0x80) {
        out[0] = static_cast<char>(character);
        return 1;
    }
    if (character < 0x800) {
        out[0] = static_cast<char>(0xC0U | character >> 6);
        out[1] = static_cast<char>(0x80U | (character & c_low_bits));
        return 2;
    }
    out[0] = static_cast<char>(0xE0U | character >> 12);
    out[1] = static_cast<char>(0x80U | (character >> 6 & c_low_bits));
    out[2] = static_cast<char>(0x80U | (character & c_low_bits));
    return 3;
}

}  // namespace

size_t ss_pack_chars_to_septets(const char* text, std::span<uint8_t> out) {
    const GsmPacked packed = gsm_pack_text({text, strlen(text)}, out);
    if (packed.octets != 0 && packed.septets % c_septets_of_octet_group == c_septets_of_octet_group - 1) {
        out[packed.octets - 1] |= c_padded_return;
    }
    return packed.octets;
}

size_t ss_unpack_7_bit_char(std::span<const uint8_t> data, std::span<char> out) {
    const size_t written = gsm_unpack_septets(data, 0, {reinterpret_cast<uint8_t*>(out.data()), out.size() - 1});
    out[written] = '\0';
    return written;
}

size_t ss_util_text_from_ucs2(std::span<const uint8_t> data, std::span<char> out) {
    size_t written = 0;
    for (size_t i = 0; i + 1 < data.size(); i += 2) {
        char bytes[3];
        const size_t count = put_utf8(uint32_t{data[i]} << 8 | data[i + 1], bytes);
        if (written + count >= out.size()) {
            break;
        }
        memcpy(&out[written], bytes, count);
        written += count;
    }
    out[written] = '\0';
    return written;
}

size_t ss_copy_text(std::span<const uint8_t> data, std::span<char> out) {
    const size_t written = std::min(data.size(), out.size() - 1);
    memcpy(out.data(), data.data(), written);
    out[written] = '\0';
    return written;
}
