// The codec of short messages: hexadecimal text, telephone numbers in semi-octets, and what the system has to know of a
// TPDU (3GPP TS 23.040, 9.2). Everything here is a function of its arguments, for any thread.
//
// A span whose pointer is null counts as a null argument. Nothing is read behind the end of the input or written behind
// the end of an output: a field that is cut short gives what is there of it, one that is missing counts as zero, and
// what does not fit into an output is left out. Pointers to results may be null.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// A message as it comes from the modem or the SIM and goes there.
struct sms_tpdu {
    int32_t status;
    uint8_t length;                 // octets in `data`
    std::array<uint8_t, 176> data;  // the service centre address, then the TPDU
};

enum SmsMsgType : uint32_t { SMS_MSG_SUBMIT = 1, SMS_MSG_DELIVER = 3, SMS_MSG_STATUS_REPORT = 5 };

enum SmsDeliveryStatus : uint32_t { SMS_DELIVERED = 0, SMS_DELIVERY_PENDING = 1, SMS_DELIVERY_FAILED = 2 };

enum SmsCoding : uint32_t { SMS_CODING_GSM7 = 1, SMS_CODING_8BIT = 2, SMS_CODING_UCS2 = 3, SMS_CODING_RESERVED = 4 };

enum SmsClass : uint32_t {
    SMS_CLASS_0 = 2,  // classes 1 to 3 follow
    SMS_CLASS_WAITING_DISCARD = 6,
    SMS_CLASS_WAITING_STORE = 7,
    SMS_CLASS_RESERVED = 8,
    SMS_CLASS_NONE = 9
};

// Message classes as in SmsClass, otherwise the kind of message that waits: voicemail, fax, e-mail, other.
enum SmsExtendedClass : uint32_t {
    SMS_EXTENDED_CLASS_0 = 2,
    SMS_EXTENDED_CLASS_DISCARD_VOICEMAIL = 6,
    SMS_EXTENDED_CLASS_STORE_VOICEMAIL = 10,
    SMS_EXTENDED_CLASS_RESERVED = 14,
    SMS_EXTENDED_CLASS_NONE = 15
};

enum SmsPidType : uint32_t {
    SMS_PID_NORMAL = 0,
    SMS_PID_REPLACE_TYPE_1 = 2,  // types 2 to 7 follow
    SMS_PID_RETURN_CALL = 9,
    SMS_PID_ME_DATA_DOWNLOAD = 10,
    SMS_PID_ME_DEPERSONALIZATION = 11,
    SMS_PID_SIM_DATA_DOWNLOAD = 12
};

// A decoded message.
struct unpacked_smsinfo {
    uint32_t msg_type_id;               // SmsMsgType
    uint32_t delivery_status;           // SmsDeliveryStatus, of a status report
    uint32_t coding;                    // SmsCoding
    uint32_t msg_class;                 // SmsClass
    uint32_t extended_class;            // SmsExtendedClass
    uint32_t address_is_alpha;          // 1 if the originator or destination is alphanumeric
    uint32_t reply_path;                // 1 if the deliverer offers it
    std::array<uint16_t, 161> ud_text;  // ends in 0
    uint16_t ud_length;                 // characters in `ud_text`
    std::array<uint16_t, 13> alpha_address;
    uint8_t dcs;
    std::array<char, 21> address;  // originator, destination or recipient
    std::array<char, 21> sc_address;
};

constexpr uint32_t c_sms_unknown_message = 36;

// Decodes a message of any type into `info`, which is cleared first. With `extension` the escape to the GSM extension
// table is honoured. 0, or c_sms_unknown_message for the reserved type 3, a message without a first octet and a null
// argument. The other three do the same for one type, whatever the type in the message says.
uint32_t sms_unpack_msg(const sms_tpdu* tpdu, unpacked_smsinfo* info, bool extension);
uint32_t sms_unpack_delivery_msg(const sms_tpdu* tpdu, unpacked_smsinfo* info, bool extension);
uint32_t sms_unpack_submit_msg(const sms_tpdu* tpdu, unpacked_smsinfo* info, bool extension);
uint32_t sms_unpack_status_report_msg(const sms_tpdu* tpdu, unpacked_smsinfo* info, bool extension);

// Decodes an address field, which starts with its length in digits, into `address`, `address_is_alpha` and
// `alpha_address`. Returns the octets that the field takes, at most the size of `field`.
size_t sms_unpack_address_data(std::span<const uint8_t> field, unpacked_smsinfo* info, bool extension);

// Unpacks `count` septets, the first one `fill` bits into the data, as characters with a 0 behind them. The number of
// characters goes to `*out_length`. Always 1.
uint32_t sms_unpack_septets_to_wchar(std::span<const uint8_t> data, size_t count, std::span<uint16_t> out, size_t fill,
                                     bool extension, size_t* out_length);

// Copies `count` octets to as many characters, with a 0 behind them. Returns the number of characters.
size_t sms_unpack_octet_to_wchar(std::span<const uint8_t> data, std::span<uint16_t> out, size_t count);

// What a data coding scheme (3GPP TS 23.038, clause 4) says. A message waiting group with the indication type 0 leaves
// the class as it is.
void sms_get_codingscheme_class(uint8_t dcs, uint32_t* msg_class, uint32_t* coding);
void sms_get_codingscheme_extended_class(uint8_t dcs, uint32_t* extended_class, uint32_t* coding);

// The protocol identifier of a deliver message and what it asks for; both 0 if the message ends before it.
void sms_get_pid(const sms_tpdu* tpdu, uint32_t* pid_type, uint8_t* pid_byte);
void sms_decode_pid(uint8_t pid_byte, uint32_t* pid_type);

// First octet and message reference of a submit message behind its service centre address.
void sms_pdu_extract_first_octet_and_msgref(std::span<const uint8_t> pdu, uint8_t* first, uint8_t* mr);

// The text of a service centre field, which starts with its length in octets. Returns the octets that the field takes,
// at most the size of `field`.
size_t sms_bcd_to_num(std::span<const uint8_t> field, std::span<char> text);

// Makes a service centre field of a number; the rest of `field` becomes 0xFF. A number of more than 20 characters, 19
// without "+", is cut in place. Always 1.
uint32_t sms_num_to_bcd(char* text, std::span<uint8_t> field);

// Makes a field of a number like the above, without the special digits, for an address `type` of 145 or another.
void sms_encode_addressfield_semioctets(const char* text, uint32_t type, std::span<uint8_t> field);

constexpr uint32_t c_sms_type_international = 145;  // in a service centre field, ISDN numbering plan
constexpr uint32_t c_sms_type_unknown = 129;
constexpr uint32_t c_sms_type_national = 161;

// 145 for a number with a "+", else 129.
uint32_t sms_get_type_of_phone_number_address(const char* text);

// Upper-case hexadecimal text with a null byte behind it, which `*out_len` counts. 0, or -1 if it does not fit or an
// argument is null.
int32_t sms_generate_hexstring_from_hexbuffer(std::span<const uint8_t> in, std::span<char> out, size_t* out_len);

// Octets of hexadecimal text in either case, an odd last digit ignored, with a zero octet behind them where there is
// room. 0; -1 if they do not fit or text or output is null; -10 at a character that is no hexadecimal digit, with what
// was converted before it left in `out`. `*out_len` is 0 then.
int32_t sms_convert_hexstring_to_hexbuffer(std::span<const char> text, std::span<uint8_t> out, size_t* out_len);
