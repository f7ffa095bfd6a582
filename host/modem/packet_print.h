// Packets as text: one line for each, in columns, or one line for each field.
//
// Packets are read by the client's own codec. What it refuses is shown as bytes, behind its reason.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "host/modem/capture_format.h"

// A field, in the order of its declaration.
struct PrintedField {
    std::string path;   // param.call.call_id
    std::string type;   // as in the catalogue
    std::string value;  // 1
};

struct PrintedPacket {
    uint32_t size = 0;       // as its header says
    std::string kind = "?";  // call, request, one-way, return, response, indication, or event and so on
    std::string function;
    std::string context;  // eight digits
    std::vector<PrintedField> fields;
    std::string malformed;  // why the client drops it; empty for a sound packet
    std::string rest;       // bytes that were refused, or whose meaning is not known
};

// `bytes` begin with a packet; what is behind it doesn't matter.
PrintedPacket read_packet(std::span<const uint8_t> bytes);

// What was seen on a socket: the packets in it, or a step of the registration, or an event.
std::vector<PrintedPacket> read_captured(const Captured& captured);

struct PrintOptions {
    bool one_field_a_line = false;
    bool with_time = true;  // and client and direction, which a packet alone doesn't have
};

std::string print_heading(const PrintOptions& options);
// The line or lines of one packet, each with its newline.
std::string print_packet(const Captured& captured, const PrintedPacket& packet, const PrintOptions& options);
