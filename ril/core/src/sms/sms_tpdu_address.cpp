// Telephone numbers in semi-octets, 3GPP TS 23.040, 9.1.2.3 and 9.1.2.5: two digits in an octet, the first in the lower
// half, behind an octet for the type of number.
#include "ril/core/src/sms/sms_tpdu_address.h"

#include <algorithm>
#include <cstring>

#include "ril/core/src/sms/sms_tpdu.h"

namespace {

constexpr uint8_t c_type_mask = 0x70;
constexpr uint8_t c_type_international = 0x10;
constexpr uint8_t c_type_alphanumeric = 0x50;
constexpr uint8_t c_type_alphanumeric_unknown_plan = 0xD0;

constexpr size_t c_head_octets = 2;  // length and type

// A whole address field has at most 12 octets.
constexpr size_t c_max_digit_octets = 10;
constexpr size_t c_max_digits = 2 * c_max_digit_octets;
constexpr size_t c_max_alpha_septets = 11;

constexpr uint8_t c_nibble_end = 15;

uint8_t octet_at(std::span<const uint8_t> field, size_t index) {
    return index < field.size() ? field[index] : 0;
}

std::span<const uint8_t> part(std::span<const uint8_t> field, size_t offset, size_t count) {
    offset = std::min(offset, field.size());
    return field.subspan(offset, std::min(count, field.size() - offset));
}

// One text that grows up to its last byte, which is kept for the terminator.
void append(std::span<char> text, size_t& length, char character) {
    if (length + 1 < text.size()) {
        text[length++] = character;
    }
}

// `digits` follow an octet `type`. A reserved nibble repeats the character that its half of the octet had last.
void semi_octets_to_text(uint8_t type, std::span<const uint8_t> digits, std::span<char> text) {
    static constexpr std::array<char, 13> s_characters = {'0', '1', '2', '3', '4', '5', '6',
                                                          '7', '8', '9', '*', '#', 'p'};
    size_t length = 0;
    if ((type & c_type_mask) == c_type_international) {
        append(text, length, '+');
    }
    std::array<char, 2> last = {};
    for (size_t i = 0; i < 2 * digits.size(); ++i) {
        const uint8_t nibble = (i % 2 == 0 ? digits[i / 2] : digits[i / 2] >> 4) & 0x0F;
        char& character = last[i % 2];
        if (nibble < s_characters.size()) {
            character = s_characters[nibble];
        } else if (nibble == c_nibble_end || character == '\0') {
            break;
        }
        append(text, length, character);
    }
    if (!text.empty()) {
        text[length] = '\0';
    }
}

bool is_alphanumeric(std::span<const uint8_t> field) {
    return (octet_at(field, 1) & c_type_mask) == c_type_alphanumeric;
}

size_t digit_octets(std::span<const uint8_t> field) {
    return (octet_at(field, 0) + 1U) / 2;
}

// Two octets of the type 0xD0 are not taken for text.
size_t alpha_septets(std::span<const uint8_t> field) {
    const size_t digits = octet_at(field, 0);
    if (digits == 4 && octet_at(field, 1) == c_type_alphanumeric_unknown_plan) {
        return 0;
    }
    return std::min(digits * 4 / 7, c_max_alpha_septets);
}

// The digits of `text` that a field of that size has room for, as far as the length octet can say.
size_t digits_that_fit(size_t digits, std::span<const uint8_t> field) {
    const size_t octets = std::min<size_t>(field.size() - c_head_octets, UINT8_MAX - 1);
    return std::min(digits, 2 * octets);
}

// A field of `count` nibbles behind `type`. With no room for the type it is a field of length 0.
template <typename NibbleAt>
void write_field(std::span<uint8_t> field, uint32_t type, size_t count, NibbleAt nibble_at) {
    if (field.size() < c_head_octets) {
        std::fill(field.begin(), field.end(), uint8_t{0});
        return;
    }
    count = digits_that_fit(count, field);
    field[0] = static_cast<uint8_t>((count + 1) / 2 + 1);
    field[1] = static_cast<uint8_t>(type);
    for (size_t i = 0; i < count; i += 2) {
        const uint32_t high = i + 1 < count ? nibble_at(i + 1) : c_nibble_end;
        field[c_head_octets + i / 2] = static_cast<uint8_t>(high << 4 | nibble_at(i));
    }
}

uint32_t nibble_of(char character) {
    switch (character) {
        case '*':
            return 10;
        case '#':
            return 11;
        case 'P':
        case 'p':
            return 12;
        default:
            return character >= '0' && character <= '9' ? static_cast<uint32_t>(character - '0') : c_nibble_end;
    }
}

}  // namespace

