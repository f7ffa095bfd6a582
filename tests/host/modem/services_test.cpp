// The strings of a keypad as the network reads them, what they do to a subscriber, and texts in their codings.
#include <gtest/gtest.h>

#include "host/modem/gsm_text.h"
#include "host/modem/mmi.h"
#include "host/modem/subscriber.h"

namespace {

using subscriber::Error;

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
    const struct {
        const char* text;
        const char* parsed;
    } c_cases[] = {
        {"*21#", "0 21"},
        {"#21#", "1 21"},
        {"*#21#", "2 21"},
        {"**21*+491234*11#", "3 21,+491234,11"},
        {"##002#", "4 002"},
        {"**61***20#", "3 61,,,20"},
        {"*33*0000#", "0 33,0000"},
        {"*03*330*1*2*2#", "0 03,330,1,2,2"},
        {"*03**1*2*2#", "0 03,,1,2,2"},
        {"*100#", "0 100"},
        {"", "ussd"},
        {"#", "ussd"},
        {"##", "ussd"},
        {"*#", "ussd"},
        {"*1#", "ussd"},
        {"*1234#", "ussd"},
        {"21#", "ussd"},
        {"*21", "ussd"},
        {"*21*1a#", "ussd"},
        {"*21*1+2#", "ussd"},
        {"*21#1#", "ussd"},
        {"*21*1*2*3*4*5#", "ussd"},
    };
    for (const auto& it : c_cases) {
        EXPECT_EQ(parsed(it.text), it.parsed) << it.text;
    }
}

Error error_of(const char* text) {
    return subscriber::serve(1, *parse_mmi(text))->error;
}

TEST(Subscriber, Forwarding) {
    using namespace subscriber;
    EXPECT_EQ(error_of("*67#"), ERROR_STATUS);  // nothing is registered
    EXPECT_EQ(error_of("**67#"), ILLEGAL_OPERATION);
    EXPECT_EQ(error_of("**67*07*99#"), ILLEGAL_OPERATION);
    EXPECT_EQ(error_of("**61*07**7#"), ILLEGAL_OPERATION);
    EXPECT_EQ(error_of("*67*07*13#"), NO_ERROR);  // for fax alone
    EXPECT_FALSE(diversion(1, BUSY));
    EXPECT_EQ(diversion(1, BUSY, FAX)->number, "07");
    EXPECT_EQ(error_of("**61*08*11*15#"), NO_ERROR);
    EXPECT_EQ(diversion(1, NO_REPLY)->seconds, 15);
    EXPECT_EQ(error_of("#61#"), NO_ERROR);
    EXPECT_FALSE(diversion(1, NO_REPLY));
    EXPECT_EQ(error_of("*61#"), NO_ERROR);
    EXPECT_EQ(diversion(1, NO_REPLY)->number, "08");
    EXPECT_EQ(error_of("*33*0000*11#"), INCOMPATIBLE);
    EXPECT_EQ(error_of("##002#"), NO_ERROR);
    const auto answer = serve(1, *parse_mmi("*#61#"));
    ASSERT_EQ(answer->entries.size(), 1U);
    EXPECT_EQ(answer->entries[0].status, 4);
}

TEST(Subscriber, BarringAndItsPassword) {
    using namespace subscriber;
    EXPECT_EQ(error_of("*331*0000*11#"), NO_ERROR);
    EXPECT_TRUE(bars_outgoing(1, "+331234"));
    EXPECT_TRUE(bars_outgoing(1, "00331234"));
    EXPECT_FALSE(bars_outgoing(1, "+491234"));
    EXPECT_FALSE(bars_outgoing(1, "089"));
    EXPECT_EQ(error_of("*330*0000#"), ILLEGAL_OPERATION);  // only taken away
    EXPECT_EQ(error_of("*#330#"), ILLEGAL_OPERATION);
    EXPECT_EQ(error_of("#330*0000#"), NO_ERROR);
    EXPECT_FALSE(bars_outgoing(1, "+331234"));
    EXPECT_EQ(error_of("*351*0000*11#"), NO_ERROR);
    EXPECT_TRUE(bars_incoming(1, true));
    EXPECT_FALSE(bars_incoming(1, false));
    EXPECT_EQ(error_of("#351*0000#"), NO_ERROR);
    EXPECT_EQ(error_of("*03*330*0000*1234*1243#"), PASSWORD_REGISTRATION_FAILURE);
    EXPECT_EQ(error_of("*03*330*0000*12345*12345#"), PASSWORD_REGISTRATION_FAILURE);
    EXPECT_EQ(error_of("*03*330*0000*1234*1234#"), NO_ERROR);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(error_of("*35*0000#"), NEGATIVE_PASSWORD_CHECK);
    }
    EXPECT_EQ(error_of("*35*1234#"), TOO_MANY_ATTEMPTS);
    EXPECT_FALSE(bars_incoming(1, true));
}

TEST(Subscriber, CodesThatAreNoServices) {
    for (const char* text : {"*100#", "*20#", "#32#"}) {
        EXPECT_FALSE(subscriber::serve(1, *parse_mmi(text))) << text;
    }
}

// 3GPP TS 23.038, 6.1.2.3.1: a return fills the octet.
TEST(GsmText, ComesOutAsItWentIn) {
    for (const char* text : {"", "1", "1234567", "12345678", "My account\n1 Balance", "{[~]}\\^|€", "@£$ÄöΩ"}) {
        const CodedText coded = code_text(text, 184);
        EXPECT_EQ(coded.dcs, c_dcs_gsm) << text;
        EXPECT_EQ(decode_text(coded.octets, coded.dcs), text);
    }
    EXPECT_EQ(code_text("1234567", 184).octets, (std::vector<uint8_t>{0x31, 0xD9, 0x8C, 0x56, 0xB3, 0xDD, 0x1A}));
    const CodedText coded = code_text("Мой счёт", 184);
    EXPECT_EQ(coded.dcs, c_dcs_ucs2);
    EXPECT_EQ(decode_text(coded.octets, coded.dcs), "Мой счёт");
    EXPECT_EQ(code_text(std::string(300, 'a'), 184).octets.size(), 184U);
}

}  // namespace
