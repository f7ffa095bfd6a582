// The life of a PIN as a random walk: the card against a model of what ETSI TS 102 221, 9.5 and 11.1.9 to 11.1.13 say
// of it, over many lives.
#include <gtest/gtest.h>

#include <random>

#include "host/modem/card/card.h"

namespace {

struct Model {
    std::string pin = "1234";
    int attempts = 3;
    int unblock_attempts = 10;
    bool enabled = true;
    bool verified = false;

    bool allows_reading() const { return attempts > 0 && (verified || !enabled); }

    int present(const std::string& code) {
        if (attempts == 0) {
            return 0x6983;
        }
        if (code == pin) {
            attempts = 3;
            return 0x9000;
        }
        return 0x63C0 + --attempts;
    }
    int verify(const std::string& code) {
        const int words = enabled ? present(code) : 0x6984;
        verified = verified || words == 0x9000;
        return words;
    }
    int change(const std::string& code, const std::string& new_code) {
        const int words = enabled ? present(code) : 0x6984;
        if (words == 0x9000) {
            verified = true;
            pin = new_code;
        }
        return words;
    }
    int set_enabled(const std::string& code, bool on) {
        if (attempts > 0 && enabled == on) {
            return 0x6984;
        }
        const int words = present(code);
        if (words == 0x9000) {
            enabled = verified = on;
        }
        return words;
    }
    int unblock(const std::string& code, const std::string& new_code) {
        if (unblock_attempts == 0) {
            return 0x6983;
        }
        if (code != "12345678") {
            return 0x63C0 + --unblock_attempts;
        }
        *this = {new_code, 3, 10, true, true};
        return 0x9000;
    }
};

class Walk {
public:
    explicit Walk(unsigned seed) : chance_(seed) {
        std::string error;
        card_ =
            card::read_card("card 3g\npin1 1234\npuk1 12345678\nef 2FE3 transparent 1\n", error).value_or(card::Card{});
        EXPECT_EQ(send(0xA4, 0, 0x0C, "\x2F\xE3"), 0x9000) << error;
    }

    void step() {
        const std::string code = some(model_.pin, 3);
        const std::string other = pick({"1111", "12345678", "2222"});
        switch (chance_() % 8) {
            case 0:
            case 1:
                EXPECT_EQ(send(0x20, 0, 1, filled(code)), model_.verify(code));
                break;
            case 2:
                EXPECT_EQ(send(0x24, 0, 1, filled(code) + filled(other)), model_.change(code, other));
                break;
            case 3:
                EXPECT_EQ(send(0x26, 0, 1, filled(code)), model_.set_enabled(code, false));
                break;
            case 4:
                EXPECT_EQ(send(0x28, 0, 1, filled(code)), model_.set_enabled(code, true));
                break;
            case 5: {
                const std::string unblock = some("12345678", 8);
                EXPECT_EQ(send(0x2C, 0, 1, filled(unblock) + filled(other)), model_.unblock(unblock, other));
                break;
            }
            case 6:
                card::reset(card_);
                model_.verified = false;
                EXPECT_EQ(send(0xA4, 0, 0x0C, "\x2F\xE3"), 0x9000);
                break;
            default:
                break;
        }
        const int left = model_.attempts;
        EXPECT_EQ(send(0x20, 0, 1, ""), left == 0 ? 0x6983 : 0x63C0 + left);
        const int unblock_left = model_.unblock_attempts;
        EXPECT_EQ(send(0x2C, 0, 1, ""), unblock_left == 0 ? 0x6983 : 0x63C0 + unblock_left);
        EXPECT_EQ(send(0xB0, 0, 0, ""), model_.allows_reading() ? 0x9000 : 0x6982);
    }

    bool is_dead() const { return model_.attempts == 0 && model_.unblock_attempts == 0; }

private:
    // Wrong more often than not, so that a life has its end.
    std::string some(const std::string& right, unsigned odds) {
        return chance_() % odds == 0 ? right : pick({"1234", "9999", "0000"});
    }
    std::string pick(std::initializer_list<const char*> choices) { return choices.begin()[chance_() % choices.size()]; }
    static std::string filled(std::string code) {
        code.resize(8, '\xFF');
        return code;
    }

    int send(uint8_t instruction, uint8_t p1, uint8_t p2, const std::string& data) {
        card::Bytes command = {0x00, instruction, p1, p2, static_cast<uint8_t>(data.size())};
        command.insert(command.end(), data.begin(), data.end());
        return card::status_words(card::transmit(card_, command));
    }

    std::mt19937 chance_;
    card::Card card_;
    Model model_;
};

TEST(PinLife, AsTheStandardHasIt) {
    int deaths = 0;
    for (unsigned seed = 1; seed <= 1000 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Walk walk(seed);
        for (int i = 0; i < 100 && !testing::Test::HasFailure(); ++i) {
            walk.step();
        }
        deaths += walk.is_dead() ? 1 : 0;
    }
    EXPECT_GT(deaths, 50);
}

}  // namespace
