// What the tests of the modem's life share: the modem's packets in the notation of transcripts, and the events.
#pragma once

#include <filesystem>
#include <string>

#include "tests/harness/phone.h"
#include "tests/transcript/packets.h"

constexpr uint32_t c_event_down = 0xB1000000;
constexpr uint32_t c_event_up = 0xB2000000;

// For the modem to send: an answer to what has this context, or an indication. Without a context the scripted modem
// puts that of the request in.
inline Bytes from_modem(const std::string& text, uint32_t context = 0xAAAAAAAA) {
    return packet_of(words_of(text), context, 0x20000100, 0);
}

// An indication that the RIL thread takes.
constexpr const char* c_card_removed = "SimCardIndCb reset_type=7 indicator=2";

inline size_t entries_of(const char* folder) {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}
