#include "host/sms/message.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace sms {

namespace {

constexpr uint8_t c_more_messages = 0x04;  // of a deliver message or report: there are none
constexpr uint8_t c_has_header = 0x40;
constexpr uint8_t c_reply_path = 0x80;
constexpr uint8_t c_wants_report = 0x20;
constexpr uint8_t c_international = 0x91;
constexpr uint8_t c_unknown = 0x81;

class Reader {
public:
    explicit Reader(std::span<const uint8_t> octets) : rest_(octets) {}

    uint8_t take() { return good_ && !rest_.empty() ? take(1)[0] : fail(); }
    std::span<const uint8_t> take(size_t count) {
        if (count > rest_.size()) {
            fail();
            return {};
        }
        const auto taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }
    std::span<const uint8_t> rest() const { return rest_; }
    bool good() const { return good_; }

private:
    uint8_t fail() {
        good_ = false;
        return 0;
    }
    std::span<const uint8_t> rest_;
    bool good_ = true;
};

std::string number_of(uint8_t type, std::span<const uint8_t> digits, size_t count) {
    constexpr std::string_view c_digits = "0123456789*#abc";
    if ((type & 0x70) == 0x50) {
        return text_of({0, false, static_cast<uint8_t>(count * 4 / 7), {digits.begin(), digits.end()}});
    }
    std::string number = (type & 0x70) == 0x10 ? "+" : "";
    for (size_t i = 0; i < std::min(count, 2 * digits.size()); ++i) {
        const size_t digit = digits[i / 2] >> 4 * (i % 2) & 15;
        if (digit == 15) {
            break;
        }
        number += c_digits[digit];
    }
    return number;
}

std::string read_address(Reader& reader) {
    const size_t count = reader.take();
    const uint8_t type = reader.take();
    const auto digits = reader.take((count + 1) / 2);
    return reader.good() ? number_of(type, digits, count) : "";
}

// The digits of a number in pairs, the last one alone with 0xF.
Octets digits_of(std::string_view number, uint8_t& type, size_t& count) {
    type = number.starts_with('+') ? c_international : c_unknown;
    number.remove_prefix(number.starts_with('+') ? 1 : 0);
    count = number.size();
    Octets octets;
    for (size_t i = 0; i < number.size(); i += 2) {
        const unsigned low = static_cast<unsigned>(number[i]) & 15U;
        const unsigned high = i + 1 < number.size() ? static_cast<unsigned>(number[i + 1]) & 15U : 15U;
        octets.push_back(static_cast<uint8_t>(high << 4 | low));
    }
    return octets;
}

void append(Octets& octets, std::span<const uint8_t> more) {
    octets.insert(octets.end(), more.begin(), more.end());
}

void append_address(Octets& octets, std::string_view number) {
    uint8_t type = 0;
    size_t count = 0;
    const Octets digits = digits_of(number, type, count);
    octets.push_back(static_cast<uint8_t>(count));
    octets.push_back(type);
    append(octets, digits);
}

void append_user_data(Octets& octets, const UserData& data) {
    octets.push_back(data.length);
    append(octets, data.octets);
}

void read_user_data(Reader& reader, Message& message) {
    message.data.length = reader.take();
    message.data.octets.assign(reader.rest().begin(), reader.rest().end());
}

void read_time(Reader& reader, Message& message) {
    const auto time = reader.take(message.time.size());
    std::copy(time.begin(), time.end(), message.time.begin());
}

size_t validity_size(uint8_t first) {
    const uint8_t format = first >> 3 & 3;
    return format == 0 ? 0 : format == 2 ? 1 : 7;
}

}  // namespace

std::optional<Message> read(std::span<const uint8_t> octets) {
    Reader reader(octets);
    Message message;
    if (const size_t size = reader.take(); size > 0) {
        const uint8_t type = reader.take();
        message.service_centre = number_of(type, reader.take(size - 1), 2 * (size - 1));
    }
    const uint8_t first = reader.take();
    if ((first & 3) == 3) {
        return {};
    }
    message.kind = static_cast<Kind>(first & 3);
    message.data.has_header = (first & c_has_header) != 0;
    message.reply_path = message.kind != Kind::STATUS_REPORT && (first & c_reply_path) != 0;
    message.wants_report = message.kind == Kind::SUBMIT && (first & c_wants_report) != 0;
    if (message.kind != Kind::DELIVER) {
        message.reference = reader.take();
    }
    message.number = read_address(reader);
    if (message.kind == Kind::STATUS_REPORT) {
        read_time(reader, message);
        reader.take(message.time.size());
        message.status = reader.take();
    } else {
        message.pid = reader.take();
        message.data.dcs = reader.take();
        if (message.kind == Kind::DELIVER) {
            read_time(reader, message);
        } else {
            reader.take(validity_size(first));
        }
        read_user_data(reader, message);
    }
    return reader.good() ? std::optional(message) : std::nullopt;
}

Octets write(const Message& message) {
    uint8_t type = 0;
    size_t count = 0;
    Octets octets = digits_of(message.service_centre, type, count);
    if (octets.empty()) {
        octets = {0};
    } else {
        octets.insert(octets.begin(), {static_cast<uint8_t>(octets.size() + 1), type});
    }
    const unsigned flags = (message.kind != Kind::SUBMIT ? c_more_messages : 0U) |
                           (message.data.has_header ? c_has_header : 0U) | (message.reply_path ? c_reply_path : 0U) |
                           (message.wants_report ? c_wants_report : 0U);
    octets.push_back(static_cast<uint8_t>(static_cast<unsigned>(message.kind) | flags));
    if (message.kind != Kind::DELIVER) {
        octets.push_back(message.reference);
    }
    append_address(octets, message.number);
    if (message.kind == Kind::STATUS_REPORT) {
        append(octets, message.time);
        append(octets, message.time);
        octets.push_back(message.status);
        return octets;
    }
    octets.push_back(message.pid);
    octets.push_back(message.data.dcs);
    if (message.kind == Kind::DELIVER) {
        append(octets, message.time);
    }
    append_user_data(octets, message.data);
    return octets;
}

std::string time_of(const Message& message) {
    std::array<unsigned, 6> parts{};
    for (size_t i = 0; i < parts.size(); ++i) {
        parts[i] = (message.time[i] & 15U) * 10 + (message.time[i] >> 4);
    }
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "20%02u-%02u-%02u %02u:%02u:%02u", parts[0], parts[1], parts[2], parts[3],
                  parts[4], parts[5]);
    return text.data();
}

std::array<uint8_t, 7> time_now() {
    const time_t now = time(nullptr);
    tm utc{};
    gmtime_r(&now, &utc);
    const std::array<int, 7> parts = {
        utc.tm_year % 100, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, 0};
    std::array<uint8_t, 7> octets;
    for (size_t i = 0; i < octets.size(); ++i) {
        octets[i] = static_cast<uint8_t>(parts[i] % 10 << 4 | parts[i] / 10);
    }
    return octets;
}

std::string describe(const Message& message) {
    std::string text = message.kind == Kind::SUBMIT ? "to=" : "from=";
    text += message.number;
    if (message.kind == Kind::STATUS_REPORT) {
        return "report for=" + message.number + " reference=" + std::to_string(message.reference) +
               " status=" + std::to_string(message.status);
    }
    if (message.kind == Kind::DELIVER) {
        text += " at=" + time_of(message);
    }
    if (const auto part = part_of(message.data)) {
        text += " part=" + std::to_string(part->number) + "/" + std::to_string(part->total);
    }
    return text + " text=\"" + text_of(message.data) + "\"";
}

}  // namespace sms
