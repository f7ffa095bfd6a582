// GSM codes as 8-bit text.
#include "ril/core/src/decode/decode.h"
#include "ril/core/src/decode/gsm_tables.h"

namespace {

constexpr bool is_septet(uint8_t code) {
    return code < c_Gsm7BitDefault.size();
}

// Fewer bytes come out than there are codes when an escape has no character, or a code none in the output's set.
// A 16-bit element counts with its low byte, so the text may be written over the elements it comes from.
template <typename Code>
size_t write_text(std::span<const Code> gsm, std::span<char> out, int32_t (*to_charset)(uint8_t code)) {
    size_t written = 0;
    for (size_t i = 0; i < gsm.size() && written < out.size(); ++i) {
        const uint8_t code = static_cast<uint8_t>(gsm[i]);
        int32_t character = -1;
        if (code != c_gsm_escape) {
            character = to_charset(code);
        } else if (++i < gsm.size()) {
            character = gsm_extn_to_charset(static_cast<uint8_t>(gsm[i]));
        }
        if (character >= 0) {
            out[written++] = static_cast<char>(character);
        }
    }
    return written;
}

template <typename Code>
size_t copy_codes(std::span<const Code> gsm, std::span<char> out) {
    size_t written = 0;
    for (size_t i = 0; i < gsm.size() && written < out.size(); ++i) {
        const uint8_t code = static_cast<uint8_t>(gsm[i]);
        if (is_septet(code)) {
            out[written++] = static_cast<char>(code);
        }
    }
    return written;
}

int32_t gsm_to_ira(uint8_t code) {
    return is_septet(code) ? GSM_to_IRA[code] : -1;
}

template <typename Code>
size_t write_in_charset(std::span<const Code> gsm, std::span<char> out, uint32_t character_set) {
    switch (character_set) {
        case AGG_CSCS_PCCP437:
            return write_text(gsm, out, gsm_to_ucs2);
        case AGG_CSCS_UCS2:
            return write_text(gsm, out, gsm_to_ira);
        case AGG_CSCS_GSM:
        case AGG_CSCS_IRA:
            return copy_codes(gsm, out);
        default:
            return 0;
    }
}

}  // namespace

char* convert_gsm_to_text(std::span<const uint8_t> gsm, std::span<char> out, uint32_t character_set, size_t* written) {
    const size_t length = write_in_charset(gsm, out, character_set);
    if (written != nullptr) {
        *written = length;
    }
    return out.data() + length;
}

size_t uInt16_gsm_to_text(std::span<const uint16_t> gsm, std::span<char> out, uint32_t character_set) {
    return write_in_charset(gsm, out, character_set);
}

uint32_t gsm_coded_to_cscs(std::span<char> out, std::span<const uint16_t> gsm, uint32_t flag, size_t* out_length) {
    if (out_length != nullptr) {
        *out_length = 0;
    }
    if (flag != 1) {
        return 0;
    }
    const size_t length = write_text(gsm, out, gsm_to_ira);
    if (length < out.size()) {
        out[length] = '\0';
    }
    if (out_length != nullptr) {
        *out_length = length;
    }
    return 1;
}

uint32_t uint16str_to_str(std::span<char> out, std::span<const uint16_t> gsm, uint32_t flag, uint32_t kind,
                          size_t* out_length) {
    const bool is_refused = out.size() < gsm.size() || kind == 2 || kind == DECODE_KIND_UCS2 || flag != 1;
    return gsm_coded_to_cscs(out, gsm, is_refused ? 0 : flag, out_length);
}
