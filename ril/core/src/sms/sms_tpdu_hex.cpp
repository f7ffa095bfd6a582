// Octets as hexadecimal text, the form in which Android takes and hands over messages.
#include "ril/core/src/sms/sms_tpdu.h"
#include "ril/utils/trace.h"

namespace {

constexpr std::array<char, 16> c_hex_digits = {'0', '1', '2', '3', '4', '5', '6', '7',
                                               '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};
constexpr int32_t c_error = -1;
constexpr int32_t c_bad_format = -10;

int32_t hex_value(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const int32_t letter = (digit | 0x20) - 'a';
    return letter >= 0 && letter < 6 ? letter + 10 : -1;
}

}  // namespace

int32_t sms_generate_hexstring_from_hexbuffer(std::span<const uint8_t> in, std::span<char> out, size_t* out_len) {
    const bool is_null = in.data() == nullptr || out.data() == nullptr || out_len == nullptr;
    if (is_null || out.empty() || in.size() > (out.size() - 1) / 2) {
        RIL_TRACE(TRACE_ERROR, "%s: Generate Hex string failed because Output string size < 2 * input string len\n",
                  __func__);
        return c_error;
    }
    size_t length = 0;
    for (const uint8_t octet : in) {
        out[length++] = c_hex_digits[octet >> 4];
        out[length++] = c_hex_digits[octet & 0x0F];
    }
    out[length++] = '\0';
    *out_len = length;
    return 0;
}

int32_t sms_convert_hexstring_to_hexbuffer(std::span<const char> text, std::span<uint8_t> out, size_t* out_len) {
    if (out_len != nullptr) {
        *out_len = 0;
    }
    const size_t length = text.size() / 2;
    if (text.data() == nullptr || out.data() == nullptr || length > out.size()) {
        return c_error;
    }
    for (size_t i = 0; i < length; ++i) {
        const int32_t high = hex_value(text[2 * i]);
        const int32_t low = hex_value(text[2 * i + 1]);
        if (high < 0 || low < 0) {
            RIL_TRACE(TRACE_ERROR, "%s: bad format\n", __func__);
            return c_bad_format;
        }
        out[i] = static_cast<uint8_t>(high << 4 | low);
    }
    if (length < out.size()) {
        out[length] = 0;
    }
    if (out_len != nullptr) {
        *out_len = length;
    }
    return 0;
}
