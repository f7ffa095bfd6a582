// What was seen on the daemon's sockets, as text: one line for each message.
//
//     1700000000.123456789 1 send > 02040000002902040000002C...
//
// Seconds since 1970 with nine decimals; the client's application id, 0 for none; the socket: reg, send or recv, or
// event for what the modem manager tells; > towards the modem, < from it; the bytes. Each packet has a line of its own.
// Lines that begin with # are comments.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<uint8_t>;

enum class Channel : uint8_t { REG, SEND, RECV, EVENT };

struct Captured {
    int64_t time_ns = 0;
    int client = 0;
    Channel channel = Channel::SEND;
    bool to_modem = true;
    Bytes bytes;
};

// What the first line of a capture begins with.
constexpr std::string_view c_capture_heading = "# uta capture";

const char* channel_name(Channel channel);

std::string format_captured(const Captured& captured);  // with its newline
std::optional<Captured> parse_captured(std::string_view line);

std::string to_hex(std::span<const uint8_t> bytes);
// Digits of either case; blanks and colons between bytes are passed over. Nothing when there is anything else.
std::optional<Bytes> from_hex(std::string_view text);
