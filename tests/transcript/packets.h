// Packets of a transcript: a function's name with assignments to its parameters, or hand-written bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/transcript/notation.h"

using Bytes = std::vector<uint8_t>;

uint32_t id_of(const Bytes& packet);
uint32_t context_of(const Bytes& packet);
uint32_t find_function_id(const std::string& name);  // fails when there is none

// What a transcript writes for a packet that the modem sends. `context` is that of what it answers, `client` that of an
// indication.
Bytes packet_of(const std::vector<Word>& words, uint32_t context, uint32_t client, uint32_t sim_id);
// True when `packet` is the one that `item` describes.
bool is_packet(const std::string& item, const Bytes& packet, uint32_t sim_id);
// `packet` as a transcript would write it.
std::string packet_text(const Bytes& packet, uint32_t sim_id);
// What stands behind a return's result, from assignments to output parameters.
Bytes output_of(const std::string& function, const std::vector<std::string>& assignments);
