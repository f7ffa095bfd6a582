// The fields of a message one by one: numbers and alphanumeric addresses in both directions, texts and hexadecimal
// text. The size of the output and flags come first.
#include <algorithm>
#include <cstring>

#include "fuzz/decode/input.h"
#include "ril/core/src/sms/sms_tpdu.h"

namespace {

void decode_fields(const std::vector<uint8_t>& field, size_t size, bool extension, size_t fill) {
    unpacked_smsinfo info{};
    const size_t taken = sms_unpack_address_data(field, &info, extension);
    FUZZ_CHECK(taken <= field.size() && (taken >= 2 || taken == field.size()));
    FUZZ_CHECK(strnlen(info.address.data(), info.address.size()) < info.address.size());
    FUZZ_CHECK(info.alpha_address.back() == 0);
    std::vector<char> number(size, '?');
    FUZZ_CHECK(sms_bcd_to_num(field, number) <= field.size());
    FUZZ_CHECK(size == 0 || strnlen(number.data(), size) < size);
    FUZZ_CHECK(std::all_of(number.begin(), number.end(),
                           [](char c) { return c == '\0' || strchr("+0123456789*#p?", c) != nullptr; }));
    std::vector<uint16_t> text(size);
    size_t length = 0;
    FUZZ_CHECK(sms_unpack_septets_to_wchar(field, size * 2, text, fill, extension, &length) == 1);
    FUZZ_CHECK(size == 0 ? length == 0 : length < size && text[length] == 0);
    FUZZ_CHECK(sms_unpack_octet_to_wchar(field, text, size * 2) <= size);
}

void encode_fields(std::vector<char> text, size_t size) {
    text.push_back('\0');
    std::vector<uint8_t> field(size);
    sms_encode_addressfield_semioctets(text.data(), sms_get_type_of_phone_number_address(text.data()), field);
    FUZZ_CHECK(size < 2 || field[0] < size);
    FUZZ_CHECK(sms_num_to_bcd(text.data(), field) == 1);
    FUZZ_CHECK(size == 0 || field[0] < std::max<size_t>(size, 1));
    FUZZ_CHECK(size == 0 || field[0] <= 11);
    FUZZ_CHECK(strlen(text.data()) <= (text[0] == '+' ? 20 : 19));
}

// Hexadecimal text comes back as the octets it was made of.
void convert_hex(const std::vector<uint8_t>& octets, const std::vector<char>& text, size_t size) {
    std::vector<uint8_t> out(size);
    size_t length = 0;
    const int32_t result = sms_convert_hexstring_to_hexbuffer(text, out, &length);
    FUZZ_CHECK(result == 0 || result == -1 || result == -10);
    FUZZ_CHECK(length == (result == 0 ? text.size() / 2 : 0));
    std::vector<char> made(octets.size() * 2 + 1);
    if (octets.empty() || sms_generate_hexstring_from_hexbuffer(octets, made, &length) != 0) {
        return;
    }
    FUZZ_CHECK(length == made.size() && made.back() == '\0');
    std::vector<uint8_t> back(octets.size());
    FUZZ_CHECK(sms_convert_hexstring_to_hexbuffer(made, back, &length) == 0);
    FUZZ_CHECK(back == octets && length == octets.size());
    std::vector<char> small(size);
    FUZZ_CHECK(sms_generate_hexstring_from_hexbuffer(octets, small, &length) == (size > octets.size() * 2 ? 0 : -1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t data_size) {
    Input input(data, data_size);
    const uint8_t flags = input.choice();
    const size_t size = input.choice();
    decode_fields(input.rest(), size, (flags & 0x80) != 0, flags % 8);
    encode_fields(input.rest<char>(), size);
    convert_hex(input.rest(), input.rest<char>(), size);
    return 0;
}
