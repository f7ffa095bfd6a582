// Septets in octets: 3GPP TS 23.038, 6.1.2.1, the least significant bit first, eight septets in seven octets.
#include <algorithm>
#include <bit>
#include <cstring>

#include "ril/core/src/decode/decode.h"
#include "ril/core/src/decode/gsm_tables.h"

namespace {

constexpr size_t c_septet_bits = 7;
constexpr size_t c_octet_bits = 8;
constexpr uint8_t c_septet_mask = 0x7F;

// A block is eight septets, that is 56 bits: in a word one behind the other, or one in each byte.
constexpr size_t c_block_septets = 8;
constexpr size_t c_block_octets = 7;
constexpr uint64_t c_extension_flags = 0x0101010101010101U * c_extension_flag;
static_assert(std::endian::native == std::endian::little, "a block's first byte is its word's lowest");

uint64_t spread_block(uint64_t word) {
    word = ((word & 0x00FFFFFFF0000000U) << 4U) | (word & 0x000000000FFFFFFFU);
    word = ((word & 0x0FFFC0000FFFC000U) << 2U) | (word & 0x00003FFF00003FFFU);
    return ((word & 0x3F803F803F803F80U) << 1U) | (word & 0x007F007F007F007FU);
}

uint64_t gather_block(uint64_t word) {
    word = ((word & 0x7F007F007F007F00U) >> 1U) | (word & 0x007F007F007F007FU);
    word = ((word & 0x3FFF00003FFF0000U) >> 2U) | (word & 0x00003FFF00003FFFU);
    return ((word & 0x0FFFFFFF00000000U) >> 4U) | (word & 0x000000000FFFFFFFU);
}

// The GSM codes of the next eight characters, one in each byte, those of the extension table flagged.
uint64_t encode_block(const char* text) {
    uint64_t codes = 0;
    for (size_t i = 0; i < c_block_septets; ++i) {
        codes |= static_cast<uint64_t>(c_latin_to_gsm[static_cast<uint8_t>(text[i])]) << (i * c_octet_bits);
    }
    return codes;
}

// Writes septets one behind the other. Fewer than eight bits wait in `pending` between two calls.
struct SeptetWriter {
    std::span<uint8_t> out;
    size_t octets = 0;
    size_t septets = 0;
    size_t pending_bits = 0;
    uint64_t pending = 0;

    bool has_room(size_t count) const { return (septets + count) * c_septet_bits <= out.size() * c_octet_bits; }

    void put(uint8_t septet) {
        pending |= static_cast<uint64_t>(septet) << pending_bits;
        pending_bits += c_septet_bits;
        ++septets;
        if (pending_bits >= c_octet_bits) {
            out[octets++] = static_cast<uint8_t>(pending);
            pending >>= c_octet_bits;
            pending_bits -= c_octet_bits;
        }
    }

    void put_block(uint64_t codes) {
        pending |= gather_block(codes) << pending_bits;
        memcpy(&out[octets], &pending, c_block_octets);
        pending >>= c_block_octets * c_octet_bits;
        octets += c_block_octets;
        septets += c_block_septets;
    }

    void finish() {
        if (pending_bits > 0) {
            out[octets++] = static_cast<uint8_t>(pending);
        }
    }
};

}  // namespace

size_t gsm_unpack_septets(std::span<const uint8_t> packed, size_t first_bit, std::span<uint8_t> septets) {
    const size_t bits = packed.size() * c_octet_bits;
    if (first_bit >= bits) {
        return 0;
    }
    const size_t count = std::min((bits - first_bit) / c_septet_bits, septets.size());
    size_t octet = first_bit / c_octet_bits;
    const size_t shift = first_bit % c_octet_bits;
    size_t done = 0;
    for (uint64_t word = 0; done + c_block_septets <= count && octet + sizeof(word) <= packed.size();) {
        memcpy(&word, &packed[octet], sizeof(word));
        word = spread_block(word >> shift);
        memcpy(&septets[done], &word, sizeof(word));
        done += c_block_septets;
        octet += c_block_octets;
    }
    for (; done < count; ++done) {
        const size_t bit = first_bit + done * c_septet_bits;
        octet = bit / c_octet_bits;
        uint32_t pair = packed[octet];
        if (octet + 1 < packed.size()) {
            pair |= static_cast<uint32_t>(packed[octet + 1]) << c_octet_bits;
        }
        septets[done] = static_cast<uint8_t>(pair >> (bit % c_octet_bits)) & c_septet_mask;
    }
    return count;
}

GsmPacked gsm_pack_text(std::span<const char> text, std::span<uint8_t> out) {
    SeptetWriter writer{.out = out};
    while (!text.empty()) {
        if (text.size() >= c_block_septets && writer.has_room(c_block_septets)) {
            const uint64_t codes = encode_block(text.data());
            if ((codes & c_extension_flags) == 0) {
                writer.put_block(codes);
                text = text.subspan(c_block_septets);
                continue;
            }
        }
        const uint8_t code = c_latin_to_gsm[static_cast<uint8_t>(text.front())];
        const bool is_extended = (code & c_extension_flag) != 0;
        if (!writer.has_room(is_extended ? 2 : 1)) {
            break;
        }
        if (is_extended) {
            writer.put(c_gsm_escape);
        }
        writer.put(code & c_septet_mask);
        text = text.subspan(1);
    }
    writer.finish();
    return {writer.octets, writer.septets};
}
