// What the services of the modem know of the networks. Runs in the loop.
#pragma once

#include <cstdint>

class Modem;

// Whether a stack is on the air and registered, so that it can be called.
bool stack_is_registered(uint32_t sim_id);
// And whether that is abroad.
bool stack_roams(uint32_t sim_id);
// And whether the network is one of 2G.
bool stack_is_on_gsm(uint32_t sim_id);

// The stack may use other technologies now: it moves to another cell of its network, or loses it.
void network_settings_changed(Modem& modem, uint32_t sim_id);
