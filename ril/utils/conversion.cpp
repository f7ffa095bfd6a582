#include "ril/utils/conversion.h"

namespace {

// The value of a hexadecimal digit, or -1.
int32_t xdigit_value(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const auto lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

bool isSuccessResult(uint8_t sw1, uint8_t sw2) {
    return (sw1 == 0x90 && sw2 == 0) || sw1 == 0x91;
}

void util_bcd2num(const uint8_t* src, char* dst, size_t dst_size, size_t length, bool plus) {
    constexpr char c_digits[] = "0123456789*#p?";
    constexpr unsigned c_repeat = 14;
    size_t written = 0;
    if (plus && length > 1 && (src[1] & 0x70U) == 0x10U && dst_size > 0) {
        dst[written++] = '+';
    }
    char last[2] = {};  // of the low and of the high nibbles
    for (size_t i = 0; i < 2 * length && written < dst_size; ++i) {
        const unsigned nibble = i % 2 == 0 ? src[i / 2] & 0xFU : src[i / 2] >> 4U;
        if (nibble < c_repeat) {
            last[i % 2] = c_digits[nibble];
        } else if (nibble != c_repeat || last[i % 2] == '\0') {
            return;
        }
        dst[written++] = last[i % 2];
    }
}

int32_t ril_convert_hexbuffer_to_string(const char* text, size_t text_len, uint8_t* dst, size_t dst_size,
                                        uint32_t* out_len) {
    if (text == nullptr || dst == nullptr) {
        return -1;
    }
    const size_t count = text_len / 2;
    if (out_len != nullptr) {
        *out_len = static_cast<uint32_t>(count);
    }
    if (count > dst_size) {
        return -1;
    }
    if (dst_size > 0) {
        dst[0] = 0;
    }
    for (size_t i = 0; i < count; ++i) {
        const int32_t high = xdigit_value(text[2 * i]);
        const int32_t low = xdigit_value(text[2 * i + 1]);
        if (high < 0 || low < 0) {
            return -10;
        }
        dst[i] = static_cast<uint8_t>(high * 16 + low);
    }
    if (count < dst_size) {
        dst[count] = 0;
    }
    return 0;
}

bool ril_util_is_xdigit(char c) {
    return xdigit_value(c) >= 0;
}
