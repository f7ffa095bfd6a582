// What the services of the modem know of the networks. Runs in the loop.
#pragma once

#include <cstdint>

// Whether a stack is on the air and registered, so that it can be called.
bool stack_is_registered(uint32_t sim_id);
