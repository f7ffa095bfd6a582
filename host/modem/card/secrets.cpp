// PINs and what unblocks them. Three wrong ones in a row block a PIN, ten of the other kind for good.
#include <algorithm>

#include "host/modem/card/card.h"
#include "host/modem/card/words.h"

namespace card {

namespace {

constexpr size_t c_shortest_code = 4;
constexpr size_t c_longest_code = 8;

bool is_code(const std::string& text) {
    return text.size() >= c_shortest_code && text.size() <= c_longest_code &&
           text.find_first_not_of("0123456789") == std::string::npos;
}

// Compares, and counts. A code that nobody knows has no right one.
bool is_right(const std::string& wanted, const std::string& given, uint8_t& attempts, uint8_t most) {
    const bool right = !wanted.empty() && wanted == given;
    attempts = right ? most : static_cast<uint8_t>(attempts - 1);
    return right;
}

uint16_t wrong_code(const Card& card, uint8_t attempts) {
    return card.is_3g ? static_cast<uint16_t>(0x63C0 | attempts) : attempts == 0 ? 0x9840 : 0x9804;
}

// The card looks at the code of a PIN that isn't blocked.
uint16_t check(const Card& card, Secret& secret, const std::string& code) {
    if (secret.is_blocked()) {
        return c_blocked(card);
    }
    if (is_right(secret.code, code, secret.attempts, Secret::c_attempts)) {
        return c_done;
    }
    return wrong_code(card, secret.attempts);
}

}  // namespace

uint16_t verify(Card& card, Secret& secret, const std::string& code) {
    if (!secret.is_enabled) {
        return c_code_contradiction(card);
    }
    const uint16_t words = check(card, secret, code);
    secret.is_verified = secret.is_verified || words == c_done;
    return words;
}

uint16_t change(Card& card, Secret& secret, const std::string& code, const std::string& new_code) {
    if (!secret.is_enabled) {
        return c_code_contradiction(card);
    }
    if (!is_code(new_code)) {
        return c_bad_data(card);
    }
    const uint16_t words = check(card, secret, code);
    if (words == c_done) {
        secret.code = new_code;
        secret.is_verified = true;
    }
    return words;
}

uint16_t enable(Card& card, Secret& secret, const std::string& code, bool is_on) {
    if (&secret != &card.pin1) {
        return c_no_such_code(card);
    }
    if (secret.is_enabled == is_on) {
        return secret.is_blocked() ? c_blocked(card) : c_code_contradiction(card);
    }
    const uint16_t words = check(card, secret, code);
    if (words == c_done) {
        secret.is_enabled = is_on;
        secret.is_verified = is_on;
    }
    return words;
}

uint16_t unblock(Card& card, Secret& secret, const std::string& unblock_code, const std::string& new_code) {
    if (secret.unblock_attempts == 0) {
        return c_blocked(card);
    }
    if (!is_code(new_code)) {
        return c_bad_data(card);
    }
    if (!is_right(secret.unblock_code, unblock_code, secret.unblock_attempts, Secret::c_unblock_attempts)) {
        return wrong_code(card, secret.unblock_attempts);
    }
    secret.code = new_code;
    secret.attempts = Secret::c_attempts;
    secret.is_enabled = secret.is_verified = true;
    return c_done;
}

}  // namespace card
