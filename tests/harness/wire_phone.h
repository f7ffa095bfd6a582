// Packets as hexadecimal text, put together from the bytes of the wire format, and a phone that hears and answers them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/harness/phone.h"

std::string u8(uint32_t value);
std::string u16(uint32_t value);
std::string u32(uint32_t value);
std::string octets(const std::string& content, size_t size);  // filled up with zeros
std::string record(const std::string& tag, const std::string& content);

// A whole packet; `id` is the function and its own tag. A response's context stands as "AA AA AA AA".
std::string indication(uint32_t id, const std::string& body, uint32_t sim_id = 0);
std::string response(uint32_t id, const std::string& body, uint32_t sim_id = 0);

// Indications that more than one room hears.
std::string dual_sim_service(uint32_t state, uint32_t sim_id = 0);

std::string property(const char* key);  // "(unset)" if it is not set

// A phone whose modem is up, and which has forgotten how that went.
class WirePhone : public Phone {
public:
    explicit WirePhone(const std::vector<std::string>& arguments = {}, uint8_t sim = 0);

    // Has the modem send these and tells what Android got unsolicited: "1001 1018 1028:219,5". Ends with a report of
    // its own, so that everything before it has been handled.
    std::string hear(const std::vector<std::string>& packets);

    // Error and content of a completion: "0", "0: 16".
    static std::string text_of(const FakeAndroid::Completion& done);

    // What went to the modem since the last call, contexts of requests as "AA AA AA AA".
    std::vector<std::string> sent();
    // Answers the last request that `sent` has shown, or one before it. As text: the packet of it.
    void reply(const std::string& response, size_t before_last = 0);
    std::string as_reply(const std::string& response, size_t before_last = 0) const;

    std::vector<std::string> contexts;  // of all that `sent` has shown

protected:
    void forget();
};

// A test in a process of its own, with a new `phone` of that kind.
// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are a type and names
#define PHONE_TEST(kind, suite, name)  \
    void suite##_##name(kind& phone);  \
    TEST(suite, name) {                \
        in_own_process([] {            \
            kind new_phone;            \
            suite##_##name(new_phone); \
        });                            \
    }                                  \
    void suite##_##name(kind& phone)
// NOLINTEND(bugprone-macro-parentheses)
