// The state of the card over a restart of the process or of the modem: the card itself has long been unlocked then, so
// Android need not ask for the PIN again. It stands in properties, which survive a process and not the phone's reboot.
#pragma once

#include <cstdint>

// Told of each start of the modules; from the second one on a restart is known. Modem event thread.
void recovery_check_on_ril_init();

// Behind a restart, gives the card's module its state back before the radio goes on. RIL thread.
void ril_recovery(uint32_t sim_id);
