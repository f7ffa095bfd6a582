// The network's and the console's codec of messages, against octets that were published or written by hand.
#include "host/sms/message.h"

#include <gtest/gtest.h>

namespace {

using namespace sms;

std::string joined(const std::vector<UserData>& parts) {
    std::string text;
    for (const UserData& data : parts) {
        text += text_of(data);
    }
    return text;
}

// 3GPP TS 23.038, 6.1.2.1: "hellohello" in nine octets.
TEST(Text, SeptetsAsPublished) {
    const auto parts = user_data_of("hellohello", 1);
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(hex_of(parts[0].octets), "E8329BFD4697D9EC37");
    EXPECT_EQ(parts[0].length, 10);
    EXPECT_EQ(text_of(parts[0]), "hellohello");
}

TEST(Text, AlphabetsAndTheirLengths) {
    const struct {
        std::string text;
        int dcs;
        size_t length;  // of the first part
        size_t parts;
    } c_cases[] = {
        {"", 0, 0, 1},
        {"€[]", 0, 6, 1},
        {"@£$¥èéùìò\n", 0, 10, 1},
        {std::string(160, 'a'), 0, 160, 1},
        {std::string(161, 'a'), 0, 160, 2},  // 153 characters behind a header of 7 septets
        {"ы", 8, 2, 1},
        {"😀", 8, 4, 1},
        {std::string(69, 'a') + "ы", 8, 140, 1},
        {std::string(70, 'a') + "ы", 8, 140, 2},
    };
    for (const auto& it : c_cases) {
        const auto parts = user_data_of(it.text, 7);
        ASSERT_EQ(parts.size(), it.parts) << it.text;
        EXPECT_EQ(parts[0].dcs, it.dcs) << it.text;
        EXPECT_EQ(parts[0].length, it.length) << it.text;
        EXPECT_EQ(joined(parts), it.text);
    }
}

// A part ends before an escape whose character would be in the next one, and before half a pair of surrogates.
TEST(Text, PartsAreCutBetweenCharacters) {
    const std::string septets = std::string(152, 'a') + "€" + std::string(10, 'b');
    auto parts = user_data_of(septets, 7);
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(text_of(parts[0]), std::string(152, 'a'));
    EXPECT_EQ(joined(parts), septets);
    const std::string pairs = std::string(66, 'a') + "😀" + std::string(10, 'b');
    parts = user_data_of(pairs, 7);
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(text_of(parts[0]), std::string(66, 'a'));
    EXPECT_EQ(joined(parts), pairs);
    const auto part = part_of(parts[1]);
    ASSERT_TRUE(part);
    EXPECT_EQ(part->reference, 7);
    EXPECT_EQ(part->total, 2);
    EXPECT_EQ(part->number, 2);
}

// Messages of 3GPP TS 23.040, 9.2.2, by hand.
TEST(Message, IsReadAndWritten) {
    const struct {
        const char* octets;
        const char* text;
    } c_cases[] = {
        {"07919471016700000404912143000062115211020300"
         "0AE8329BFD4697D9EC37",
         "from=+1234 at=2026-11-25 11:20:30 text=\"hellohello\""},
        {"000100039121F700000AE8329BFD4697D9EC37", "to=+127 text=\"hellohello\""},
        {"0006050491214362115211020300621152110203002B", "report for=+1234 reference=5 status=43"},
        {"000409D0E8329BFD0600086211521102030004042F0431", "from=hello at=2026-11-25 11:20:30 text=\"Яб\""},
    };
    for (const auto& it : c_cases) {
        const auto octets = octets_of(it.octets);
        ASSERT_TRUE(octets) << it.octets;
        const auto message = read(*octets);
        ASSERT_TRUE(message) << it.octets;
        EXPECT_EQ(describe(*message), it.text);
        if (message->number.starts_with('+')) {
            EXPECT_EQ(hex_of(write(*message)), it.octets);
        }
    }
}

TEST(Message, NoneEndsEarlyOrIsOfNoKind) {
    const Octets whole = *octets_of("07919471016700000404912143000062115211020300");
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(read(std::span(whole).first(length))) << length;
    }
    EXPECT_FALSE(read(*octets_of("000304912143")));
}

}  // namespace