size_t sms_number_field_size(std::span<const uint8_t> field) {
    return std::min(std::min(digit_octets(field), c_max_digit_octets) + c_head_octets, field.size());
}

size_t sms_address_field_size(std::span<const uint8_t> field) {
    return is_alphanumeric(field) ? std::min(digit_octets(field) + c_head_octets, field.size())
                                  : sms_number_field_size(field);
}

void sms_number_field_to_text(std::span<const uint8_t> field, std::span<char> text) {
    const bool is_empty = octet_at(field, 0) == 0;
    const size_t octets = std::min(digit_octets(field), c_max_digit_octets);
    semi_octets_to_text(is_empty ? 0 : octet_at(field, 1), part(field, c_head_octets, octets), text);
}

size_t sms_unpack_address_data(std::span<const uint8_t> field, unpacked_smsinfo* info, bool extension) {
    if (info == nullptr) {
        return sms_address_field_size(field);
    }
    info->address = {};
    sms_number_field_to_text(field, info->address);
    info->address_is_alpha = is_alphanumeric(field) ? 1 : 0;
    info->alpha_address = {};
    if (is_alphanumeric(field)) {
        const std::span<const uint8_t> septets = part(field, c_head_octets, digit_octets(field));
        sms_unpack_septets_to_wchar(septets, alpha_septets(field), info->alpha_address, 0, extension, nullptr);
    }
    return sms_address_field_size(field);
}

size_t sms_bcd_to_num(std::span<const uint8_t> field, std::span<char> text) {
    const size_t octets = octet_at(field, 0);
    const std::span<const uint8_t> digits = octets > 1 ? part(field, c_head_octets, octets - 1) : part(field, 0, 0);
    semi_octets_to_text(octets > 0 ? octet_at(field, 1) : 0, digits, text);
    return std::min(octets + 1, field.size());
}

uint32_t sms_num_to_bcd(char* text, std::span<uint8_t> field) {
    std::fill(field.begin(), field.end(), uint8_t{UINT8_MAX});
    if (text == nullptr || text[0] == '\0') {
        if (!field.empty()) {
            field[0] = 0;
        }
        return 1;
    }
    // The plus sign takes no digit of the field, but one of the characters that the text may have.
    const bool has_plus = text[0] == '+';
    const size_t max_characters = has_plus ? c_max_digits : c_max_digits - 1;
    const size_t characters = strnlen(text, max_characters + 1);
    if (characters > max_characters) {
        text[max_characters] = '\0';
    }
    const char* const digits = has_plus ? text + 1 : text;
    write_field(field, has_plus ? c_sms_type_international : c_sms_type_national, strlen(digits),
                [digits](size_t i) { return nibble_of(digits[i]); });
    return 1;
}

void sms_encode_addressfield_semioctets(const char* text, uint32_t type, std::span<uint8_t> field) {
    const char* const digits = text == nullptr ? "" : text[0] == '+' ? text + 1 : text;
    write_field(field, type == c_sms_type_international ? type : c_sms_type_national, strlen(digits),
                [digits](size_t i) { return static_cast<uint8_t>(digits[i]) & 0x0FU; });
}

uint32_t sms_get_type_of_phone_number_address(const char* text) {
    return text != nullptr && strchr(text, '+') != nullptr ? c_sms_type_international : c_sms_type_unknown;
}
