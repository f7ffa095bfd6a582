#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "ril/core/src/sms/sms_tpdu.h"
#include "tests/decode/codec_test.h"

namespace {

constexpr uint32_t c_untouched = 77;

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
            uint32_t msg_class = c_untouched, extended_class = c_untouched, coding = 0, coding2 = 0;
            sms_get_codingscheme_class(dcs, &msg_class, &coding);
            sms_get_codingscheme_extended_class(dcs, &extended_class, &coding2);
            EXPECT_EQ(coding, row.coding[dcs >> 2 & 3]) << next;
            EXPECT_EQ(coding2, coding) << next;
            EXPECT_EQ(msg_class, row.msg_class[dcs & 3]) << next;
            EXPECT_EQ(extended_class, row.extended_class[dcs & 3]) << next;
        }
    }
    EXPECT_EQ(next, 256);
    sms_get_codingscheme_class(0, nullptr, nullptr);
    sms_get_codingscheme_extended_class(0, nullptr, nullptr);
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
    const std::map<std::string, std::pair<uint8_t, uint8_t>> pdus = {
        {"0011AA", {0x11, 0xAA}}, {"02911111AA", {0x11, 0xAA}}, {"0011", {0x11, 0}}, {"0211", {0, 0}}, {"", {0, 0}}};
    for (const auto& [pdu, octets] : pdus) {
        uint8_t first = c_untouched, mr = c_untouched;
        sms_pdu_extract_first_octet_and_msgref(hex(pdu), &first, &mr);
        EXPECT_EQ(std::make_pair(first, mr), octets) << pdu;
        sms_pdu_extract_first_octet_and_msgref(hex(pdu), nullptr, nullptr);
    }
}

TEST(SmsFields, Addresses) {
    struct Case {
        const char* field;
        const char* address;
        std::u16string alpha;
        size_t size;
    };
    const Case cases[] = {
        // From the tests of libosmocore (tests/sms/sms_test.ok, gsm340_gen_oa).
        {"148121436587092143658719", "12345678901234567891", u"", 12},
        {"14D04F78D92D9C0EC3E23119", "", u"OpenBSCabcd", 12},
        {"00", "", u"", 1},
        {"009112", "", u"", 2},
        {"0391"
         "21F3FF",
         "+123", u"", 4},
        // "+" and twenty digits: the last one finds no room.
        {"149121436587092143658709", "+1234567890123456789", u"", 12},
        {"20812143658709214365870921436587092143", "12345678901234567890", u"", 12},
        // The special nibbles, and the reserved ones that repeat the digit before them in their half of the octet.
        {"0481"
         "A1CB",
         "1*#p", u"", 4},
        {"06812143DE", "123434", u"", 5},
        {"0281DE", "", u"", 3},
        // A septet pair of four digits is read only with another type than 0xD0.
        {"04D0E834", "", u"", 4},
        {"04D1E834", "", u"hi", 4},
        {"1ED0"
         "C8F71D14969741F977FD07C8F71D1499",
         "", u"How are you", 17},
        {"FFD0"
         "C8F71D14969741F977FD07",
         "", u"How are you", 13},
    };
    for (const Case& c : cases) {
        unpacked_smsinfo info{};
        EXPECT_EQ(sms_unpack_address_data(hex(c.field), &info, true), c.size) << c.field;
        if (info.address_is_alpha == 0) {
            EXPECT_STREQ(info.address.data(), c.address) << c.field;
        }
        EXPECT_EQ(text_of(info.alpha_address.data(), c.alpha.size() + 1).c_str(), c.alpha) << c.field;
    }
}

