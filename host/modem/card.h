// What the services of the modem know of the cards. Runs in the loop.
#pragma once

#include <cstdint>

// Whether the card of a stack is there, has power and wants no PIN.
bool card_is_usable(uint32_t sim_id);
