#include "ril/core/src/system_manager/bring_up.h"

#include <cutils/properties.h>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"

bool is_platform_shutdown() {
    char value[PROPERTY_VALUE_MAX];
    property_get("sys.shutdown.requested", value, "");
    return value[0] == '0' || value[0] == '1';
}

// The modem's services are not opened yet: the radio counts as off as soon as everything has started.
int32_t stack_power_off(uint32_t sim_id, uint32_t context_id) {
    rilreq_state_info[context_id & 0xFF].entry_in_use.store(0, std::memory_order_release);
    set_radio_state(sim_id, RADIO_STATE_OFF);
    return 0;
}

void second_stack_power_off() {}

int32_t modem_exit() {
    return 0;
}

int32_t modem_init() {
    radio_state_start();
    net_pref_start();
    return 0;
}

int32_t module_exit() {
    return 0;
}
