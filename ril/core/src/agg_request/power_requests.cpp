#include <cutils/properties.h>

#include <cstdlib>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/reset/reset.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/core/src/system_manager/radio_power.h"
#include "ril/utils/trace.h"

namespace {

// The network registration of a SIM that carries no data is to be waited for anew.
void reset_non_data_registration(uint32_t sim_id) {
    char value[PROPERTY_VALUE_MAX];
    property_get("gsm.simmanager.data_sim_id", value, "0");
    if (static_cast<uint32_t>(atoi(value)) != sim_id) {
        property_set("gsm.nondatasim.registered", "false");
    }
}

enum power_action { POWER_NOTHING, STACK_AND_SIM_OFF, STACK_OFF, STACK_ON, SIM_OFF, SIM_ON };

power_action choose(uint32_t sim_id, bool on) {
    const bool radio_is_off = get_radio_state(sim_id) == RADIO_STATE_OFF;
    if (on) {
        return radio_is_off || radio_off_is_ongoing() ? STACK_ON : POWER_NOTHING;
    }
    if (radio_is_off) {
        return is_sim_off(sim_id) ? SIM_OFF : SIM_ON;
    }
    return is_sim_off(sim_id) ? STACK_AND_SIM_OFF : STACK_OFF;
}

int32_t carry_out(uint32_t sim_id, power_action action, uint32_t context_id) {
    switch (action) {
        case STACK_AND_SIM_OFF:
            set_radio_off_ongoing();
            return sim_stack_power_off(sim_id, 1, context_id);
        case STACK_OFF:
            set_radio_off_ongoing();
            return stack_power_off(sim_id, context_id);
        case STACK_ON:
            ril_recovery(sim_id);
            return sim_stack_power_on(sim_id, context_id);
        case SIM_OFF:
            return sim_power_off(sim_id, context_id);
        case SIM_ON:
            return sim_power_on(sim_id, context_id);
        default:
            return 0;
    }
}

void log_failure(power_action action, int32_t result) {
    static constexpr const char* c_messages[] = {
        "%s failed = %d\n",
        "%s: power off stack + sim = %d failed\n",
        "%s power OFF stack failed = %d\n",
        "%s: power ON stack failed = %d\n",
        "%s power OFF sim in airplane mode failed %d\n",
        "%s power ON sim in airplane mode failed %d\n",
    };
    RIL_TRACE(TRACE_ERROR, c_messages[action], "ril_request_radio_power", result);
}

}  // namespace

void ril_request_radio_power(request_context& context, int32_t on) {
    const uint32_t sim_id = context.sim_id();
    reset_non_data_registration(sim_id);
    if (is_platform_shutdown()) {
        modem_shutdown(sim_id);
        context.complete(RIL_E_SUCCESS);
        return;
    }
    const power_action action = choose(sim_id, on != 0);
    if (action == POWER_NOTHING) {
        RIL_TRACE(TRACE_DETAIL, "%s Radio state for sim[%d] is already the desired value\n", __func__,
                  static_cast<int>(sim_id));
        context.complete(RIL_E_SUCCESS);
        return;
    }
    const int32_t result = carry_out(sim_id, action, context.uta_id());
    if (result == 0) {
        context.in_flight();
    } else {
        log_failure(action, result);
    }
}
