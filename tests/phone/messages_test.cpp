// Ten thousand messages each way between the two SIMs: two rild with the library, the modem with its message centre,
// and texts of any length and alphabet, which all arrive as they were, in order.
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <telephony/ril.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <random>
#include <thread>

#include "host/sms/message.h"
#include "tests/host/rild/rild_process.h"

namespace {

constexpr size_t c_messages = MESSAGES;  // fewer under a sanitizer
constexpr size_t c_on_their_way = 8;
constexpr std::array<const char*, 2> c_numbers = {"+491701234567", "+491701234568"};

std::string random_text(std::mt19937& generator) {
    constexpr std::array<std::u32string_view, 4> c_alphabets = {
        U"abcdefghijklmnopqrstuvwxyz ABCDEFGHIJKLMNOPQRSTUVWXYZ 0123456789 .,;:!?",
        U"@£$¥èéùìòÇØøÅåΔΦΓΛΩ {}[]~\\|^€ÄÖÑÜ§¿äöñüà", U"абвгдежзийклмнопрстуфхцчшщъыьэюя ", U"日本語の文字と😀絵文字🎉 "};
    const auto pick = [&generator](size_t below) {
        return std::uniform_int_distribution<size_t>(0, below - 1)(generator);
    };
    const std::u32string_view alphabet = c_alphabets[pick(c_alphabets.size())];
    const size_t length = pick(10) == 0 ? 1 + pick(400) : 1 + pick(70);
    std::string text;
    for (size_t i = 0; i < length; ++i) {
        const char32_t c = alphabet[pick(alphabet.size())];
        const unsigned more = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        text += static_cast<char>(more == 0 ? c : (0xF0U << (3 - more) & 0xF0U) | c >> 6 * more);
        for (unsigned k = more; k > 0; --k) {
            text += static_cast<char>(0x80U | (c >> 6 * (k - 1) & 0x3FU));
        }
    }
    return text;
}

// The parts of as many random texts as make so many messages.
std::vector<sms::UserData> random_messages(unsigned seed) {
    std::mt19937 generator(seed);
    std::vector<sms::UserData> all;
    while (all.size() < c_messages) {
        for (const sms::UserData& data : sms::user_data_of(random_text(generator), static_cast<uint8_t>(all.size()))) {
            all.push_back(data);
        }
    }
    all.resize(c_messages);
    return all;
}

int32_t word_at(const std::string& bytes, size_t index) {
    int32_t word = -1;
    if (bytes.size() >= (index + 1) * sizeof(word)) {
        memcpy(&word, bytes.data() + index * sizeof(word), sizeof(word));
    }
    return word;
}

// One SIM's Android.
class Side {
public:
    explicit Side(size_t sim) : number_(c_numbers[1 - sim]), client_(sim == 0 ? c_first_socket : c_second_socket) {}

    void ask(int number, const std::string& words) { client_.send(request(number, ++serial_, words)); }

    // Takes messages until a completion comes, and gives its error.
    int answer() {
        for (;;) {
            const std::string message = client_.message();
            if (message == "end" || message.size() < 8) {
                ADD_FAILURE() << "nothing came";
                return -1;
            }
            if (word_at(message, 0) == 0) {
                return word_at(message, 2);
            }
        }
    }

    void switch_on() {
        for (std::string message;
             word_at(message, 1) != RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED || word_at(message, 2) != RADIO_STATE_OFF;) {
            message = client_.message();
            ASSERT_GE(message.size(), 8U);
        }
        ask(RIL_REQUEST_RADIO_POWER, "1 1");
        ASSERT_EQ(answer(), RIL_E_SUCCESS);
        // A message to nobody goes out as soon as the stack is registered.
        int error = -1;
        for (int i = 0; i < 1000 && error != RIL_E_SUCCESS; ++i) {
            usleep(5000);
            ask(RIL_REQUEST_SEND_SMS, "2 n '0100039121F3000003C1E010'");
            error = answer();
        }
        ASSERT_EQ(error, RIL_E_SUCCESS);
    }

    void exchange(const std::vector<sms::UserData>& sent, const std::vector<sms::UserData>& expected) {
        size_t asked = 0;
        size_t received = 0;
        size_t acknowledged = 0;
        while (received < expected.size() || acknowledged < asked + received) {
            while (asked < sent.size() && asked + received - acknowledged < c_on_their_way) {
                send(sent[asked++]);
            }
            const std::string message = client_.message();
            ASSERT_GE(message.size(), 8U) << asked << " sent, " << received << " received";
            if (word_at(message, 0) == 0) {
                ASSERT_EQ(word_at(message, 2), RIL_E_SUCCESS) << asked << " sent, " << received << " received";
                ++acknowledged;
            } else if (word_at(message, 1) == RIL_UNSOL_RESPONSE_NEW_SMS) {
                ASSERT_LT(received, expected.size());
                compare(message, expected[received++]);
                ask(RIL_REQUEST_SMS_ACKNOWLEDGE, "2 1 0");
            }
        }
    }

private:
    void send(const sms::UserData& data) {
        sms::Message message;
        message.kind = sms::Kind::SUBMIT;
        message.number = number_;
        message.data = data;
        ask(RIL_REQUEST_SEND_SMS, "2 n '" + sms::hex_of(sms::write(message)).substr(2) + "'");
    }

    // The text of the parcel: a count of characters of 16 bits, then these.
    static void compare(const std::string& parcel, const sms::UserData& expected) {
        std::string hex;
        for (size_t i = 12; i + 1 < parcel.size() && parcel[i] != 0; i += 2) {
            hex += parcel[i];
        }
        const auto octets = sms::octets_of(hex);
        ASSERT_TRUE(octets) << hex;
        const auto message = sms::read(*octets);
        ASSERT_TRUE(message) << hex;
        ASSERT_EQ(sms::text_of(message->data), sms::text_of(expected)) << hex;
        ASSERT_EQ(message->data.octets, expected.octets);
    }

    std::string number_;
    RilClient client_;
    int serial_ = 0;
};

TEST(Messages, TenThousandEachWay) {
    property_set("persist.dual_sim", "ss");
    Process modem({MODEM_PROGRAM, "--quiet", "--latency", "0"}, false);
    Process first({RILD_WITHOUT_WAITS, "-l", DUN_RIL_LIBRARY, "--", "--client", "1"}, false);
    Process second({RILD_WITHOUT_WAITS, "-l", DUN_RIL_LIBRARY, "--", "--client", "2"}, false);
    std::array<Side, 2> sides = {Side(0), Side(1)};
    sides[0].switch_on();
    sides[1].switch_on();
    if (HasFatalFailure()) {
        return;
    }
    const auto from_first = random_messages(1);
    const auto from_second = random_messages(2);
    std::thread other([&] { sides[1].exchange(from_second, from_first); });
    sides[0].exchange(from_first, from_second);
    other.join();
    EXPECT_EQ(first.stop(), 0);
    EXPECT_EQ(second.stop(), 0);
    EXPECT_EQ(modem.stop(), 0);
}

}  // namespace
