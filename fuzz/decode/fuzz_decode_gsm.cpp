// Every text conversion, on one text: coding scheme, character set, size of the output and flags come first.
#include <algorithm>
#include <cstring>

#include "fuzz/input.h"
#include "ril/core/src/decode/decode.h"

namespace {

void decode_all(uint8_t dcs, const std::vector<uint8_t>& data, size_t size, bool escape, uint32_t character_set) {
    std::vector<uint16_t> out(size);
    size_t length = 0;
    uint32_t kind = 0;
    const uint32_t result = decode_gsm(out, dcs, data, &length, escape, &kind, character_set);
    FUZZ_CHECK(length <= size && (result == 1 || (length == 0 && kind == 0)));
    FUZZ_CHECK(result == 0 || length == size || out[length] == 0);
    for (const uint32_t language_mode : {DECODE_LANGUAGE_NONE, DECODE_LANGUAGE_INDICATOR}) {
        length = 0;
        decode_ucs2(out, &length, data, language_mode);
        FUZZ_CHECK(length <= size && length <= data.size() / 2);
        length = 0;
        cbs_UnpackSeptetMessage(out, &length, data, language_mode, escape, character_set);
        FUZZ_CHECK(length <= size && length <= data.size() * 8 / 7);
    }
    gsm7_defaultString_toUnicodeString(data, out, &length, escape);
    FUZZ_CHECK(length <= std::min(size, data.size()));
}

void write_all(const std::vector<uint8_t>& data, size_t size, uint32_t character_set) {
    const std::vector<uint16_t> codes(data.begin(), data.end());
    std::vector<char> text(size);
    std::vector<char> wide_text(size);
    size_t length = 0;
    const char* const end = convert_gsm_to_text(data, text, character_set, &length);
    FUZZ_CHECK(length <= std::min(size, data.size()) && end == text.data() + length);
    FUZZ_CHECK(uInt16_gsm_to_text(codes, wide_text, character_set) == length && text == wide_text);
    FUZZ_CHECK(gsm_coded_to_cscs(text, codes, 1, &length) == 1);
    FUZZ_CHECK(length == size || text[length] == '\0');
    size_t second_length = 0;
    const bool fits = size >= codes.size();
    FUZZ_CHECK(uint16str_to_str(wide_text, codes, 1, DECODE_KIND_GSM, &second_length) == (fits ? 1 : 0));
    FUZZ_CHECK(second_length == (fits ? length : 0));
}

// What was packed comes out again as the same codes.
void pack_and_unpack(const std::vector<char>& text, size_t size) {
    std::vector<uint8_t> packed(size);
    const GsmPacked made = gsm_pack_text(text, packed);
    FUZZ_CHECK(made.octets <= size && made.octets == (made.septets * 7 + 7) / 8);
    std::vector<uint8_t> septets(made.septets);
    FUZZ_CHECK(gsm_unpack_septets(packed, 0, septets) == made.septets);
    size_t next = 0;
    for (size_t i = 0; next < septets.size(); ++i) {
        uint8_t is_extended = 0;
        const uint8_t code = uta_agg_util_unicodetogsm7default(static_cast<uint8_t>(text[i]), &is_extended);
        FUZZ_CHECK(is_extended == 0 || septets[next++] == 27);
        FUZZ_CHECK(next < septets.size() && septets[next++] == code);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t data_size) {
    Input input(data, data_size);
    const uint8_t dcs = input.choice();
    const uint8_t flags = input.choice();
    const size_t size = input.choice();
    const uint32_t character_set = flags % 9U;
    const bool escape = (flags & 0x80) != 0;
    decode_all(dcs, input.rest(), size * 2, escape, character_set);
    write_all(input.rest(), size, character_set);
    pack_and_unpack(input.rest<char>(), size);
    const std::vector<uint8_t> packed = input.rest();
    std::vector<uint8_t> septets(size);
    FUZZ_CHECK(gsm_unpack_septets(packed, flags, septets) <= size);
    FUZZ_CHECK(std::all_of(septets.begin(), septets.end(), [](uint8_t septet) { return septet < 128; }));
    return 0;
}
