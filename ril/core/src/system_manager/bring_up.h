// The start of the modules and of the modem's services, and the last steps of a shutdown.
#pragma once

#include <telephony/ril.h>

#include <cstdint>

// True while the platform shuts down: the property "sys.shutdown.requested" begins with "0" or "1". Any thread.
bool is_platform_shutdown();

// True if the property's first four characters are "true". Any thread.
bool is_property_set(const char* key);

// Opens the services of one SIM in their order: 1, or 0 at the first that fails. Modem event thread.
int32_t uta_sys_init(uint32_t sim_id);

// Sends the control settings of the configuration to the modem: 0 or -1. Modem event thread.
int32_t set_modem_initial_values(uint32_t sim_id);

// Merges the emergency numbers that every phone knows into the property "ril.ecclist" or "ril.ecclist1". Modem event
// thread.
void boot_read_ecc_list_from_nvm(uint32_t sim_id);

// Switches the stack off, and at a shutdown the modem. The result of the last mode request, 0 for one that is on its
// way. RIL thread or modem event thread.
int32_t stack_power_off(uint32_t sim_id, uint32_t context_id);

// On a dual-SIM phone, switches the other stack off too. Modem event thread.
void second_stack_power_off();

// Shuts stack and modem down. RIL thread.
void modem_shutdown(uint32_t sim_id);

// Ends the platform's hooks; negative on failure.
int32_t modem_exit();

// The word of the modem's power state file: 0 off, 1 on. 0, or negative when it did not take effect.
int32_t modem_power_state_set(uint32_t state);

// --- Kept requests for the preferred network type ---

bool net_pref_is_saved(uint32_t sim_id);  // any thread
void net_pref_drop(RIL_Token token);      // it will not be carried out: the next start answers it. Any thread
void net_pref_start();                    // answers all that is open and forgets it. Modem event thread
void postRadioPoweron(uint32_t sim_id);   // carries out what is kept, with the property that allows it. RIL thread
