// Characters between the alphabets, and the names of the terminal character sets.
#include <strings.h>

#include <algorithm>
#include <cstring>

#include "ril/core/src/decode/decode.h"
#include "ril/core/src/decode/gsm_tables.h"
#include "ril/utils/trace.h"

namespace {

constexpr std::array<const char*, AGG_CSCS_INVALID> s_p_AggCSCS_Array = {"PCCP437", "UCS2",   "GSM",  "IRA",
                                                                         "HEX",     "8859-1", "PCDN", "UTF8"};

constexpr bool is_latin(uint16_t character) {
    return character < c_latin_to_gsm.size();
}
constexpr bool is_greek(uint16_t character) {
    return character >= c_greek && character < c_greek + c_greek_to_gsm.size();
}
static_assert(std::all_of(c_Gsm7BitDefault.begin(), c_Gsm7BitDefault.end(),
                          [](uint16_t character) { return is_latin(character) || is_greek(character); }));

uint8_t find_gsm(uint16_t character) {
    if (is_latin(character)) {
        return c_latin_to_gsm[character];
    }
    if (is_greek(character)) {
        return c_greek_to_gsm[static_cast<size_t>(character - c_greek)];
    }
    return character == c_euro_sign ? search_gsm(c_euro_sign) : c_gsm_blank;
}

size_t find_escape(std::span<const uint8_t> gsm) {
    const void* const found = memchr(gsm.data(), c_gsm_escape, gsm.size());
    return found == nullptr ? gsm.size() : static_cast<size_t>(static_cast<const uint8_t*>(found) - gsm.data());
}

}  // namespace

uint32_t req_get_terminal_adapter_enum_from_charset_name(const char* name) {
    if (name == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: cscs_charset_name is invalid\n", __func__);
        return AGG_CSCS_INVALID;
    }
    uint32_t value = 0;
    while (value < s_p_AggCSCS_Array.size() && strcasecmp(name, s_p_AggCSCS_Array[value]) != 0) {
        ++value;
    }
    return value;
}

uint32_t is_gsmconversion_needed(uint32_t character_set) {
    return character_set == AGG_CSCS_GSM || character_set == AGG_CSCS_IRA ? 0 : 1;
}

uint8_t uta_agg_util_unicodetogsm7default(uint16_t character, uint8_t* is_extended) {
    const uint8_t code = find_gsm(character);
    if (is_extended != nullptr) {
        *is_extended = (code & c_extension_flag) != 0 ? 1 : 0;
    }
    return code & static_cast<uint8_t>(~c_extension_flag);
}

uint16_t Gsm7DefaultToUnicode(uint8_t code) {
    return code < c_Gsm7BitDefault.size() ? c_Gsm7BitDefault[code] : ' ';
}

uint16_t Gsm7DefaultExtendedToUnicode(uint8_t code) {
    for (const GsmExtension& extension : c_gsm_extension) {
        if (extension.code == code) {
            return extension.character;
        }
    }
    return code == c_gsm_escape ? ' ' : Gsm7DefaultToUnicode(code);
}

int32_t gsm_to_ucs2(uint8_t code) {
    return code < GSM_to_ucs2.size() ? GSM_to_ucs2[code] : -1;
}

int32_t gsm_extn_to_charset(uint8_t code) {
    for (const GsmExtension& extension : GSM_Extn_to_Charset) {
        if (extension.code == code) {
            return extension.character;
        }
    }
    return code == c_euro_code ? c_euro_sign : -1;
}

void gsm7_defaultString_toUnicodeString(std::span<const uint8_t> gsm, std::span<uint16_t> out, size_t* out_length,
                                        bool escape) {
    size_t length = 0;
    while (!gsm.empty() && length < out.size()) {
        // A run without escapes, then an escape and what it takes with it.
        const std::span<const uint8_t> run = gsm.first(std::min(gsm.size(), out.size() - length));
        const size_t plain = escape ? find_escape(run) : run.size();
        std::transform(run.begin(), run.begin() + static_cast<ptrdiff_t>(plain),
                       out.begin() + static_cast<ptrdiff_t>(length), Gsm7DefaultToUnicode);
        length += plain;
        gsm = gsm.subspan(plain);
        if (plain < run.size()) {
            out[length++] = gsm.size() > 1 ? Gsm7DefaultExtendedToUnicode(gsm[1]) : ' ';
            gsm = gsm.subspan(std::min<size_t>(gsm.size(), 2));
        }
    }
    if (out_length != nullptr) {
        *out_length = length;
    }
}
