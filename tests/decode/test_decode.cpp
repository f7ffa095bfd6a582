#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>

#include "ril/core/src/decode/decode.h"
#include "tests/decode/codec_test.h"

namespace {

// 3GPP TS 23.038, 6.2.1, code by code; the escape (27) is left out as a zero.
constexpr char16_t c_alphabet[] =
    u"@£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞ\0ÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?"
    u"¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖÑÜ§¿abcdefghijklmnopqrstuvwxyzäöñüà";

// 3GPP TS 23.038, 6.2.1.1.
const std::map<int, char16_t> c_extension = {{0x0A, 0x0C}, {0x14, u'^'}, {0x28, u'{'}, {0x29, u'}'}, {0x2F, u'\\'},
                                             {0x3C, u'['}, {0x3D, u'~'}, {0x3E, u']'}, {0x40, u'|'}, {0x65, u'€'}};

// Pages of cell broadcasts from the tests of oFono (unit/test-sms.c: cbs1 and cbs3), the six octets of the header left
// out: "Belconnen" with padding, and 93 septets on a full page, an escape without meaning in
// front of its "Æ".
const Bytes c_page_belconnen = hex(
    "C2327BFC76BBCBEE46A3D168341A8D46A3D168341A8D46A3D168341A8D46A3D168341A8D46A3D168341A8D46A3D168341A8D46A3D168341A"
    "8D46A3D168341A8D46A3D168341A8D46A3D168341A8D46A3D100");
const Bytes c_page_alphabet = hex(
    "E280604028180E888462C168381E90886442A9582E988C66C3E9783EA09068442A994EA8946AC56AB95EB0986C46ABD96EB89C6EC7EBF97E"
    "C0A070482C1A8FC8A472C96C3A9FD0A8744AAD5AAFD8AC76CB05");
constexpr std::u16string_view c_alphabet_on_page =
    u"b£$¥èéùìòÇ\nØø\rÅåΔ_ΦΓΛΩΠΨΣΘΞÆæßÉ !\"#¤%&'()*+,-./0123456789:;<=>?¡ABCDEFGHIJKLMNOPQRSTUVWXYZÄÖ";

struct Decoded {
    uint32_t result;
    uint32_t kind;
    std::u16string text;
};

constexpr uint32_t c_untouched = 77;

Decoded decode(uint8_t dcs, const Bytes& data, uint32_t character_set, size_t size = 400) {
    std::vector<uint16_t> out(size, 0xBEEF);
    size_t length = c_untouched;
    Decoded decoded{.result = 0, .kind = c_untouched, .text = {}};
    decoded.result = decode_gsm(out, dcs, data, &length, true, &decoded.kind, character_set);
    if (decoded.result == 1 && length < size) {
        EXPECT_EQ(out[length], 0);
    }
    EXPECT_TRUE(decoded.result == 1 || length == 0);
    decoded.text = text_of(out.data(), std::min(length, size));
    return decoded;
}

TEST(Decode, AlphabetAndExtensionOverAllCodes) {
    for (int code = 0; code < 256; ++code) {
        const auto septet = static_cast<uint8_t>(code);
        const char16_t character = code < 128 ? c_alphabet[code] : u' ';
        const auto extension = c_extension.find(code);
        const bool is_extension = extension != c_extension.end();
        EXPECT_EQ(Gsm7DefaultToUnicode(septet), character) << code;
        EXPECT_EQ(gsm_to_ucs2(septet), code > 127 ? -1 : code == 27 ? 0xFFFE : character) << code;
        EXPECT_EQ(Gsm7DefaultExtendedToUnicode(septet), is_extension ? extension->second
                                                        : code == 27 ? u' '
                                                                     : character)
            << code;
        EXPECT_EQ(gsm_extn_to_charset(septet), is_extension ? extension->second : -1) << code;
    }
}

TEST(Decode, UnicodeToGsmOverAllCharacters) {
    std::map<uint16_t, std::pair<uint8_t, uint8_t>> known;
    for (uint8_t code = 0; code < 128; ++code) {
        known[c_alphabet[code]] = {code, 0};
    }
    for (const auto& [code, character] : c_extension) {
        known[character] = {code, 1};
    }
    for (uint32_t character = 0; character < 0x10000; ++character) {
        uint8_t is_extended = c_untouched;
        const uint8_t code = uta_agg_util_unicodetogsm7default(static_cast<uint16_t>(character), &is_extended);
        const auto found = known.find(static_cast<uint16_t>(character));
        const std::pair<uint8_t, uint8_t> blank = {32, 0};
        ASSERT_EQ(std::make_pair(code, is_extended), found != known.end() ? found->second : blank) << character;
    }
}

// From the tests of libosmocore (tests/sms/sms_test.c), but the last, which is the usual first example of the packing.
const std::map<std::string, const char*> c_packed_texts = {
    {"test text", "F4F29C0EA297F174"},
    {"!$ a more#^- complicated test@@?_%! case",
     "2101280C6ABFE5E5D186D2028DDF6D383B3D0ED3CB6410BD3CA70300BF4829041A87E765"},
    {"enhanced ^ {][} test |+~ ^ test", "65373AEC1E97C9A00D05B4416D7C1BDE2605A297E774D006B8DAF4401B0A885E9ED301"},
    {"enhanced ^ {][} test |+~ ^ tests", "65373AEC1E97C9A00D05B4416D7C1BDE2605A297E774D006B8DAF4401B0A885E9ED3E7"},
    {"hellohello", "E8329BFD4697D9EC37"}};

TEST(Decode, PacksPublishedTexts) {
    for (const auto& [text, packed_hex] : c_packed_texts) {
        const Bytes packed = hex(packed_hex);
        Bytes out(packed.size() + 9);
        const GsmPacked made = gsm_pack_text(text, out);
        out.resize(made.octets);
        EXPECT_EQ(out, packed) << text;
        EXPECT_EQ(made.octets, (made.septets * 7 + 7) / 8);
        // Behind other characters, from every bit on, they come out again.
        for (size_t first = 0; first < 8; ++first) {
            Bytes behind(out.size() + 7);
            gsm_pack_text(std::string(first, 'a') + text, behind);
            Bytes septets(made.septets);
            EXPECT_EQ(gsm_unpack_septets(behind, 7 * first, septets), made.septets);
            std::vector<uint16_t> characters(made.septets);
            size_t length = 0;
            gsm7_defaultString_toUnicodeString(septets, characters, &length, true);
            EXPECT_EQ(std::string(characters.begin(), characters.begin() + static_cast<ptrdiff_t>(length)), text);
        }
    }
    // An escape is not left alone: of "^^" in three octets only the first fits.
    Bytes three(3);
    EXPECT_EQ(gsm_pack_text(std::string("^^"), three).septets, 2U);
}

TEST(Decode, EscapesInTexts) {
    const Bytes codes = {'a', 27, 101, 27, 27, 27, 'b', 200, 27};
    const std::map<bool, std::u16string> expected = {{true, u"a€ b  "}, {false, std::u16string(u"a\0e\0\0\0b \0", 9)}};
    for (const auto& [escape, text] : expected) {
        std::vector<uint16_t> out(12);
        size_t length = c_untouched;
        gsm7_defaultString_toUnicodeString(codes, out, &length, escape);
        EXPECT_EQ(text_of(out.data(), length), text);
    }
}

TEST(Decode, CodingSchemesOverAllValues) {
    // 3GPP TS 23.038, clause 5: what each scheme makes of the packed form of "hell".
    const Bytes data = {0xE8, 0x32, 0x9B, 0xFD};
    const Decoded none{.result = 0, .kind = c_untouched, .text = u""};
    const Decoded septets{.result = 1, .kind = 1, .text = u"hell"};
    const Decoded ucs2{.result = 1, .kind = 3, .text = u"\xE832\x9BFD"};
    const Decoded ucs2_with_language{.result = 1, .kind = 3, .text = u"\x9BFD"};
    const Decoded octets{.result = 1, .kind = c_untouched, .text = u"\xE8\x32\x9B\xFD"};
    std::vector<Decoded> expected(256, none);
    for (const size_t dcs : {0x00U, 0x01U, 0x0FU, 0x10U}) {
        expected[dcs] = septets;
    }
    expected[0x11] = ucs2_with_language;
    for (const size_t group : {0x40U, 0x50U, 0xC0U, 0xD0U}) {
        for (size_t low = 0; low < 4; ++low) {
            expected[group + low] = septets;
            expected[group + 8 + low] = ucs2;
        }
    }
    for (size_t low = 0; low < 4; ++low) {
        expected[0xF0 + low] = expected[0xF8 + low] = septets;
        expected[0xF4 + low] = expected[0xFC + low] = octets;
    }
    for (size_t dcs = 0; dcs < 256; ++dcs) {
        const Decoded decoded = decode(static_cast<uint8_t>(dcs), data, AGG_CSCS_UCS2);
        EXPECT_EQ(decoded.result, expected[dcs].result) << dcs;
        EXPECT_EQ(decoded.kind, expected[dcs].kind) << dcs;
        EXPECT_EQ(decoded.text, expected[dcs].text) << dcs;
    }
}

TEST(Decode, CellBroadcastPages) {
    ASSERT_EQ(c_page_alphabet.size(), c_cbs_page_octets);
    const std::u16string alphabet(c_alphabet_on_page);
    Bytes pages = c_page_alphabet;
    EXPECT_EQ(decode(0x01, pages, AGG_CSCS_UCS2).text, alphabet);
    pages.insert(pages.end(), c_page_belconnen.begin(), c_page_belconnen.end());
    const std::u16string both = alphabet + u"Belconnen\r";
    EXPECT_EQ(decode(0x10, pages, AGG_CSCS_UCS2).text, both);
    // The codes themselves.
    EXPECT_EQ(decode(0x10, pages, AGG_CSCS_GSM).text.substr(0, 5), u"b\x01\x02\x03\x04");
    // 1456 septets and no more, of pages without padding.
    const Bytes many(20 * c_cbs_page_octets, 0x00);
    EXPECT_EQ(decode(0x00, many, AGG_CSCS_UCS2, 3000).text, std::u16string(1456, u'@'));
    EXPECT_EQ(decode(0x00, many, AGG_CSCS_IRA, 3000).text.size(), 1456U);
}

TEST(Decode, CellBroadcastPagesWithLanguage) {
    // 3GPP TS 23.038, clause 5, coding group 0001: "en", a carriage return and 90 septets on each page.
    Bytes pages;
    for (const char fill : {'a', 'b'}) {
        pages.resize(pages.size() + c_cbs_page_octets);
        gsm_pack_text("en\r" + std::string(90, fill), std::span(pages).last(c_cbs_page_octets));
    }
    std::vector<uint16_t> out(200);
    size_t length = 0;
    cbs_UnpackSeptetMessage(out, &length, pages, DECODE_LANGUAGE_INDICATOR, true, AGG_CSCS_UCS2);
    EXPECT_EQ(text_of(out.data(), length), std::u16string(90, u'a') + std::u16string(90, u'b'));
    // Two octets of language and 40 characters on each page of UCS2.
    Bytes wide(2 * c_cbs_page_octets);
    for (size_t i = 0; i < wide.size(); ++i) {
        wide[i] = static_cast<uint8_t>(i);
    }
    const std::u16string text = decode(0x11, wide, AGG_CSCS_GSM).text;
    EXPECT_EQ(text.size(), 80U);
    EXPECT_EQ(text.substr(39, 2), u"\x5051\x5455");
}

TEST(Decode, Ucs2EndsAtReturnAndZero) {
    // Lengths by what is read: a lone last octet is no character, a zero ends the text only behind a carriage return.
    const std::map<std::string, std::u16string> texts = {{"00410042000D00000043", u"AB"},
                                                         {"0041000D", u"A\r"},
                                                         {"004100000042", std::u16string(u"A\0B", 3)},
                                                         {"004100", u"A"}};
    for (const auto& [octets, text] : texts) {
        std::vector<uint16_t> out(5);
        size_t length = c_untouched;
        decode_ucs2(out, &length, hex(octets), DECODE_LANGUAGE_NONE);
        EXPECT_EQ(text_of(out.data(), length), text) << octets;
    }
}

TEST(Decode, EightBitOutput) {
    // The alphabet without its escape, then escapes: a brace, the euro sign, one without a character, one at the end.
    // Of what is not ITU-T T.50's nothing is written.
    Bytes codes(128);
    std::iota(codes.begin(), codes.end(), uint8_t{0});
    codes[27] = 200;
    codes.insert(codes.end(), {27, 40, 27, 101, 27, 102, 'z', 27});
    const std::string ira =
        "@$\n\r_ !\"#%&'()*+,-./0123456789:;<=>?ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz{\xACz";
    const std::vector<uint16_t> wide(codes.begin(), codes.end());
    std::vector<char> out(ira.size() + 2, '?');
    size_t length = c_untouched;
    EXPECT_EQ(gsm_coded_to_cscs(out, wide, 1, &length), 1U);
    EXPECT_EQ(std::string(out.data(), length), ira);
    const Bytes some = {0x10, 'a', 0x80, 27, 0x65};
    const std::string copied = std::string("\x10") + "a\x1B" + "e";
    const std::map<uint32_t, std::string> by_set = {{AGG_CSCS_PCCP437, std::string("\x94") + "a\xAC"},
                                                    {AGG_CSCS_GSM, copied},
                                                    {AGG_CSCS_IRA, copied},
                                                    {AGG_CSCS_HEX, ""}};
    for (const auto& [set, text] : by_set) {
        convert_gsm_to_text(some, out, set, &length);
        EXPECT_EQ(std::string(out.data(), length), text) << set;
        EXPECT_EQ(is_gsmconversion_needed(set), set == 2 || set == 3 ? 0U : 1U);
    }
    // By flag and kind; an output that is too small is refused in the fuzzing.
    const uint32_t calls[][3] = {{1, 1, 1}, {2, 1, 0}, {1, 2, 0}, {1, 3, 0}};
    for (const auto& [flag, kind, result] : calls) {
        EXPECT_EQ(uint16str_to_str(out, std::vector<uint16_t>{'a'}, flag, kind, &length), result);
        EXPECT_EQ(length, result);
    }
}

}  // namespace
