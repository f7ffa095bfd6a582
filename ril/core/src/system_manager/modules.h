// What the start asks of modules above this room.
#pragma once

#include <telephony/ril.h>

#include <cstddef>
#include <cstdint>

// Start values of one SIM's state. Modem event thread, before the RIL thread has work.
void em_module_init(uint32_t sim_id);
void oem_hooks_module_init();
int32_t mtpm_init();  // negative on failure
