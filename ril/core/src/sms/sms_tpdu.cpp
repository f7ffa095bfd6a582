// The decoders of whole messages, 3GPP TS 23.040, 9.2.2.1 (deliver), 9.2.2.2 (submit) and 9.2.2.3 (status report).
#include "ril/core/src/sms/sms_tpdu.h"

#include <algorithm>

#include "ril/core/src/decode/decode.h"
#include "ril/core/src/sms/sms_tpdu_address.h"
#include "ril/utils/trace.h"

namespace {

constexpr uint8_t c_message_type_mask = 0x03;
constexpr uint8_t c_user_data_header_flag = 0x40;
constexpr size_t c_time_stamp_octets = 7;
constexpr size_t c_max_septets = 255;  // what a length octet can say

// What is left of a message. Behind its end octets are zero and fields empty.
struct Reader {
    std::span<const uint8_t> rest;

    void skip(size_t count) { rest = rest.subspan(std::min(count, rest.size())); }

    uint8_t take() {
        const uint8_t octet = rest.empty() ? 0 : rest.front();
        skip(1);
        return octet;
    }
};

Reader open(const sms_tpdu& tpdu) {
    return {std::span(tpdu.data).first(std::min<size_t>(tpdu.length, tpdu.data.size()))};
}

// The TPDU behind the service centre address.
Reader start(const sms_tpdu& tpdu, unpacked_smsinfo& info, SmsMsgType type) {
    info = {};
    info.msg_type_id = type;
    Reader reader = open(tpdu);
    reader.skip(sms_bcd_to_num(reader.rest, info.sc_address));
    return reader;
}

void unpack_dcs(Reader& reader, unpacked_smsinfo& info) {
    if (reader.rest.empty()) {
        return;
    }
    info.dcs = reader.take();
    sms_get_codingscheme_extended_class(info.dcs, &info.extended_class, &info.coding);
    sms_get_codingscheme_class(info.dcs, &info.msg_class, &info.coding);
}

// `count` octets of big-endian characters.
size_t unpack_ucs2(std::span<const uint8_t> data, std::span<uint16_t> out, size_t count) {
    const size_t characters = std::min({count / 2, data.size() / 2, out.size() - 1});
    for (size_t i = 0; i < characters; ++i) {
        out[i] = static_cast<uint16_t>(data[2 * i] << 8 | data[2 * i + 1]);
    }
    out[characters] = 0;
    return characters;
}

// 3GPP TS 23.040, 9.2.3.24: a header counts in the user data's length, and 7-bit text behind it starts at the next
// septet boundary, counted from the start of the header.
void unpack_user_data(Reader reader, bool has_header, unpacked_smsinfo& info, bool extension) {
    const size_t user_data_length = reader.take();
    const size_t header_octets = has_header ? reader.rest.empty() ? 0 : reader.rest.front() + 1U : 0U;
    const bool is_septets = info.coding == SMS_CODING_GSM7;
    const size_t header_units = is_septets ? (header_octets * 8 + 6) / 7 : header_octets;
    const size_t count = user_data_length - std::min(header_units, user_data_length);
    reader.skip(header_octets);
    size_t length = 0;
    switch (info.coding) {
        case SMS_CODING_GSM7: {
            const size_t fill_bits = (7 - header_octets * 8 % 7) % 7;
            sms_unpack_septets_to_wchar(reader.rest, count, info.ud_text, fill_bits, extension, &length);
            break;
        }
        case SMS_CODING_8BIT:
            length = sms_unpack_octet_to_wchar(reader.rest, info.ud_text, count);
            break;
        case SMS_CODING_UCS2:
            length = unpack_ucs2(reader.rest, info.ud_text, count);
            break;
        default:
            break;
    }
    info.ud_length = static_cast<uint16_t>(length);
}

size_t validity_period_octets(uint8_t first_octet) {
    switch (first_octet >> 3 & 3) {
        case 0:
            return 0;
        case 2:  // relative
            return 1;
        default:  // absolute, enhanced
            return c_time_stamp_octets;
    }
}

uint32_t delivery_status(uint8_t status) {
    if (status <= 0x02) {
        return SMS_DELIVERED;
    }
    return status >= 0x20 && status <= 0x3F ? SMS_DELIVERY_PENDING : SMS_DELIVERY_FAILED;
}

}  // namespace

uint32_t sms_unpack_msg(const sms_tpdu* tpdu, unpacked_smsinfo* info, bool extension) {
    if (tpdu != nullptr && info != nullptr) {
        Reader reader = open(*tpdu);
        reader.skip(reader.take());
        switch (reader.rest.empty() ? c_message_type_mask : reader.rest.front() & c_message_type_mask) {
            case 0:
                return sms_unpack_delivery_msg(tpdu, info, extension);
            case 1:
                return sms_unpack_submit_msg(tpdu, info, extension);
            case 2:
                return sms_unpack_status_report_msg(tpdu, info, extension);
            default:
                break;
        }
    }
    RIL_TRACE(TRACE_ERROR, "%s: Unpacking msg ERROR!\n", __func__);
    return c_sms_unknown_message;
}

