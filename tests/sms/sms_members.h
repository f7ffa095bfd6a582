// All of a decoded message, to compare two.
#pragma once

#include <tuple>

#include "ril/core/src/sms/sms_tpdu.h"

inline auto members(const unpacked_smsinfo& info) {
    return std::tie(info.msg_type_id, info.delivery_status, info.coding, info.msg_class, info.extended_class,
                    info.address_is_alpha, info.reply_path, info.ud_text, info.ud_length, info.alpha_address, info.dcs,
                    info.address, info.sc_address);
}
