// The start of the modules and of the modem's services, and the last steps of a shutdown.
#pragma once

#include <cstdint>

// True while the platform shuts down: the property "sys.shutdown.requested" begins with "0" or "1". Any thread.
bool is_platform_shutdown();

// Switches the stack off, and at a shutdown the modem. The result of the last mode request, 0 for one that is on its
// way. RIL thread or modem event thread.
int32_t stack_power_off(uint32_t sim_id, uint32_t context_id);

// On a dual-SIM phone, switches the other stack off too. Modem event thread.
void second_stack_power_off();

int32_t modem_exit();

// The kept requests for the preferred network type.
bool net_pref_is_saved(uint32_t sim_id);  // any thread
void net_pref_start();                    // answers and forgets them. Modem event thread
