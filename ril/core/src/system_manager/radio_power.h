// The modem's two switches, the protocol stack and the SIM, and the functional modes that set them.
#pragma once

#include <cstdint>

enum functional_mode : uint32_t {
    FUN_MODE_STACK_OFF = 1,      // stack off, SIM stays
    FUN_MODE_SIM_STACK_OFF = 3,  // stack and SIM off
    FUN_MODE_SIM_STACK_ON = 4,   // stack and SIM on
    FUN_MODE_SIM_OFF = 5,        // SIM off, stack untouched
    FUN_MODE_SIM_ON = 6,         // SIM on, stack untouched
};

// Start values. Modem event thread.
void radio_power_start();

// Switches the modem to `mode`: its configuration calls, then the request whose answer comes with `context_id`. The
// result of the request, 0 for one that is on its way, or -1. RIL thread or modem event thread, as all of these.
int32_t request_set_phone_functionality(uint32_t sim_id, uint32_t mode, uint32_t context_id);

// A context for a mode request that no request of Android started, or -1 with none free. Nothing but the stack's answer
// ends it. Any thread.
int32_t get_mode_ctxt_id();

int32_t sim_stack_power_on(uint32_t sim_id, uint32_t context_id);
int32_t sim_stack_power_off(uint32_t sim_id, uint32_t state, uint32_t context_id);
int32_t sim_power_off(uint32_t sim_id, uint32_t context_id);
int32_t sim_power_on(uint32_t sim_id, uint32_t context_id);

// The same for the other stack of a dual-SIM phone, off and without a context: nobody waits for its answer.
int32_t other_stack_power_off(uint32_t sim_id);

// True from the moment a power-off was accepted until the modem confirms it. RIL thread.
bool radio_off_is_ongoing();
void set_radio_off_ongoing();

// True if the SIM is to be off together with the stack: the property "gsm.simmanager.set_off_sim%d". Any thread.
bool is_sim_off(uint32_t sim_id);
