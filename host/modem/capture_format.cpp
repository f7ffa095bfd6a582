#include "host/modem/capture_format.h"

#include <array>
#include <charconv>

namespace {

constexpr std::array<const char*, 4> c_channels = {"reg", "send", "recv", "event"};
constexpr int64_t c_second_ns = 1000000000;
constexpr size_t c_decimals = 9;

int digit_value(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

template <typename Number>
bool parse_number(std::string_view text, Number& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

// Cuts the next word off `text`.
std::string_view next_word(std::string_view& text) {
    const size_t start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) {
        text = {};
        return {};
    }
    const size_t end = std::min(text.find_first_of(" \t", start), text.size());
    const std::string_view word = text.substr(start, end - start);
    text.remove_prefix(end);
    return word;
}

bool parse_time(std::string_view text, int64_t& time_ns) {
    const size_t point = text.find('.');
    int64_t seconds = 0;
    int64_t fraction = 0;
    if (point == std::string_view::npos || text.size() - point - 1 != c_decimals ||
        !parse_number(text.substr(0, point), seconds) || !parse_number(text.substr(point + 1), fraction) ||
        seconds < 0 || fraction < 0 || seconds > INT64_MAX / c_second_ns - 1) {
        return false;
    }
    time_ns = seconds * c_second_ns + fraction;
    return true;
}

bool parse_channel(std::string_view text, Channel& channel) {
    for (size_t i = 0; i < c_channels.size(); ++i) {
        if (text == c_channels[i]) {
            channel = static_cast<Channel>(i);
            return true;
        }
    }
    return false;
}

}  // namespace

const char* channel_name(Channel channel) {
    return c_channels[static_cast<size_t>(channel)];
}

std::string to_hex(std::span<const uint8_t> bytes) {
    constexpr const char* c_digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const uint8_t byte : bytes) {
        text += c_digits[byte >> 4];
        text += c_digits[byte & 0xF];
    }
    return text;
}

std::optional<Bytes> from_hex(std::string_view text) {
    Bytes bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ' ' || text[i] == '\t' || text[i] == ':') {
            continue;
        }
        const int high = digit_value(text[i]);
        const int low = ++i < text.size() ? digit_value(text[i]) : -1;
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
    }
    return bytes;
}

std::string format_captured(const Captured& captured) {
    std::string fraction = std::to_string(captured.time_ns % c_second_ns);
    fraction.insert(0, c_decimals - fraction.size(), '0');
    return std::to_string(captured.time_ns / c_second_ns) + "." + fraction + " " + std::to_string(captured.client) +
           " " + channel_name(captured.channel) + (captured.to_modem ? " > " : " < ") + to_hex(captured.bytes) + "\n";
}

std::optional<Captured> parse_captured(std::string_view line) {
    Captured captured;
    if (!parse_time(next_word(line), captured.time_ns) || !parse_number(next_word(line), captured.client) ||
        !parse_channel(next_word(line), captured.channel)) {
        return std::nullopt;
    }
    const std::string_view direction = next_word(line);
    const std::optional<Bytes> bytes = from_hex(next_word(line));
    if ((direction != ">" && direction != "<") || !bytes || !next_word(line).empty()) {
        return std::nullopt;
    }
    captured.to_modem = direction == ">";
    captured.bytes = *bytes;
    return captured;
}
