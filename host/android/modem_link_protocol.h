// What travels between libModemLink.so and the modem manager: 32-bit words, least significant byte first, on a UNIX
// stream socket at c_modem_link_path.
//
// The manager listens, each process connects once. A process sends the client code it registered with, then each
// request as it is made. The manager sends each event. Nothing is answered. Either side may hang up at any time; the
// library then waits for the manager to come back, and connects again.
#pragma once

#include <array>
#include <cstdint>

constexpr const char* c_modem_link_path = "/dev/socket/modemlink";

using ModemLinkWord = std::array<unsigned char, 4>;

constexpr ModemLinkWord modem_link_pack(uint32_t word) {
    return {static_cast<unsigned char>(word), static_cast<unsigned char>(word >> 8),
            static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 24)};
}

constexpr uint32_t modem_link_unpack(const ModemLinkWord& bytes) {
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
           static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}
