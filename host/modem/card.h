// The card of each stack, for the services of the modem. Runs in the loop.
//
// card.cpp puts cards in and takes them out, gives them power and tells the clients of it; card_commands.cpp carries
// commands to them, card_codes.cpp codes and locks. What a card is stands in card/card.h.
#pragma once

#include <cstdint>
#include <string>

#include "host/modem/card/card.h"

class Modem;

// Whether the card of a stack is there, has power and wants neither a PIN nor another network's code.
bool card_is_usable(uint32_t sim_id);
// Whether it is there and has power, so that it answers commands.
bool card_has_power(uint32_t sim_id);
// Whether fixed dialling, where it is on, lets a number pass.
bool card_allows_call(uint32_t sim_id, const std::string& number);

// The card that is in, or the last one that was.
card::Card& card_of(uint32_t sim_id);

// The card was put in, or has power again.
void start_card(Modem& modem, uint32_t sim_id);
// A code was entered or a lock opened: what follows when the card can be used from now on.
void card_was_unlocked(Modem& modem, uint32_t sim_id);

// What the clients are told of a PIN: 0 none, 1 asked for, 2 not asked for, 3 blocked, 4 blocked for good, 5 verified.
int32_t chv_status(const card::Secret& secret);
void report_fdn(Modem& modem, uint32_t sim_id, int32_t status);
void report_locks(Modem& modem, uint32_t sim_id);
