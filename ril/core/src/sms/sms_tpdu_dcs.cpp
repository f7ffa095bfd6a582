// The octets of a TPDU that tell what to do with it.
#include "ril/core/src/sms/sms_tpdu.h"

namespace {

struct DcsMeaning {
    uint32_t coding;
    uint32_t msg_class;  // 0 leaves the class as it is
    uint32_t extended_class;
};

DcsMeaning general_data_coding(uint8_t dcs) {
    const uint32_t coding = SMS_CODING_GSM7 + ((dcs >> 2) & 3U);
    if ((dcs & 0x10) == 0) {
        return {coding, SMS_CLASS_NONE, SMS_EXTENDED_CLASS_NONE};
    }
    return {coding, SMS_CLASS_0 + (dcs & 3U), SMS_EXTENDED_CLASS_0 + (dcs & 3U)};
}

DcsMeaning message_waiting(uint8_t dcs, SmsCoding coding, SmsClass msg_class, SmsExtendedClass first_extended_class) {
    const uint32_t indication = dcs & 3U;
    return {coding, indication != 0 ? msg_class : 0U, first_extended_class + indication};
}

DcsMeaning meaning_of_dcs(uint8_t dcs) {
    switch (dcs >> 4) {
        case 0x0:
        case 0x1:
        case 0x2:
        case 0x3:
            return general_data_coding(dcs);
        case 0x4:
        case 0x5:
        case 0x6:
        case 0x7:
            return {SMS_CODING_GSM7, SMS_CLASS_NONE, SMS_EXTENDED_CLASS_NONE};
        case 0xC:
            return message_waiting(dcs, SMS_CODING_GSM7, SMS_CLASS_WAITING_DISCARD,
                                   SMS_EXTENDED_CLASS_DISCARD_VOICEMAIL);
        case 0xD:
            return message_waiting(dcs, SMS_CODING_GSM7, SMS_CLASS_WAITING_STORE, SMS_EXTENDED_CLASS_STORE_VOICEMAIL);
        case 0xE:
            return message_waiting(dcs, SMS_CODING_UCS2, SMS_CLASS_WAITING_STORE, SMS_EXTENDED_CLASS_STORE_VOICEMAIL);
        case 0xF:
            return {(dcs & 4) == 0 ? SMS_CODING_GSM7 : SMS_CODING_8BIT, SMS_CLASS_0 + (dcs & 3U),
                    SMS_EXTENDED_CLASS_0 + (dcs & 3U)};
        default:
            return {SMS_CODING_RESERVED, SMS_CLASS_RESERVED, SMS_EXTENDED_CLASS_RESERVED};
    }
}

void store(uint32_t* out, uint32_t value) {
    if (out != nullptr) {
        *out = value;
    }
}

}  // namespace

void sms_get_codingscheme_class(uint8_t dcs, uint32_t* msg_class, uint32_t* coding) {
    const DcsMeaning meaning = meaning_of_dcs(dcs);
    if (meaning.msg_class != 0) {
        store(msg_class, meaning.msg_class);
    }
    store(coding, meaning.coding);
}

void sms_get_codingscheme_extended_class(uint8_t dcs, uint32_t* extended_class, uint32_t* coding) {
    const DcsMeaning meaning = meaning_of_dcs(dcs);
    store(extended_class, meaning.extended_class);
    store(coding, meaning.coding);
}

void sms_decode_pid(uint8_t pid_byte, uint32_t* pid_type) {
    uint32_t type = SMS_PID_NORMAL;
    if (pid_byte >= 0x41 && pid_byte <= 0x47) {
        type = SMS_PID_REPLACE_TYPE_1 + pid_byte - 0x41U;
    } else if (pid_byte == 0x5F) {
        type = SMS_PID_RETURN_CALL;
    } else if (pid_byte >= 0x7D && pid_byte <= 0x7F) {
        type = SMS_PID_ME_DATA_DOWNLOAD + pid_byte - 0x7DU;
    }
    store(pid_type, type);
}
