// Random messages of an independent codec.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "ril/core/src/sms/sms_tpdu.h"
#include "tests/decode/codec_test.h"
#include "tests/sms/osmocom.h"

namespace {

std::mt19937 s_random(20040);

size_t pick(size_t below) {
    return s_random() % below;
}

// Latin-1 characters of the alphabet and its extension, without a zero. Of the others, the other codec's table keeps
// something else in the places of the section sign and the inverted question mark.
const std::string c_characters =
    "@\xA3$\xA5\xE8\xE9\xF9\xEC\xF2\xC7\n\xD8\r\xC5\xE5_\xC6\xE6\xDF\xC9 !\"#%&'()*+,-./0123456789:;<=>?"
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz\xE0^{}\\[~]|\xF8\xC4\xD6\xD1\xDC\xE4\xF6\xF1\xFC";

std::string random_text(size_t max_length) {
    std::string text(pick(max_length + 1), ' ');
    std::generate(text.begin(), text.end(), [&] { return c_characters[pick(c_characters.size())]; });
    return text;
}

std::string random_number(size_t length) {
    std::string number(length, '0');
    std::generate(number.begin(), number.end(), [] { return static_cast<char>('0' + pick(10)); });
    return number;
}

std::string latin(const uint16_t* text, size_t length) {
    std::string result(length, ' ');
    std::transform(text, text + length, result.begin(), [](uint16_t c) { return static_cast<char>(c); });
    return result;
}

TEST(SmsOsmocom, DecodesItsMessages) {
    for (int i = 0; i < 20000; ++i) {
        const bool is_alpha = pick(4) == 0;
        const std::string sender = is_alpha ? std::string("AbcdefGhijk", 1 + pick(10)) : random_number(1 + pick(19));
        const std::string centre = random_number(1 + pick(19));
        const std::string text = random_text(60);
        const size_t header_octets = pick(3) == 0 ? 1 + pick(20) : 0;
        const size_t header_septets = (header_octets * 8 + 6) / 7;

        Bytes centre_field(12);
        ASSERT_GT(gsm48_encode_bcd_number(centre_field.data(), 12, 1, centre.c_str()), 0);
        centre_field[1] = 0x91;
        centre_field.resize(centre_field[0] + 1U);
        Bytes sender_field(12);
        const int sender_size =
            gsm340_gen_oa(sender_field.data(), 12, is_alpha ? GSM340_TYPE_ALPHA_NUMERIC : GSM340_TYPE_INTERNATIONAL,
                          is_alpha ? GSM340_PLAN_UNKNOWN : GSM340_PLAN_ISDN, sender.c_str());
        ASSERT_GT(sender_size, 0);
        sender_field.resize(static_cast<size_t>(sender_size));
        Bytes septets(200);
        septets.resize(static_cast<size_t>(gsm_septet_encode(septets.data(), text.c_str())));
        Bytes packed(200);
        const size_t fill = header_septets * 7 - header_octets * 8;
        packed.resize(static_cast<size_t>(
            gsm_septet_pack(packed.data(), septets.data(), septets.size(), static_cast<uint8_t>(fill))));

        Bytes pdu = centre_field;
        pdu.push_back(header_octets != 0 ? 0x44 : 0x04);
        pdu.insert(pdu.end(), sender_field.begin(), sender_field.end());
        pdu.insert(pdu.end(), {0x00, 0x00, 0x99, 0x30, 0x92, 0x51, 0x61, 0x95, 0x80});
        pdu.push_back(static_cast<uint8_t>(septets.size() + header_septets));
        for (size_t octet = 0; octet < header_octets; ++octet) {
            pdu.push_back(static_cast<uint8_t>(octet == 0 ? header_octets - 1 : pick(256)));
        }
        const Bytes user_data(pdu.end() - static_cast<ptrdiff_t>(header_octets), pdu.end());
        pdu.insert(pdu.end(), packed.begin(), packed.end());

        sms_tpdu tpdu{.status = 0, .length = static_cast<uint8_t>(pdu.size()), .data = {}};
        std::copy(pdu.begin(), pdu.end(), tpdu.data.begin());
        unpacked_smsinfo info;
        ASSERT_EQ(sms_unpack_msg(&tpdu, &info, true), 0U);
        ASSERT_EQ(info.sc_address.data(), "+" + centre);
        ASSERT_EQ(latin(info.ud_text.data(), info.ud_length), text);
        if (!is_alpha) {
            ASSERT_EQ(info.address.data(), "+" + sender);
        } else if (sender.size() != 2) {
            // Its length counts whole octets, so eight bits of septets may hold one septet more.
            ASSERT_EQ(latin(info.alpha_address.data(), sender.size()), sender);
        }
    }
}

}  // namespace
