// A message from the network: the length octet may lie, and what lies behind the message must not matter.
#include <algorithm>
#include <cstring>
#include <tuple>

#include "fuzz/decode/input.h"
#include "ril/core/src/sms/sms_tpdu.h"

namespace {

bool is_text(std::span<const char> text) {
    return std::find(text.begin(), text.end(), '\0') != text.end();
}

void check(const unpacked_smsinfo& info) {
    FUZZ_CHECK(is_text(info.address) && is_text(info.sc_address));
    FUZZ_CHECK(info.ud_length < info.ud_text.size() && info.ud_text[info.ud_length] == 0);
    FUZZ_CHECK(info.alpha_address.back() == 0);
    FUZZ_CHECK(info.coding <= SMS_CODING_RESERVED && info.msg_class <= SMS_CLASS_NONE);
    FUZZ_CHECK(info.extended_class <= SMS_EXTENDED_CLASS_NONE && info.delivery_status <= SMS_DELIVERY_FAILED);
    FUZZ_CHECK(info.coding != SMS_CODING_RESERVED || info.ud_length == 0);
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
    check(info);
    uint32_t pid_type = 0;
    sms_get_pid(&tpdu, &pid_type, nullptr);
    FUZZ_CHECK(pid_type <= SMS_PID_SIM_DATA_DOWNLOAD);
    return info;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const uint8_t flags = input.choice();
    const bool extension = (flags & 1) != 0;
    const std::vector<uint8_t> pdu = input.rest();
    sms_tpdu tpdu{.status = 0, .length = 0, .data = {}};
    const size_t length = std::min(pdu.size(), tpdu.data.size());
    std::copy_n(pdu.begin(), length, tpdu.data.begin());
    tpdu.length = static_cast<uint8_t>(length);
    sms_tpdu other = tpdu;
    std::fill(other.data.begin() + static_cast<ptrdiff_t>(length), other.data.end(), uint8_t{0xA5});
    for (const Unpack unpack :
         {sms_unpack_msg, sms_unpack_delivery_msg, sms_unpack_submit_msg, sms_unpack_status_report_msg}) {
        uint32_t result = 0;
        uint32_t other_result = 0;
        const unpacked_smsinfo info = run(unpack, tpdu, extension, result);
        const unpacked_smsinfo other_info = run(unpack, other, extension, other_result);
        FUZZ_CHECK(result == other_result && (result == 0 || result == c_sms_unknown_message));
        FUZZ_CHECK(members(info) == members(other_info));
    }
    // The length octet says more than there is, up to what no record holds.
    other.length = static_cast<uint8_t>(flags | 0x80);
    uint32_t result = 0;
    run(sms_unpack_msg, other, extension, result);
    uint8_t first = 0;
    uint8_t reference = 0;
    sms_pdu_extract_first_octet_and_msgref(pdu, &first, &reference);
    return 0;
}
