// The network's and the console's codec of messages, against octets that were published or written by hand.
#include "host/sms/message.h"

#include <gtest/gtest.h>

namespace {

using namespace sms;

// 3GPP TS 23.038, 6.1.2.1: "hellohello" in nine octets. A part ends before an escape whose character would be in the
// next one, and before half a pair of surrogates.
TEST(Text, PartsAndTheirAlphabets) {
    EXPECT_EQ(hex_of(user_data_of("hellohello", 1).at(0).octets), "E8329BFD4697D9EC37");
    const struct {
        std::string text;
        int dcs;
        size_t length;  // of the first part
        size_t parts;
    } c_cases[] = {
        {"€[]", 0, 6, 1},
        {std::string(160, 'a'), 0, 160, 1},
        {std::string(161, 'a'), 0, 160, 2},  // 153 characters behind a header of 7 septets
        {std::string(152, 'a') + "€" + std::string(10, 'b'), 0, 159, 2},
        {std::string(69, 'a') + "ы", 8, 140, 1},
        {std::string(70, 'a') + "ы", 8, 140, 2},
        {std::string(66, 'a') + "😀" + std::string(10, 'b'), 8, 138, 2},
    };
    for (const auto& it : c_cases) {
        const auto parts = user_data_of(it.text, 7);
        ASSERT_EQ(parts.size(), it.parts) << it.text;
        EXPECT_EQ(parts[0].dcs, it.dcs) << it.text;
        EXPECT_EQ(parts[0].length, it.length) << it.text;
        EXPECT_EQ(text_of(parts[0]) + (it.parts == 2 ? text_of(parts[1]) : ""), it.text);
        if (it.parts == 2) {
            const auto part = part_of(parts[1]);
            EXPECT_TRUE(part && part->reference == 7 && part->total == 2 && part->number == 2) << it.text;
        }
    }
}

// Messages of 3GPP TS 23.040, 9.2.2, by hand.
TEST(Message, IsReadAndWritten) {
    const std::pair<const char*, const char*> c_cases[] = {
        {"07919471016700000404912143000062115211020300"
         "0AE8329BFD4697D9EC37",
         "from=+1234 at=2026-11-25 11:20:30 text=\"hellohello\""},
        {"000100039121F700000AE8329BFD4697D9EC37", "to=+127 text=\"hellohello\""},
        {"0006050491214362115211020300621152110203002B", "report for=+1234 reference=5 status=43"},
        {"000409D0E8329BFD0600086211521102030004042F0431", "from=hello at=2026-11-25 11:20:30 text=\"Яб\""},
    };
    for (const auto& [octets, text] : c_cases) {
        const auto message = read(*octets_of(octets));
        ASSERT_TRUE(message) << octets;
        EXPECT_EQ(describe(*message), text);
        if (message->number.starts_with('+')) {
            EXPECT_EQ(hex_of(write(*message)), octets);
        }
    }
    const Octets whole = *octets_of("07919471016700000404912143000062115211020300");
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(read(std::span(whole).first(length))) << length;
    }
    EXPECT_FALSE(read(*octets_of("000304912143")));  // of no kind
}

}  // namespace
