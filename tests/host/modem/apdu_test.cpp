// Commands to a card and its answers, byte for byte as the standards have them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/modem/capture_format.h"
#include "host/modem/card/card.h"

namespace {

using card::Card;

constexpr const char* c_usim = R"(card 3g
pin1 1234
puk1 12345678
pin2 5678
puk2 87654321
ef 2FE2 transparent 10 read=always update=never
  98 94 20 00 00 21 43 65 87 F0
df 7FFF A0000000871002
ef 7FFF/6F07 transparent 9 sfi=07
  08 29 26 10 21 43 65 87 09
ef 7FFF/6F3B linear 3x4 update=pin2
  01 02 03 04
  11 12 13 14
ef 7FFF/6F39 cyclic 3x2 update=pin1
  01 01
  02 02
  03 03
ef 7FFF/6F99 objects update=pin1
  80 02 AA BB
)";

constexpr const char* c_sim = R"(card 2g
pin1 1234
puk1 12345678
pin2 5678
puk2 87654321
ef 2FE2 transparent 10 read=always update=never
  98 94 20 00 00 21 43 65 87 F0
ef 7F20/6F07 transparent 9
  08 29 26 10 21 43 65 87 09
ef 7F20/6F7E transparent 11 update=pin1 invalidate=pin1
ef 7F10/6F3B linear 3x4 update=pin2
  01 02 03 04
  11 12 13 14
)";

struct Exchange {
    const char* command;
    const char* answer;
};

// One after the other, to one card. The life of the PIN goes through the whole phone, in tests/phone.
constexpr Exchange c_usim_exchanges[] = {
    // Selecting: the master file, one in it, by path, by identifier, and what is not there.
    {"00A40004023F00", "6140"},
    {"00C0000040",
     "623E 8202 7821 8302 3F00 A503 800171 8A01 05 AB21 800101 A406830101950108 800102 A40683010A950108"
     "800118 A40683010A950108 C609 9001C0 830101 830181 9000"},
    {"00A40004022FE2", "612A"},
    {"00C0000000",
     "6228 8202 4121 8302 2FE2 8A0105 AB15 800101 9000 800102 9700 800118 A40683010A950108 8002 000A "
     "8800 9000"},
    {"00C0000001", "6986"},
    {"00A4080C047FFF6F07", "9000"},
    {"00A4040C05A000000087", "9000"},
    {"00A4000C026F07", "9000"},
    {"00A4030C026F07", "6A86"},
    // Reading wants the PIN.
    {"00B0000009", "6982"},
    {"002000020831323334FFFFFFFF", "6A88"},
    {"002000010831323334FFFFFFFF", "9000"},
    {"00B0000000", "082926102143658709 9000"},
    {"00B000070A", "6C02"},
    {"00B0870002", "0829 9000"},
    {"00B0880001", "6A82"},
    // Records.
    {"00A4000C026F3B", "9000"},
    {"00B2000204", "01020304 9000"},
    {"00B2000204", "11121314 9000"},
    {"00A20104021112", "6101"},
    {"00C0000001", "02 9000"},
    {"00A20104021113", "6282"},
    {"00DC010404A1A2A3A4", "6982"},
    {"002000810835363738FFFFFFFF", "9000"},
    {"00DC010404A1A2A3A4", "9000"},
    {"00DC010403A1A2A3", "6700"},
    {"00B2010404", "A1A2A3A4 9000"},
    {"00A4000C026F39", "9000"},
    {"00DC0003020909", "9000"},
    {"00B2010402", "0909 9000"},
    {"00B2030402", "0202 9000"},
    // Data objects.
    {"00A4000C026F99", "9000"},
    {"80CB00800180", "6104"},
    {"00C0000004", "8002AABB 9000"},
    {"80CB00800182", "6A88"},
    // Channels, classes, instructions.
    {"0070000001", "01 9000"},
    {"02B0000001", "6881"},
    {"0070800100", "9000"},
    {"01B0000001", "6881"},
    {"80F2000107", "A0000000871002 9000"},
    {"0088000000", "6D00"},
};

constexpr Exchange c_sim_exchanges[] = {
    {"A0A40000023F00", "9F16"},
    {"A0C0000016", "0000 0000 3F00 01 0000000000 09 13 02 01 04 00 83 8A 83 8A 9000"},
    {"A0A40000022FE2", "9F0F"},
    {"A0C000000F", "0000 000A 2FE2 04 00 0F F0 44 01 02 00 00 9000"},
    {"A0A40000027F20", "9F16"},
    {"A0A40000026F07", "9F0F"},
    {"A0B0000009", "9804"},
    {"A020000108 31323334FFFFFFFF", "9000"},
    {"A0B0000009", "082926102143658709 9000"},
    {"A0A40000026F7E", "9F0F"},
    {"A004000000", "9000"},
    {"A0B000000B", "9810"},
    {"A044000000", "9000"},
    // From one directory straight to the other beside it.
    {"A0A40000027F10", "9F16"},
    {"A0B0000001", "9400"},
    {"A0A40000026F3B", "9F0F"},
    {"A0C000000F", "0000 000C 6F3B 04 00 12 F0 44 01 02 01 04 9000"},
    {"A0A2001002 1112", "9F01"},
    {"A0C0000001", "02 9000"},
    // The PIN, off and on; PIN2, blocked and unblocked.
    {"A028000108 31323334FFFFFFFF", "9808"},
    {"A026000108 31323334FFFFFFFF", "9000"},
    {"A020000108 31323334FFFFFFFF", "9808"},
    {"A020000208 31323334FFFFFFFF", "9804"},
    {"A020000208 31323334FFFFFFFF", "9804"},
    {"A020000208 31323334FFFFFFFF", "9840"},
    {"A02C000210 3132333435363738 31313131FFFFFFFF", "9804"},
    {"A02C000210 3837363534333231 31313131FFFFFFFF", "9000"},
};

void expect_answers(const char* text, std::span<const Exchange> exchanges) {
    std::string error;
    Card card = card::read_card(text, error).value();
    for (const Exchange& it : exchanges) {
        EXPECT_EQ(card::transmit(card, from_hex(it.command).value()), from_hex(it.answer).value()) << it.command;
    }
}

TEST(Apdu, Usim) {
    expect_answers(c_usim, c_usim_exchanges);
}

TEST(Apdu, Sim) {
    expect_answers(c_sim, c_sim_exchanges);
}

TEST(Card, Text) {
    std::string error;
    const auto card =
        card::read_card("card 2g\nef 7F10/6F40 linear 2x6 read=always\n  \"Me\":3 01*2 \\\n 07\n  -\n# end\n", error);
    EXPECT_EQ(to_hex(card.value().files.back().content), "4D65FF010107FFFFFFFFFFFF");
    EXPECT_FALSE(card::read_card("card 2g\nef 2F00 linear 1x2\n 00\n 00", error));
    EXPECT_EQ(error, "4: it doesn't fit");
}

}  // namespace
