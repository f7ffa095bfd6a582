// What the start asks of modules above this room.
#pragma once

#include <telephony/ril.h>

#include <cstddef>
#include <cstdint>

// Start values of one SIM's state, and the end of what a caller outside waits for. Modem event thread, before the RIL
// thread has work / when it has ended.
void em_module_init(uint32_t sim_id);
void em_module_exit();
void oem_hooks_module_init();
int32_t mtpm_init();  // negative on failure
