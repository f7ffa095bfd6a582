// The control settings of the configuration, as the modem takes them.
#include <cutils/properties.h>

#include "ril/config/ril_config.h"
#include "ril/core/src/net/rx_diversity.h"
#include "ril/core/src/system_manager/bring_up.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr int32_t c_xfdor_mode_full = 3;  // of the configuration
constexpr int32_t c_fdor_with_network = 1;
constexpr int32_t c_fdor_plain = 2;
constexpr uint16_t c_darp_default = 1;

}  // namespace

int32_t set_modem_initial_values(uint32_t sim_id) {
    const ril_cfg_modem_values values = ril_config_get_modem_values();
    if (RemUtaMsNetSetFdorTimer(sim_id, values.xfdor_scri_timer) != 0 ||
        RemUtaMsNetWriteFdorDelayTimer(sim_id, values.xfdor_delay_timer) != 0) {
        return -1;
    }
    UtaNetTriggerFdorExtParam fdor{};
    fdor.mode = values.xfdor_mode == c_xfdor_mode_full ? c_fdor_with_network : c_fdor_plain;
    fdor.delay_timer = values.xfdor_delay_timer;
    fdor.scri_timer = values.xfdor_scri_timer;
    if (RemUtaMsNetTriggerFdorExt(sim_id, &fdor) != 0) {
        return -1;
    }
    char value[PROPERTY_VALUE_MAX];
    property_get("ro.spid.telephony.rxdiv", value, "0");
    const bool on = value[0] == '1';
    const uint16_t darp = on ? static_cast<uint16_t>(values.rx_diversity_2g_darp) : c_darp_default;
    if (configure_rx_diversity_darp(sim_id, on ? 1 : 0, darp) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Not able to set Diversity state \n", __func__);
    }
    return 0;
}
