// The strings of a keypad as the network reads them, and texts in their codings.
#include <gtest/gtest.h>

#include "host/modem/gsm_text.h"
#include "host/modem/mmi.h"
#include "host/modem/subscriber.h"

namespace {

std::string parsed(const std::string& text) {
    const auto mmi = parse_mmi(text);
    if (!mmi) {
        return "ussd";
    }
    std::string result = std::to_string(static_cast<int>(mmi->procedure)) + " " + mmi->code;
    for (const std::string& item : mmi->items) {
        result += "," + item;
    }
    return result;
}

TEST(Mmi, Grammar) {
    const std::pair<const char*, const char*> c_cases[] = {
        {"*21#", "0 21"},           {"#21#", "1 21"},
        {"*#21#", "2 21"},          {"**21*+491234*11#", "3 21,+491234,11"},
        {"##002#", "4 002"},        {"**61***20#", "3 61,,,20"},
        {"*33*0000#", "0 33,0000"}, {"*03**1*2*2#", "0 03,,1,2,2"},
    };
    for (const auto& [text, wanted] : c_cases) {
        EXPECT_EQ(parsed(text), wanted) << text;
    }
    for (const char* text :
         {"", "#", "##", "*#", "*1#", "*1234#", "21#", "*21", "*21*1a#", "*21*1+2#", "*21#1#", "*21*1*2*3*4*5#"}) {
        EXPECT_EQ(parsed(text), "ussd") << text;
    }
}

// What the subscriber's services refuse, each behind those before it.
TEST(Subscriber, Refusals) {
    using namespace subscriber;
    const std::pair<const char*, Error> c_cases[] = {
        {"*67#", ERROR_STATUS},  // nothing is registered
        {"**67#", ILLEGAL_OPERATION},
        {"**67*07*99#", ILLEGAL_OPERATION},
        {"**61*07**7#", ILLEGAL_OPERATION},
        {"*33*0000*11#", NO_ERROR},
        {"*330*0000#", ILLEGAL_OPERATION},  // only taken away
        {"*331*0000*11#", NO_ERROR},
        {"#330*0000#", NO_ERROR},
        {"*03*330*0000*1234*1243#", PASSWORD_REGISTRATION_FAILURE},
        {"*03*330*0000*12345*12345#", PASSWORD_REGISTRATION_FAILURE},
        {"*03*330*0000*1234*1234#", NO_ERROR},
        {"*35*0000#", NEGATIVE_PASSWORD_CHECK},
        {"*35*0000#", NEGATIVE_PASSWORD_CHECK},
        {"*35*0000#", NEGATIVE_PASSWORD_CHECK},
        {"*35*1234#", TOO_MANY_ATTEMPTS},
    };
    for (const auto& [text, error] : c_cases) {
        EXPECT_EQ(serve(1, *parse_mmi(text))->error, error) << text;
    }
    EXPECT_FALSE(serve(1, *parse_mmi("*100#")));  // no service
}

// 3GPP TS 23.038, 6.1.2.3.1: a return fills the octet.
TEST(GsmText, ComesOutAsItWentIn) {
    for (const char* text : {"", "1", "1234567", "12345678", "{[~]}\\^|€", "@£$ÄöΩ", "Мой счёт"}) {
        const CodedText coded = code_text(text, 184);
        EXPECT_EQ(coded.dcs, text[0] == '\xD0' ? c_dcs_ucs2 : c_dcs_gsm) << text;
        EXPECT_EQ(decode_text(coded.octets, coded.dcs), text);
    }
    EXPECT_EQ(code_text("1234567", 184).octets, (std::vector<uint8_t>{0x31, 0xD9, 0x8C, 0x56, 0xB3, 0xDD, 0x1A}));
    EXPECT_EQ(code_text(std::string(300, 'a'), 184).octets.size(), 184U);
}

}  // namespace