uint32_t sms_unpack_delivery_msg(const sms_tpdu* tpdu, unpacked_smsinfo* info, bool extension) {
    if (tpdu == nullptr || info == nullptr) {
        return c_sms_unknown_message;
    }
    Reader reader = start(*tpdu, *info, SMS_MSG_DELIVER);
    const uint8_t first_octet = reader.take();
    info->reply_path = first_octet >> 7;
    reader.skip(sms_unpack_address_data(reader.rest, info, extension));
    reader.take();  // protocol identifier
    unpack_dcs(reader, *info);
    reader.skip(c_time_stamp_octets);
    unpack_user_data(reader, (first_octet & c_user_data_header_flag) != 0, *info, extension);
    return 0;
}

uint32_t sms_unpack_submit_msg(const sms_tpdu* tpdu, unpacked_smsinfo* info, bool extension) {
    if (tpdu == nullptr || info == nullptr) {
        return c_sms_unknown_message;
    }
    Reader reader = start(*tpdu, *info, SMS_MSG_SUBMIT);
    const uint8_t first_octet = reader.take();
    reader.take();  // message reference
    reader.skip(sms_unpack_address_data(reader.rest, info, extension));
    reader.take();  // protocol identifier
    unpack_dcs(reader, *info);
    reader.skip(validity_period_octets(first_octet));
    unpack_user_data(reader, (first_octet & c_user_data_header_flag) != 0, *info, extension);
    return 0;
}

// A report that ends before its status does not say that the message arrived.
uint32_t sms_unpack_status_report_msg(const sms_tpdu* tpdu, unpacked_smsinfo* info, bool extension) {
    (void)extension;
    if (tpdu == nullptr || info == nullptr) {
        return c_sms_unknown_message;
    }
    Reader reader = start(*tpdu, *info, SMS_MSG_STATUS_REPORT);
    reader.skip(2);  // first octet, message reference
    sms_number_field_to_text(reader.rest, info->address);
    reader.skip(sms_number_field_size(reader.rest));
    reader.skip(2 * c_time_stamp_octets);  // of the service centre, and of the end of the message
    info->delivery_status = reader.rest.empty() ? SMS_DELIVERY_FAILED : delivery_status(reader.take());
    reader.skip(2);  // parameter indicator, protocol identifier
    unpack_dcs(reader, *info);
    return 0;
}

uint32_t sms_unpack_septets_to_wchar(std::span<const uint8_t> data, size_t count, std::span<uint16_t> out, size_t fill,
                                     bool extension, size_t* out_length) {
    std::array<uint8_t, c_max_septets> septets;
    const size_t unpacked = gsm_unpack_septets(data, fill, std::span(septets).first(std::min(count, septets.size())));
    size_t length = 0;
    if (!out.empty()) {
        const std::span<uint16_t> text = out.first(out.size() - 1);
        gsm7_defaultString_toUnicodeString(std::span(septets).first(unpacked), text, &length, extension);
        out[length] = 0;
    }
    if (out_length != nullptr) {
        *out_length = length;
    }
    return 1;
}

size_t sms_unpack_octet_to_wchar(std::span<const uint8_t> data, std::span<uint16_t> out, size_t count) {
    if (out.empty()) {
        return 0;
    }
    const size_t length = std::min({count, data.size(), out.size() - 1});
    std::copy_n(data.begin(), length, out.begin());
    out[length] = 0;
    return length;
}

void sms_get_pid(const sms_tpdu* tpdu, uint32_t* pid_type, uint8_t* pid_byte) {
    uint8_t pid = 0;
    if (tpdu != nullptr) {
        Reader reader = open(*tpdu);
        reader.skip(reader.take());
        reader.take();  // first octet
        reader.skip(sms_address_field_size(reader.rest));
        pid = reader.take();
    }
    sms_decode_pid(pid, pid_type);
    if (pid_byte != nullptr) {
        *pid_byte = pid;
    }
}

void sms_pdu_extract_first_octet_and_msgref(std::span<const uint8_t> pdu, uint8_t* first, uint8_t* mr) {
    Reader reader{pdu};
    reader.skip(reader.take());
    const uint8_t first_octet = reader.take();
    const uint8_t message_reference = reader.take();
    if (first != nullptr) {
        *first = first_octet;
    }
    if (mr != nullptr) {
        *mr = message_reference;
    }
}
