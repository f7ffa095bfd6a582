#include "tests/doors/socket_phone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/lifecycle/lifecycle.h"

namespace {

constexpr int c_connected = 1034;

int32_t word_at(const std::string& bytes, size_t index) {
    int32_t word = -1;
    if (bytes.size() >= (index + 1) * sizeof(word)) {
        memcpy(&word, bytes.data() + index * sizeof(word), sizeof(word));
    }
    return word;
}

}  // namespace

SocketPhone::SocketPhone(bool second_instance)
    : BelowLibrary(true, {}),
      rild_({RILD_WITHOUT_WAITS, "-l", DUN_RIL_LIBRARY, "--", "--client", second_instance ? "2" : "1"}, false),
      client_(second_instance ? c_second_socket : c_first_socket) {
    sim_id = second_instance ? 1 : 0;
}

SocketPhone::~SocketPhone() {
    EXPECT_EQ(rild_.stop(), 0);
}

void SocketPhone::start() {
    event(c_event_up);
    read_until([this] { return radio_state_ != -1; });
    unsolicited_.clear();
}

// The answer comes behind the greeting, so that the radio's state changes once before the client's eyes.
void SocketPhone::bring_up() {
    start();
    const std::vector<Bytes> packets = modem.take_received();
    ASSERT_FALSE(packets.empty());
    modem.send(with_context(mode_answer(227, 0, 0, sim_id), packets.back()));
    wait_radio_state(RADIO_STATE_OFF);
    unsolicited_.clear();
}

int SocketPhone::ask(int number, const std::string& words) {
    client_.send(request(number, ++serial_, words));
    return serial_;
}

SocketPhone::Answer SocketPhone::answer(int serial) {
    read_until([&] { return answers_.count(serial) != 0; });
    return answers_[serial];
}

// A request with which the library has nothing to do.
void SocketPhone::read_all() {
    answer_to(RIL_REQUEST_DEVICE_IDENTITY);
}

bool SocketPhone::is_answered(int serial) {
    read_all();
    return answers_.count(serial) != 0;
}

void SocketPhone::wait_served() {
    ASSERT_TRUE(soon([&] { return answer_to(RIL_REQUEST_DEVICE_IDENTITY).error != RIL_E_RADIO_NOT_AVAILABLE; }));
}

int SocketPhone::radio_state() {
    read_all();
    return radio_state_;
}

void SocketPhone::wait_radio_state(int state) {
    read_until([&] { return radio_state_ == state; });
}

std::vector<SocketPhone::Unsolicited> SocketPhone::take_unsolicited(size_t count) {
    read_all();
    read_until([&] { return unsolicited_.size() >= count; });
    return std::exchange(unsolicited_, {});
}

std::vector<int> SocketPhone::numbers_of(const std::vector<Unsolicited>& messages) {
    std::vector<int> numbers;
    for (const Unsolicited& message : messages) {
        numbers.push_back(message.number);
    }
    return numbers;
}

void SocketPhone::read_until(const std::function<bool()>& condition) {
    constexpr size_t c_word = sizeof(int32_t);
    while (!condition()) {
        const std::string message = client_.message();
        ASSERT_GE(message.size(), 2 * c_word) << message;
        const int number = word_at(message, 1);
        if (word_at(message, 0) == 0) {
            const Answer answer = {word_at(message, 2), message.substr(std::min(3 * c_word, message.size()))};
            EXPECT_TRUE(answers_.insert({number, answer}).second) << "a second answer to " << number;
            continue;
        }
        if (number == RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED) {
            radio_state_ = word_at(message, 2);
        }
        unsolicited_.push_back({number, message.substr(2 * c_word)});
    }
}

const char* arguments_of(int number) {
    static const std::map<std::string, std::vector<int>> c_arguments = {
        {"", {1,  9,  13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 30, 31, 38, 39,  40,  45,  46,
              48, 50, 51, 54, 55, 56, 57, 66, 67, 72, 74, 75, 81, 89, 98, 100, 103, 108, 109}},
        {"1 1", {12, 23, 32, 35, 36, 37, 52, 53, 61, 62, 64, 65, 71, 73, 76, 80, 91, 102, 110}},
        {"'26201'", {24, 29, 47, 49, 68, 69, 70, 101, 105, 107}},
        {"4 '1234' '12345678' n n", {2, 3, 4, 5, 6, 7, 8, 11, 41, 44, 60, 106}},
        {"5 'PN' '1' '1234' '7' n", {42, 43}},
        {"x0102", {59}},
        {"'123' 0 0", {10}},
        {"2 n '010001'", {25, 26}},
        {"7 '16' '0' 'internet' '' '' '0' 'IP'", {27}},
        {"176 28589 '3F007F20' 0 0 4 n n n", {28}},
        {"2 0 1 129 '' 0", {33, 34}},
        {"1 '010001' n", {63}},
        {"0", {90}},
    };
    for (const auto& [words, numbers] : c_arguments) {
        if (std::find(numbers.begin(), numbers.end(), number) != numbers.end()) {
            return words.c_str();
        }
    }
    return nullptr;
}
