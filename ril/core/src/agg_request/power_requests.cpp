#include <cutils/properties.h>

#include <cstdlib>

#include "ril/core/src/agg_request/handlers.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/core/src/system_manager/modules.h"
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

void ril_request_radio_power(uint32_t sim_id, void* p_data, size_t data_len, RIL_Token token) {
    const int32_t free_id = qelril_get_free_ctxt_id(token);
    if (free_id < 0) {
        RIL_TRACE(TRACE_ERROR, "%s get ctx failed\n", __func__);
        ril_request_complete(token, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(free_id);
    if (p_data == nullptr || data_len < sizeof(int)) {
        qelril_free_and_return_generic_failure(ctxt_id);
        return;
    }
    reset_non_data_registration(sim_id);
    if (is_platform_shutdown()) {
        modem_shutdown(sim_id);
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
        return;
    }
    const power_action action = choose(sim_id, *static_cast<const int*>(p_data) != 0);
    if (action == POWER_NOTHING) {
        RIL_TRACE(TRACE_DETAIL, "%s Radio state for sim[%d] is already the desired value\n", __func__,
                  static_cast<int>(sim_id));
        qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, nullptr, 0);
        return;
    }
    const int32_t result = carry_out(sim_id, action, uta_context_id(ctxt_id));
    if (result != 0) {
        log_failure(action, result);
        qelril_free_and_return_generic_failure(ctxt_id);
    }
}
