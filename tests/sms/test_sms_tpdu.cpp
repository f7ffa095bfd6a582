#include <gtest/gtest.h>

#include <algorithm>

#include "ril/core/src/sms/sms_tpdu.h"
#include "tests/decode/codec_test.h"

namespace {

struct Vector {
    const char* pdu;
    uint32_t type;
    const char* sc_address;
    const char* address;
    std::u16string alpha;
    uint8_t dcs;
    uint32_t coding;
    uint32_t msg_class;
    uint32_t extended_class;
    std::u16string text;
};

const Vector c_vectors[] = {
    // oFono, unit/test-sms.c: simple_deliver, alnum_sender, simple_mwi.
    {"07911326040000F0040B911346610089F60000208062917314480CC8F71D14969741F977FD07", 3, "+31624000000", "+31641600986",
     u"", 0x00, 1, 9, 15, u"How are you?"},
    {"0791447758100650040DD0F334FC1CA6970100008080312170224008D4F29CDE0EA7D9", 3, "+447785016005", "3", u"sipgate",
     0x00, 1, 9, 15, u"Testmail"},
    {"07913366002020F8040B913366600600F100C83180706174148000", 3, "+33660002028", "+33660660001", u"", 0xC8, 1, 0, 6,
     u""},
    // The same file, sms_charset_default and sms_charset_default_ext: the alphabet with a blank for the escape, and the
    // extension table. The last digit of the address stands where an odd number has its fill.
    {"0001000B9153101010101000008080806040281"
     "80E888462C168381E90886442A9582E988C06C4E9783EA09068442A994EA8946AC56AB95EB0986C46ABD96EB89C6EC7EBF97EC0A070482C1A"
     "8F"
     "C8A472C96C3A9FD0A8744AAD5AAFD8AC76CBED7ABFE0B0784C2E9BCFE8B47ACD6EBBDFF0B87C4EAFDBEFF8BC7ECFEFFBFF",
     1, "", "+350101010101", u"", 0x00, 1, 9, 15,
     u"@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞ ÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?"
     u"¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§¿abcdefghijklmnopqrstuvwxyzäöñüà"},
    {"0001000B915310101010100000151BC58602DAA036A9CD6BC3DBF436BE0D705306", 1, "", "+350101010101", u"", 0x00, 1, 9, 15,
     u"\f^ {}\\[~]|€"},
    // The same file, ems_udh_test_1: a header of 27 octets, one fill bit.
    {"0041000B915121551532F40000631A0A031906200A032104100A032705040A032E05080A043807002B8ACD29A85D9ECFC3E7F21C340EBB41E"
     "3B7"
     "9B1E4EBB41697A989D1EB340E2379BCC02B1C3F27399059AB7C36C3628EC2683C66FF65B5E2683E8653C1D",
     1, "", "+15125551234", u"", 0x00, 1, 9, 15,
     u"EMS messages can contain italic, bold, large, small and colored text"},
    // 3GPP TS 31.124, 27.22.4.10.1 (SEND SHORT MESSAGE), sequences 1.1 and 1.3, behind the service centre address
    // of the same commands: 8-bit data, 7-bit and UCS2 text.
    {"099111223344556677F80100099110325476F840F40C54657374204D657373616765", 1, "+112233445566778", "+012345678", u"",
     0xF4, 2, 2, 2, u"Test Message"},
    {"099111223344556677F80100099110325476F840F00D53F45B4E0735CBF379F85C06", 1, "+112233445566778", "+012345678", u"",
     0xF0, 1, 2, 2, u"Short Message"},
    {"099111223344556677F80100099110325476F8400818041704140420041004120421042204120423041904220415", 1,
     "+112233445566778", "+012345678", u"", 0x08, 3, 9, 15, u"ЗДРАВСТВУЙТЕ"},
    // Captures from the tests of Gammu (tests/at-sms): a status report that ends behind its status, and one that is
    // filled up.
    {"079124603050020006E80C91666666666666909070618422809090706184628000", 5, "+420603052000", "+666666666666", u"",
     0x00, 0, 0, 0, u""},
    {"079124602009999002AB098106845688F8907080517375809070805183018000FFFFFFFFFFFF", 5, "+420602909909", "604865888",
     u"", 0xFF, 2, 5, 5, u""},
};

sms_tpdu tpdu_of(const Bytes& pdu, uint8_t behind = 0) {
    sms_tpdu tpdu{.status = 0, .length = static_cast<uint8_t>(pdu.size()), .data = {}};
    tpdu.data.fill(behind);
    std::copy(pdu.begin(), pdu.end(), tpdu.data.begin());
    return tpdu;
}

TEST(SmsTpdu, PublishedMessages) {
    for (const Vector& v : c_vectors) {
        const sms_tpdu tpdu = tpdu_of(hex(v.pdu));
        unpacked_smsinfo info;
        EXPECT_EQ(sms_unpack_msg(&tpdu, &info, true), 0U);
        EXPECT_EQ(info.msg_type_id, v.type) << v.pdu;
        EXPECT_STREQ(info.sc_address.data(), v.sc_address) << v.pdu;
        EXPECT_STREQ(info.address.data(), v.address) << v.pdu;
        EXPECT_EQ(info.address_is_alpha, v.alpha.empty() ? 0U : 1U) << v.pdu;
        EXPECT_EQ(text_of(info.alpha_address.data(), v.alpha.size() + 1).c_str(), v.alpha) << v.pdu;
        EXPECT_EQ(info.dcs, v.dcs) << v.pdu;
        EXPECT_EQ(info.coding, v.coding) << v.pdu;
        EXPECT_EQ(info.msg_class, v.msg_class) << v.pdu;
        EXPECT_EQ(info.extended_class, v.extended_class) << v.pdu;
        EXPECT_EQ(text_of(info.ud_text.data(), info.ud_length), v.text) << v.pdu;
        EXPECT_EQ(info.ud_text[info.ud_length], 0) << v.pdu;
    }
}

TEST(SmsTpdu, CutMessagesGiveWhatIsThere) {
    const Bytes whole = hex(c_vectors[0].pdu);
    const std::u16string text = u"How are you?";
    for (size_t octets = 0; octets < 11; ++octets) {
        const sms_tpdu tpdu = tpdu_of(Bytes(whole.begin(), whole.end() - 11 + static_cast<ptrdiff_t>(octets)));
        unpacked_smsinfo info;
        EXPECT_EQ(sms_unpack_msg(&tpdu, &info, true), 0U);
        EXPECT_EQ(text_of(info.ud_text.data(), info.ud_length), text.substr(0, octets * 8 / 7));
    }
    // A length that the record cannot hold.
    sms_tpdu full = tpdu_of(whole, 0xFF);
    full.length = 255;
    full.data[whole.size() - 12] = 255;
    unpacked_smsinfo info;
    EXPECT_EQ(sms_unpack_msg(&full, &info, true), 0U);
    EXPECT_EQ(info.ud_length, 160);
    // A status report that is cut before its status does not report a delivery.
    Bytes report = hex(c_vectors[9].pdu);
    report.pop_back();
    const sms_tpdu cut = tpdu_of(report);
    EXPECT_EQ(sms_unpack_msg(&cut, &info, true), 0U);
    EXPECT_EQ(info.delivery_status, SMS_DELIVERY_FAILED);
}

TEST(SmsTpdu, RefusesReservedTypeEmptyAndNull) {
    unpacked_smsinfo info;
    for (const char* pdu : {"0003", "", "00", "0791"}) {
        const sms_tpdu tpdu = tpdu_of(hex(pdu), 0xFF);
        EXPECT_EQ(sms_unpack_msg(&tpdu, &info, true), 36U) << pdu;
        EXPECT_EQ(take_log(), "1 6 DUN-RIL: sms_unpack_msg: Unpacking msg ERROR!\n");
    }
    EXPECT_EQ(sms_unpack_msg(nullptr, &info, true), 36U);
    const sms_tpdu tpdu = tpdu_of(hex("0000"));
    EXPECT_EQ(sms_unpack_msg(&tpdu, nullptr, true), 36U);
    uint8_t pid = 7;
    sms_get_pid(nullptr, nullptr, &pid);
    EXPECT_EQ(pid, 0);
}

TEST(SmsTpdu, TextEndsWithUserData) {
    const std::pair<const char*, std::u16string> texts[] = {
        {"0002E834", u"hi"}, {"04026869", u"hi"}, {"080400680069", u"hi"}, {"080300680069", u"h"}, {"0C026869", u""}};
    for (const auto& [rest, text] : texts) {
        const std::string scheme(rest, 2);
        const sms_tpdu tpdu = tpdu_of(hex("00000181F100" + scheme + "11111111111111" + (rest + 2) + "00410042"));
        unpacked_smsinfo info;
        EXPECT_EQ(sms_unpack_msg(&tpdu, &info, true), 0U);
        EXPECT_EQ(text_of(info.ud_text.data(), info.ud_length), text) << rest;
    }
}

TEST(SmsTpdu, ReportsOfLongRecipientsAndWithParameters) {
    // A recipient counts as a number, at most 12 octets of it, whatever its type says.
    const sms_tpdu tpdu =
        tpdu_of(hex("0006AA1ED021436587092143658709"
                    "11111111111111"
                    "22222222222222"
                    "21"
                    "07"
                    "F5"
                    "10"));
    unpacked_smsinfo info;
    EXPECT_EQ(sms_unpack_msg(&tpdu, &info, true), 0U);
    EXPECT_STREQ(info.address.data(), "12345678901234567890");
    EXPECT_EQ(info.address_is_alpha, 0U);
    EXPECT_EQ(info.delivery_status, SMS_DELIVERY_PENDING);
    EXPECT_EQ(info.dcs, 0x10);
    EXPECT_EQ(info.msg_class, 2U);
}

TEST(SmsTpdu, ValidityPeriodsAndReplyPath) {
    const std::pair<const char*, const char*> formats[] = {
        {"01", ""}, {"09", "0123456789ABCD"}, {"11", "AA"}, {"19", "0123456789ABCD"}};
    for (const auto& [first_octet, period] : formats) {
        const sms_tpdu tpdu = tpdu_of(hex(std::string("00") + first_octet + "000181F10000" + period + "02E834"));
        unpacked_smsinfo info;
        EXPECT_EQ(sms_unpack_msg(&tpdu, &info, true), 0U);
        EXPECT_EQ(text_of(info.ud_text.data(), info.ud_length), u"hi") << first_octet;
    }
    for (const uint8_t first_octet : {uint8_t{0x04}, uint8_t{0x84}}) {
        const sms_tpdu tpdu = tpdu_of({0, first_octet});
        unpacked_smsinfo info;
        EXPECT_EQ(sms_unpack_msg(&tpdu, &info, true), 0U);
        EXPECT_EQ(info.reply_path, first_octet >> 7);
    }
}

TEST(SmsTpdu, StatusOfReportsOverAllValues) {
    // 3GPP TS 23.040, 9.2.3.15: completed, still trying, and the rest.
    Bytes report = hex(c_vectors[9].pdu);
    for (int status = 0; status < 256; ++status) {
        report.back() = static_cast<uint8_t>(status);
        const sms_tpdu tpdu = tpdu_of(report);
        unpacked_smsinfo info;
        EXPECT_EQ(sms_unpack_msg(&tpdu, &info, true), 0U);
        EXPECT_EQ(info.delivery_status, status < 3 ? 0U : status >= 0x20 && status < 0x40 ? 1U : 2U) << status;
    }
}

}  // namespace
