// Short messages as a network and people see them (3GPP TS 23.040): from octets to fields and text and back. Shares
// nothing with the library's codec, so that a mistake of either shows.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sms {

using Octets = std::vector<uint8_t>;

enum class Kind : uint8_t { DELIVER = 0, SUBMIT = 1, STATUS_REPORT = 2 };

// The user data of one message.
struct UserData {
    uint8_t dcs = 0;
    bool has_header = false;
    uint8_t length = 0;  // septets or octets, as the coding scheme has it
    Octets octets;
};

struct Message {
    Kind kind = Kind::DELIVER;
    std::string service_centre;
    std::string number;  // of the originator, destination or recipient
    bool reply_path = false;
    bool wants_report = false;  // of a submission
    uint8_t reference = 0;      // of a submission or report
    uint8_t pid = 0;
    UserData data;
    std::array<uint8_t, 7> time{};  // as it stands in the message
    uint8_t status = 0;             // of a report
};

// A message behind its service centre's address. Nothing when it ends too early or is of no kind.
std::optional<Message> read(std::span<const uint8_t> octets);
Octets write(const Message& message);

// --- Texts, in UTF-8 -------------------------------------------------------------------------------------------------

// The text as one message or as parts under a common reference, in the 7-bit alphabet where that has all of it and else
// in UCS2. An escape or a pair of surrogates is never cut.
std::vector<UserData> user_data_of(std::string_view text, uint8_t reference);
std::string text_of(const UserData& data);  // 8-bit data as hexadecimal digits

// What a part of a longer text says of itself.
struct Part {
    uint8_t reference;
    uint8_t total;
    uint8_t number;  // from 1
};
std::optional<Part> part_of(const UserData& data);

// "2026-11-25 11:20:33" and back, the zone left out.
std::string time_of(const Message& message);
std::array<uint8_t, 7> time_now();

// One line for people: number, time, part, text or report.
std::string describe(const Message& message);

// The 7-bit alphabet (3GPP TS 23.038, 6.2.1), packed from bit `first_bit` on; nothing for a character that it has not.
std::optional<Octets> septets_of(std::u32string_view text);
Octets pack(std::span<const uint8_t> septets, size_t first_bit = 0);
std::u32string characters_of(std::string_view text);  // of UTF-8

std::string hex_of(std::span<const uint8_t> octets);
std::optional<Octets> octets_of(std::string_view hex);

}  // namespace sms
