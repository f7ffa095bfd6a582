#include "host/modem/packet_print.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "host/modem/catalogue_print.h"
#include "host/modem/packet_fields.h"
#include "host/modem/value_names.h"
#include "rpc/multi-client/rpc-stubs/ril/catalogue_names.h"
#include "rpc/multi-client/rpc-stubs/ril/codec.h"

namespace {

constexpr std::string_view c_register = "REGISTER";
constexpr std::string_view c_deregister = "DEREGISTER";
constexpr size_t c_time_width = 15;
constexpr size_t c_kind_width = 10;
constexpr size_t c_context_width = 8;

size_t longest_name() {
    static const size_t s_longest = [] {
        size_t longest = 0;
        for (const uta::Function& function : uta::c_functions) {
            longest = std::max(longest, std::string_view(uta::function_name(function)).size());
        }
        return longest;
    }();
    return s_longest;
}

std::string padded(std::string text, size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

std::string time_text(int64_t time_ns) {
    const auto seconds = static_cast<time_t>(time_ns / 1000000000);
    tm local = {};
    localtime_r(&seconds, &local);
    std::array<char, 80> text;
    snprintf(text.data(), text.size(), "%02d:%02d:%02d.%06d", local.tm_hour, local.tm_min, local.tm_sec,
             static_cast<int>(time_ns % 1000000000 / 1000));
    return text.data();
}

std::string context_text(uint32_t context_id) {
    std::array<char, 9> text;
    snprintf(text.data(), text.size(), "%08X", context_id);
    return text.data();
}

// "request" and so on, without how the client treats it.
std::string short_kind(uta::Kind kind) {
    std::string word = kind_word(kind);
    for (const char* ending : {"-ignored", "-dynamic"}) {
        if (word.ends_with(ending)) {
            word.resize(word.size() - std::string_view(ending).size());
        }
    }
    return word;
}

void refuse(PrintedPacket& packet, const std::string& why, std::span<const uint8_t> rest) {
    packet.malformed = why;
    packet.rest = to_hex(rest);
}

// What the client makes of a packet's body. Bytes that it refuses, or whose meaning is not known, are in `rest`.
void read_body(std::span<const uint8_t> body, uint32_t index, PrintedPacket& packet) {
    const bool is_return = index > c_rpc_return_base;
    const uint32_t id = is_return ? index - c_rpc_return_base : index;
    const uta::Function* function = uta::find_function(id);
    packet.function = function != nullptr ? uta::function_name(*function) : "function_" + std::to_string(id);
    packet.kind = is_return ? "return" : function != nullptr ? short_kind(function->kind) : "unknown";
    uint32_t context_id = 0;
    ExReadCursor cursor{body.data(), body.data() + body.size(), false};
    ExReadContextId(cursor, context_id);
    const std::span<const uint8_t> rest(cursor.next, body.data() + body.size());
    if (!cursor.failed) {
        packet.context = context_text(context_id);
    }
    if (function == nullptr || function->pending) {
        packet.rest = to_hex(rest);
        return;
    }
    int32_t result = 0;
    uta::Parameters parameters;
    uta::Refusal refusal;
    if (!(is_return ? uta::unpack_return(*function, body, context_id, result, parameters, &refusal)
                    : uta::unpack_packet(*function, body, context_id, parameters, &refusal))) {
        refuse(packet, refusal.why + (" at byte " + std::to_string(c_rpc_header_size + refusal.at)), rest);
        return;
    }
    packet.fields = print_parameters(*function, parameters, is_return);
    if (is_return) {
        packet.fields.insert(packet.fields.begin(), {"", "i32", std::to_string(result)});
    }
}

// A step of the registration, or a greeting.
PrintedPacket read_registration(const Captured& captured) {
    PrintedPacket packet;
    packet.kind = "register";
    const std::string text(captured.bytes.begin(), captured.bytes.end());
    if (captured.channel == Channel::REG && !captured.to_modem && text.size() == 1) {
        packet.function = "APPLICATION_ID";
        packet.fields.push_back({"app_id", "u8", std::to_string(captured.bytes[0])});
    } else if (captured.to_modem && text.starts_with(c_deregister) && text.size() == c_deregister.size() + 1) {
        packet.function = c_deregister;
        packet.fields.push_back({"app_id", "u8", std::to_string(captured.bytes.back())});
    } else if (captured.to_modem && text == c_register) {
        packet.function = c_register;
    } else {
        packet.function = captured.to_modem ? "UNEXPECTED" : "GREETING";
        packet.fields.push_back({"bytes", "octets", to_hex(captured.bytes)});
    }
    return packet;
}

PrintedPacket read_event(const Captured& captured) {
    PrintedPacket packet;
    packet.kind = "event";
    uint32_t code = 0;
    for (const uint8_t byte : captured.bytes) {
        code = code << 8 | byte;
    }
    packet.function = std::string(event_name(code));
    packet.fields.push_back({"code", "u32", "0x" + to_hex(captured.bytes)});
    return packet;
}

bool begins_a_packet(std::span<const uint8_t> bytes) {
    return !bytes.empty() && bytes[0] == 0x02;
}

// The columns that all lines of a packet begin with.
std::string columns(const Captured& captured, const PrintedPacket& packet, const PrintOptions& options) {
    std::string text;
    if (options.with_time) {
        const std::string client = captured.client == 0 ? "-" : std::to_string(captured.client);
        text = time_text(captured.time_ns) + " " + std::string(client.size() < 3 ? 3 - client.size() : 0, ' ') +
               client + (captured.to_modem ? " > " : " < ");
    }
    return text + padded(packet.kind, c_kind_width) + " " +
           padded(packet.function.empty() ? "-" : packet.function, longest_name()) + " " +
           padded(packet.context.empty() ? "-" : packet.context, c_context_width);
}

std::string field_text(const PrintedField& field) {
    return (field.path.empty() ? "= " : field.path + "=") + field.value;
}

std::string complaint(const PrintedPacket& packet) {
    std::string text = packet.malformed.empty() ? "" : " !! " + packet.malformed;
    return packet.rest.empty() ? text : text + " rest=" + packet.rest;
}

}  // namespace

PrintedPacket read_packet(std::span<const uint8_t> bytes) {
    PrintedPacket packet;
    uint32_t index = 0;
    ExReadCursor cursor{bytes.data(), bytes.data() + bytes.size(), false};
    if (ExReadBufferHeader(cursor, index, packet.size) == 0) {
        refuse(packet, "no packet header", bytes);
        return packet;
    }
    if (packet.size > bytes.size() || packet.size < c_rpc_header_size) {
        read_body({}, index, packet);  // for its name
        refuse(packet, "a size of " + std::to_string(packet.size) + " for " + std::to_string(bytes.size()) + " bytes",
               bytes.subspan(c_rpc_header_size));
        return packet;
    }
    read_body(bytes.subspan(c_rpc_header_size, packet.size - c_rpc_header_size), index, packet);
    return packet;
}

std::vector<PrintedPacket> read_captured(const Captured& captured) {
    if (captured.channel == Channel::EVENT) {
        return {read_event(captured)};
    }
    if (captured.channel == Channel::REG || !begins_a_packet(captured.bytes)) {
        return {read_registration(captured)};
    }
    std::vector<PrintedPacket> packets;
    for (std::span<const uint8_t> left = captured.bytes; !left.empty();) {
        packets.push_back(read_packet(left));
        const size_t size = packets.back().size;
        if (size < c_rpc_header_size || size > left.size()) {
            break;
        }
        left = left.subspan(size);
    }
    return packets;
}

std::string print_heading(const PrintOptions& options) {
    const std::string first = options.with_time ? padded("TIME", c_time_width) + "  CL D " : "";
    return first + padded("KIND", c_kind_width) + " " + padded("FUNCTION", longest_name()) + " " +
           padded("CONTEXT", c_context_width) + (options.one_field_a_line ? " FIELD = VALUE : TYPE\n" : " FIELDS\n");
}

std::string print_packet(const Captured& captured, const PrintedPacket& packet, const PrintOptions& options) {
    const std::string start = columns(captured, packet, options);
    std::string text;
    if (!options.one_field_a_line) {
        text = start;
        for (const PrintedField& field : packet.fields) {
            text += " " + field_text(field);
        }
        return text + complaint(packet) + "\n";
    }
    size_t width = 0;
    for (const PrintedField& field : packet.fields) {
        width = std::max(width, field.path.size());
    }
    for (const PrintedField& field : packet.fields) {
        text += start + " " + padded(field.path.empty() ? "return" : field.path, width) + " = " + field.value + " : " +
                field.type + "\n";
    }
    const std::string wrong = complaint(packet);
    return wrong.empty() && !text.empty() ? text : text + start + wrong + "\n";
}
