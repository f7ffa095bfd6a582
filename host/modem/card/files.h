// The file tree, for the commands.
#pragma once

#include <optional>

#include "host/modem/card/card.h"

namespace card {

// What SELECT finds from where a channel is (3GPP TS 51.011, 6.5; ETSI TS 102 221, 8.4.1).
std::optional<size_t> find_from(const Card& card, const Channel& channel, uint16_t id);
void go_to(const Card& card, Channel& channel, size_t file);
// The answer to GET RESPONSE of what is selected, without status words: a file control parameter template (ETSI
// TS 102 221, 11.1.1.3), or the fixed form of 3GPP TS 51.011, 9.2.1.
Bytes describe(const Card& card, const Channel& channel);
Bytes describe_directory(const Card& card, const Channel& channel);

bool is_allowed(const Card& card, Access access);

}  // namespace card
