// The codec of messages. Flags come first: they choose a whole message from the network or fields one by one, and a
// size of the output follows. A message's length octet may lie, and what lies behind the message must not matter.
#include <algorithm>
#include <cstring>
#include <tuple>

#include "fuzz/input.h"
#include "ril/core/src/sms/sms_tpdu.h"

namespace {

bool is_text(std::span<const char> text) {
    return std::find(text.begin(), text.end(), '\0') != text.end();
}

auto members(const unpacked_smsinfo& info) {
    return std::tie(info.msg_type_id, info.delivery_status, info.coding, info.msg_class, info.extended_class,
                    info.address_is_alpha, info.reply_path, info.ud_text, info.ud_length, info.alpha_address, info.dcs,
                    info.address, info.sc_address);
}

using Unpack = uint32_t (*)(const sms_tpdu*, unpacked_smsinfo*, bool);

unpacked_smsinfo run(Unpack unpack, const sms_tpdu& tpdu, bool extension, uint32_t& result) {
    unpacked_smsinfo info;
    memset(&info, 0, sizeof(info));
    result = unpack(&tpdu, &info, extension);
    FUZZ_CHECK(is_text(info.address) && is_text(info.sc_address));
    FUZZ_CHECK(info.ud_length < info.ud_text.size() && info.ud_text[info.ud_length] == 0);
    FUZZ_CHECK(info.alpha_address.back() == 0);
    FUZZ_CHECK(info.coding <= SMS_CODING_RESERVED && info.msg_class <= SMS_CLASS_NONE);
    FUZZ_CHECK(info.extended_class <= SMS_EXTENDED_CLASS_NONE && info.delivery_status <= SMS_DELIVERY_FAILED);
    FUZZ_CHECK(info.coding != SMS_CODING_RESERVED || info.ud_length == 0);
    uint32_t pid_type = 0;
    sms_get_pid(&tpdu, &pid_type, nullptr);
    FUZZ_CHECK(pid_type <= SMS_PID_SIM_DATA_DOWNLOAD);
    return info;
}

void decode_message(const std::vector<uint8_t>& pdu, bool extension, uint8_t lie) {
    sms_tpdu tpdu{.status = 0, .length = 0, .data = {}};
    const size_t length = std::min(pdu.size(), tpdu.data.size());
    std::copy_n(pdu.begin(), length, tpdu.data.begin());
    tpdu.length = static_cast<uint8_t>(length);
    sms_tpdu other = tpdu;
    std::fill(other.data.begin() + static_cast<ptrdiff_t>(length), other.data.end(), uint8_t{0xA5});
    uint32_t result = 0;
    uint32_t other_result = 0;
    for (const Unpack unpack :
         {sms_unpack_msg, sms_unpack_delivery_msg, sms_unpack_submit_msg, sms_unpack_status_report_msg}) {
        const unpacked_smsinfo info = run(unpack, tpdu, extension, result);
        const unpacked_smsinfo other_info = run(unpack, other, extension, other_result);
        FUZZ_CHECK(result == other_result && (result == 0 || result == c_sms_unknown_message));
        FUZZ_CHECK(members(info) == members(other_info));
    }
    other.length = lie;
    run(sms_unpack_msg, other, extension, result);
    uint8_t first = 0;
    uint8_t reference = 0;
    sms_pdu_extract_first_octet_and_msgref(pdu, &first, &reference);
}

void decode_fields(const std::vector<uint8_t>& field, size_t size, bool extension, size_t fill) {
    unpacked_smsinfo info{};
    const size_t taken = sms_unpack_address_data(field, &info, extension);
    FUZZ_CHECK(taken <= field.size() && (taken >= 2 || taken == field.size()));
    std::vector<char> number(size, '?');
    FUZZ_CHECK(sms_bcd_to_num(field, number) <= field.size());
    FUZZ_CHECK(size == 0 || is_text(number));
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
    FUZZ_CHECK(size == 0 || field[0] < std::min<size_t>(size, 12));
    FUZZ_CHECK(strlen(text.data()) <= (text[0] == '+' ? 20 : 19));
}

// Hexadecimal text comes back as the octets it was made of.
void convert_hex(const std::vector<uint8_t>& octets, const std::vector<char>& text, size_t size) {
    std::vector<uint8_t> out(size);
    size_t length = 0;
    const int32_t result = sms_convert_hexstring_to_hexbuffer(text, out, &length);
    FUZZ_CHECK(length == (result == 0 ? text.size() / 2 : 0));
    std::vector<char> made(octets.size() * 2 + 1);
    if (octets.empty() || sms_generate_hexstring_from_hexbuffer(octets, made, &length) != 0) {
        return;
    }
    FUZZ_CHECK(length == made.size() && made.back() == '\0');
    std::vector<uint8_t> back(octets.size());
    FUZZ_CHECK(sms_convert_hexstring_to_hexbuffer(made, back, &length) == 0 && back == octets);
    std::vector<char> small(size);
    FUZZ_CHECK(sms_generate_hexstring_from_hexbuffer(octets, small, &length) == (size > octets.size() * 2 ? 0 : -1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t data_size) {
    Input input(data, data_size);
    const uint8_t flags = input.choice();
    const bool extension = (flags & 0x80) != 0;
    const uint8_t size = input.choice();
    if ((flags & 0x40) == 0) {
        decode_message(input.rest(), extension, size);
    } else {
        decode_fields(input.rest(), size, extension, flags % 8);
        encode_fields(input.rest<char>(), size);
        convert_hex(input.rest(), input.rest<char>(), size);
    }
    return 0;
}
