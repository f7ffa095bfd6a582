// What the start and the stop ask of the modules, in one place. A module that is not there yet is a weak function that
// does nothing (modules_to_come.cpp); the module's own definition takes its place.
#pragma once

#include <telephony/ril.h>

#include <cstddef>
#include <cstdint>

// Start values of one SIM's state. Modem event thread, before the RIL thread has work.
void stk_module_init(uint32_t sim_id);
void em_module_init(uint32_t sim_id);
void oem_hooks_module_init();
int32_t mtpm_init();  // negative on failure
