// What the tests of the modem's life share: packets as hand-written bytes, and the events.
#pragma once

#include <string>
#include <vector>

#include "tests/harness/phone.h"

constexpr uint32_t c_event_down = 0xB1000000;
constexpr uint32_t c_event_up = 0xB2000000;

constexpr uint32_t c_set_sim_configuration = 232;

// An indication that the RIL thread takes: the card was removed.
inline const std::string c_card_removed =
    "02 04 00 00 00 3C 02 04 00 00 00 97 20 00 01 00 7F 81 17 28 7F 83 1F 1E 02 04 00 00 00 00 02 04 00 00 00 00"
    " 02 04 00 00 00 00 02 04 00 00 00 02 02 04 00 00 00 07 02 04 00 00 00 00";

// `answer` with the context id of `request` in place of AA.
std::string with_context(std::string answer, const Bytes& request);
