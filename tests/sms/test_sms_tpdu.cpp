#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "ril/core/src/sms/sms_tpdu.h"
#include "tests/decode/codec_test.h"

namespace {

constexpr uint32_t c_untouched = 77;

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
    // The same file, sms_charset_default_ext: the extension table. The last digit of the address stands where an odd
    // number has its fill.
    {"0001000B915310101010100000151BC58602DAA036A9CD6BC3DBF436BE0D705306", 1, "", "+350101010101", u"", 0x00, 1, 9, 15,
     u"\f^ {}\\[~]|€"},
    // The same file, ems_udh_test_1: a header of 27 octets, one fill bit.
    {"0041000B915121551532F40000631A0A031906200A032104100A032705040A032E05080A043807002B8ACD29A85D9ECFC3E7F21C340E"
     "BB41E3B79B1E4EBB41697A989D1EB340E2379BCC02B1C3F27399059AB7C36C3628EC2683C66FF65B5E2683E8653C1D",
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
    // From the tests of Gammu (tests/at-sms): a status report that ends behind its status.
    {"079124603050020006E80C91666666666666909070618422809090706184628000", 5, "+420603052000", "+666666666666", u"",
     0x00, 0, 0, 0, u""},
    // By hand: a recipient counts as a number, at most 12 octets of it, whatever its type says; parameters behind. The
    // "+" leaves no room for a twentieth digit. The special nibbles, and the reserved ones that repeat the digit before
    // them in their half of the octet. Two octets of type 0xD0 are no text, and no text has more than eleven
    // characters.
    {"0006AA1ED02143658709214365870911111111111111222222222222222107F510", 5, "", "12345678901234567890", u"", 0x10, 1,
     2, 2, u""},
    {"000414912143658709214365870900F4", 3, "", "+1234567890123456789", u"", 0xF4, 2, 2, 2, u""},
    {"00040881A1CB21DE00F4", 3, "", "1*#p1212", u"", 0xF4, 2, 2, 2, u""},
    {"000404D1E83400F4", 3, "", "8", u"hi", 0xF4, 2, 2, 2, u""},
    {"00041ED0C8F71D14969741F977FD07C8F71D1400F4", 3, "", "8p7", u"How are you", 0xF4, 2, 2, 2, u""},
};

sms_tpdu tpdu_of(const Bytes& pdu, uint8_t behind = 0) {
    sms_tpdu tpdu{.status = 0, .length = static_cast<uint8_t>(pdu.size()), .data = {}};
    tpdu.data.fill(behind);
    std::copy(pdu.begin(), pdu.end(), tpdu.data.begin());
    return tpdu;
}

unpacked_smsinfo unpacked(const Bytes& pdu, bool extension = true) {
    const sms_tpdu tpdu = tpdu_of(pdu);
    unpacked_smsinfo info;
    EXPECT_EQ(sms_unpack_msg(&tpdu, &info, extension), 0U);
    return info;
}

TEST(SmsTpdu, PublishedMessagesAndEdges) {
    for (const Vector& v : c_vectors) {
        const unpacked_smsinfo info = unpacked(hex(v.pdu));
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

TEST(SmsTpdu, TextsEndWithTheirLengthAndTheMessage) {
    // A submission with each validity period, then messages of each coding scheme with more or less than their text.
    const std::string submit = "000181F10000", scheme = "00000181F100", time = "11111111111111";
    const std::pair<std::string, std::u16string> texts[] = {
        {"0001" + submit + "02E834", u"hi"},
        {"0009" + submit + "0123456789ABCD02E834", u"hi"},
        {"0011" + submit + "AA02E834", u"hi"},
        {"0019" + submit + "0123456789ABCD02E834", u"hi"},
        {scheme + "00" + time + "02E83400410042", u"hi"},
        {scheme + "04" + time + "0268690041", u"hi"},
        {scheme + "08" + time + "0300680069", u"h"},
        {scheme + "0C" + time + "026869", u""},
        {scheme + "00" + time + "0CC8F71D14", u"How "},
    };
    for (const auto& [pdu, text] : texts) {
        const unpacked_smsinfo info = unpacked(hex(pdu));
        EXPECT_EQ(text_of(info.ud_text.data(), info.ud_length), text) << pdu;
    }
    EXPECT_EQ(unpacked(hex(c_vectors[3].pdu), false).ud_text[1], 0x0A);  // behind an escape that is none
    EXPECT_EQ(unpacked(hex("000404D0E834")).alpha_address[0], 0);
    EXPECT_EQ(unpacked({0, 0x04}).reply_path, 0U);
    EXPECT_EQ(unpacked({0, 0x84}).reply_path, 1U);
}

TEST(SmsTpdu, RefusesReservedTypeEmptyAndNull) {
    unpacked_smsinfo info;
    for (const char* pdu : {"0003", "", "00", "0791"}) {
        const sms_tpdu tpdu = tpdu_of(hex(pdu), 0xFF);
        EXPECT_EQ(sms_unpack_msg(&tpdu, &info, true), 36U) << pdu;
        EXPECT_EQ(sms_unpack_msg(&tpdu, nullptr, true), 36U);
    }
    EXPECT_EQ(sms_unpack_msg(nullptr, &info, true), 36U);
    uint8_t pid = 7;
    sms_get_pid(nullptr, nullptr, &pid);
    EXPECT_EQ(pid, 0);
}

TEST(SmsTpdu, StatusOfReportsOverAllValues) {
    // 3GPP TS 23.040, 9.2.3.15: completed, still trying, and the rest. A report without a status tells of no delivery.
    Bytes report = hex(c_vectors[8].pdu);
    for (int status = 0; status < 256; ++status) {
        report.back() = static_cast<uint8_t>(status);
        EXPECT_EQ(unpacked(report).delivery_status, status < 3                        ? 0U
                                                    : status >= 0x20 && status < 0x40 ? 1U
                                                                                      : 2U)
            << status;
    }
    report.pop_back();
    EXPECT_EQ(unpacked(report).delivery_status, SMS_DELIVERY_FAILED);
}

TEST(SmsFields, DataCodingSchemesOverAllValues) {
    // 3GPP TS 23.038, clause 4, in the values of the decoded record: coding, class, extended class.
    struct Row {
        int first, last;
        std::vector<uint32_t> coding;     // by bits 3 and 2
        std::vector<uint32_t> msg_class;  // by bits 1 and 0
        std::vector<uint32_t> extended_class;
    };
    const std::vector<uint32_t> classes = {2, 3, 4, 5};
    const Row rows[] = {{0x00, 0x0F, {1, 2, 3, 4}, {9, 9, 9, 9}, {15, 15, 15, 15}},
                        {0x10, 0x1F, {1, 2, 3, 4}, classes, classes},
                        {0x20, 0x2F, {1, 2, 3, 4}, {9, 9, 9, 9}, {15, 15, 15, 15}},
                        {0x30, 0x3F, {1, 2, 3, 4}, classes, classes},
                        {0x40, 0x7F, {1, 1, 1, 1}, {9, 9, 9, 9}, {15, 15, 15, 15}},
                        {0x80, 0xBF, {4, 4, 4, 4}, {8, 8, 8, 8}, {14, 14, 14, 14}},
                        {0xC0, 0xCF, {1, 1, 1, 1}, {c_untouched, 6, 6, 6}, {6, 7, 8, 9}},
                        {0xD0, 0xDF, {1, 1, 1, 1}, {c_untouched, 7, 7, 7}, {10, 11, 12, 13}},
                        {0xE0, 0xEF, {3, 3, 3, 3}, {c_untouched, 7, 7, 7}, {10, 11, 12, 13}},
                        {0xF0, 0xFF, {1, 2, 1, 2}, classes, classes}};
    int next = 0;
    for (const Row& row : rows) {
        ASSERT_EQ(row.first, next);
        for (; next <= row.last; ++next) {
            const auto dcs = static_cast<uint8_t>(next);
            uint32_t msg_class = c_untouched, extended_class = c_untouched, coding = 0;
            sms_get_codingscheme_class(dcs, &msg_class, &coding);
            sms_get_codingscheme_extended_class(dcs, &extended_class, nullptr);
            EXPECT_EQ(coding, row.coding[dcs >> 2 & 3]) << next;
            EXPECT_EQ(msg_class, row.msg_class[dcs & 3]) << next;
            EXPECT_EQ(extended_class, row.extended_class[dcs & 3]) << next;
        }
    }
    EXPECT_EQ(next, 256);
}

TEST(SmsFields, ProtocolIdentifiersOverAllValues) {
    // 3GPP TS 23.040, 9.2.3.9.
    const std::map<int, uint32_t> special = {{0x41, 2}, {0x42, 3}, {0x43, 4},  {0x44, 5},  {0x45, 6}, {0x46, 7},
                                             {0x47, 8}, {0x5F, 9}, {0x7D, 10}, {0x7E, 11}, {0x7F, 12}};
    for (int pid = 0; pid < 256; ++pid) {
        uint32_t type = c_untouched;
        sms_decode_pid(static_cast<uint8_t>(pid), &type);
        EXPECT_EQ(type, special.contains(pid) ? special.at(pid) : 0U) << pid;
    }
}

TEST(SmsFields, FirstOctetAndReference) {
    uint8_t first = c_untouched, mr = c_untouched;
    sms_pdu_extract_first_octet_and_msgref(hex("02911111AA"), &first, &mr);
    EXPECT_EQ(std::make_pair(first, mr), std::make_pair(uint8_t{0x11}, uint8_t{0xAA}));
}

TEST(SmsFields, NumbersIntoFields) {
    std::pair<std::string, const char*> numbers[] = {
        {"*#pP", "03A1BACCFFFF"},
        {"1x3", "03A1F1F3FFFF"},
        {"12345678901234567890", "0BA1214365870921436587F9"},
        {"+123456789012345678901", "0B91214365870921436587F9"},
    };
    for (auto& [text, field] : numbers) {
        Bytes out(hex(field).size());
        EXPECT_EQ(sms_num_to_bcd(text.data(), out), 1U);
        EXPECT_EQ(out, hex(field)) << text;
    }
    // The number and its type alone, in as many octets as there are.
    const std::map<std::string, std::string> fields = {{"12*#", "0391213A"}, {"1234", "029121"}};
    for (const auto& [text, field] : fields) {
        Bytes out(field.size() / 2, 0xEE);
        sms_encode_addressfield_semioctets(text.c_str(), 145, out);
        EXPECT_EQ(out, hex(field));
    }
    EXPECT_EQ(sms_get_type_of_phone_number_address("0+1"), 145U);
    EXPECT_EQ(sms_get_type_of_phone_number_address(nullptr), 129U);
}

}  // namespace