TEST(SmsFields, NumbersIntoFields) {
    const struct {
        const char* text;
        const char* field;  // of 12 octets, without those that stay 0xFF at its end
        const char* back;
    } cases[] = {
        {"", "00", ""},
        {"+31624000000", "07911326040000F0", "+31624000000"},
        {"604865888", "06A106845688F8", "604865888"},
        {"*#pP", "03A1BACC", "*#pp"},
        {"1x3", "03A1F1F3", "1"},
        {"12345678901234567890", "0BA1214365870921436587F9", "1234567890123456789"},
        {"+123456789012345678901", "0B91214365870921436587F9", "+1234567890123456789"},
    };
    for (const auto& c : cases) {
        Bytes expected = hex(c.field);
        expected.resize(12, 0xFF);
        std::string text = c.text;
        Bytes field(12);
        EXPECT_EQ(sms_num_to_bcd(text.data(), field), 1U);
        EXPECT_EQ(field, expected) << c.text;
        EXPECT_STREQ(text.data(), std::string(c.text).substr(0, c.text[0] == '+' ? 20 : 19).data());
        std::vector<char> back(21, '?');
        EXPECT_EQ(sms_bcd_to_num(field, back), std::min<size_t>(field[0] + 1U, field.size()));
        EXPECT_STREQ(back.data(), c.back);
    }
    // The number and its type alone, in as many octets as there are.
    const std::map<std::string, std::string> fields = {
        {"+31641600986", "07911346610089F6EE"}, {"12*#", "0391213A"}, {"1234", "029121"}};
    for (const auto& [text, field] : fields) {
        Bytes out(field.size() / 2, 0xEE);
        sms_encode_addressfield_semioctets(text.c_str(), 145, out);
        EXPECT_EQ(out, hex(field));
    }
    EXPECT_EQ(sms_get_type_of_phone_number_address("0+1"), 145U);
    for (const char* text : {static_cast<const char*>(nullptr), "", "123"}) {
        EXPECT_EQ(sms_get_type_of_phone_number_address(text), 129U);
    }
}

TEST(SmsFields, EscapesInTexts) {
    std::vector<uint16_t> out(4);
    size_t length = 0;
    // The escape is honoured or not; alone at the end it is a blank.
    const Bytes escapes = pack_bit_by_bit({27, 101, 27});
    sms_unpack_septets_to_wchar(escapes, 3, out, 0, true, &length);
    EXPECT_EQ(text_of(out.data(), length), u"€ ");
    sms_unpack_septets_to_wchar(escapes, 3, out, 0, false, &length);
    EXPECT_EQ(text_of(out.data(), length), std::u16string(u"\0e\0", 3));
}

TEST(SmsFields, Hexadecimal) {
    const Bytes octets = {0x00, 0x9A, 0xFF};
    std::vector<char> made(7, '?');
    size_t length = 0;
    EXPECT_EQ(sms_generate_hexstring_from_hexbuffer(octets, made, &length), 0);
    EXPECT_STREQ(made.data(), "009AFF");
    EXPECT_EQ(length, 7U);
    made.pop_back();
    EXPECT_EQ(sms_generate_hexstring_from_hexbuffer(octets, made, &length), -1);
    EXPECT_EQ(take_log(),
              "1 6 DUN-RIL: sms_generate_hexstring_from_hexbuffer: Generate Hex string failed because Output string "
              "size < 2 * input string len\n");
    const struct {
        std::string text;
        int32_t result;
        Bytes octets;
    } cases[] = {{"009aFf", 0, octets}, {"00F", 0, {0}},     {"0000", -1, {0xEE}}, {"00G0", -10, {0, 0xEE}},
                 {"0g", -10, {0xEE}},   {"/:", -10, {0xEE}}, {"@`", -10, {0xEE}}};
    for (const auto& c : cases) {
        Bytes out(c.octets.size(), 0xEE);
        const std::vector<char> text(c.text.begin(), c.text.end());
        EXPECT_EQ(sms_convert_hexstring_to_hexbuffer(text, out, &length), c.result) << c.text;
        EXPECT_EQ(out, c.octets) << c.text;
        EXPECT_EQ(length, c.result == 0 ? c.text.size() / 2 : 0) << c.text;
        EXPECT_EQ(take_log(), c.result == -10 ? "1 6 DUN-RIL: sms_convert_hexstring_to_hexbuffer: bad format\n" : "");
    }
}

}  // namespace
