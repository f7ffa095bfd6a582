// What the tests of the modem's life share: packets as hand-written bytes, and the events.
#pragma once

#include <string>
#include <vector>

#include "tests/harness/phone.h"

constexpr uint32_t c_event_down = 0xB1000000;
constexpr uint32_t c_event_up = 0xB2000000;
constexpr uint32_t c_event_reset = 0xB3000000;
constexpr uint32_t c_event_shutdown = 0xB4000000;

// Function ids, in the order of a start.
constexpr uint32_t c_set_stack_configuration = 231;
constexpr uint32_t c_set_sim_configuration = 232;
constexpr uint32_t c_set_mode = 228;
constexpr uint32_t c_set_sim_mode = 230;
inline const std::vector<uint32_t> c_start_ids = {32,  193, 145, 184, 124, 134, 87,  33, 2,
                                                  206, 295, 298, 294, 341, 231, 232, 228};

// The configuration calls and mode requests of SIM 0: "off" is 0 for the stack and 1 for the SIM. AA stands for the
// context id, CC for the callback, which is an address.
inline const std::string c_stack_off =
    "02 04 00 00 00 20 02 04 00 00 00 E7 20 00 01 00 7F 81 67 0C"
    " 02 04 00 00 00 00 02 04 00 00 00 00";
inline const std::string c_stack_on =
    "02 04 00 00 00 20 02 04 00 00 00 E7 20 00 01 00 7F 81 67 0C"
    " 02 04 00 00 00 01 02 04 00 00 00 00";
inline const std::string c_sim_on =
    "02 04 00 00 00 20 02 04 00 00 00 E8 20 00 01 00 7F 81 68 0C"
    " 02 04 00 00 00 00 02 04 00 00 00 00";
inline const std::string c_sim_off =
    "02 04 00 00 00 20 02 04 00 00 00 E8 20 00 01 00 7F 81 68 0C"
    " 02 04 00 00 00 01 02 04 00 00 00 00";
inline const std::string c_mode_off =
    "02 04 00 00 00 35 02 04 00 00 00 E4 AA AA AA AA 7F 81 64 21 7F 06 06 02 04 AA AA AA AA 02 04 CC CC CC CC"
    " 02 04 00 00 00 00 02 04 00 00 00 00 02 04 00 00 00 00";
inline const std::string c_mode_on =
    "02 04 00 00 00 35 02 04 00 00 00 E4 AA AA AA AA 7F 81 64 21 7F 06 06 02 04 AA AA AA AA 02 04 CC CC CC CC"
    " 02 04 00 00 00 00 02 04 00 00 00 01 02 04 00 00 00 00";
inline const std::string c_sim_mode_on =
    "02 04 00 00 00 2F 02 04 00 00 00 E6 AA AA AA AA 7F 81 66 1B 7F 06 06 02 04 AA AA AA AA 02 04 CC CC CC CC"
    " 02 04 00 00 00 00 02 04 00 00 00 00";
inline const std::string c_sim_mode_off =
    "02 04 00 00 00 2F 02 04 00 00 00 E6 AA AA AA AA 7F 81 66 1B 7F 06 06 02 04 AA AA AA AA 02 04 CC CC CC CC"
    " 02 04 00 00 00 01 02 04 00 00 00 00";

// An indication that the RIL thread takes: the card was removed.
inline const std::string c_card_removed =
    "02 04 00 00 00 3C 02 04 00 00 00 97 20 00 01 00 7F 81 17 28 7F 83 1F 1E 02 04 00 00 00 00 02 04 00 00 00 00"
    " 02 04 00 00 00 00 02 04 00 00 00 02 02 04 00 00 00 07 02 04 00 00 00 00";

// What the modem tells of a card with its PIN (CHV1) in this state: "00" not available, "01" needed, "02" not needed,
// "03" blocked, "05" verified; one that it does not know makes a card that is not ready.
std::string card_info(const char* chv1);

// The packets as text, with AA and CC where a mode request has them.
std::vector<std::string> masked(const std::vector<Bytes>& packets);
// The same packets for SIM 1: the SIM is the last byte of each.
std::string for_sim_1(std::string packet);
// `answer` with the context id of `request` in place of AA.
std::string with_context(std::string answer, const Bytes& request);
uint32_t function_id(const Bytes& packet);

// The modem goes away and comes back, up to the radio's state "off". Forgets what went before.
void restart(Phone& phone);
