#include "ril/core/src/net/signal.h"

#include <climits>
#include <cstring>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/net_state.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

namespace {

constexpr int c_signal_unknown = 99;  // 3GPP TS 27.007, 8.5
constexpr int c_signal_max = 31;
constexpr int c_error_rate_max = 7;

int scaled_signal(uint32_t rat, uint8_t raw) {
    if (rat < NET_RAT_GSM || rat > NET_RAT_LTE || raw == c_signal_unknown) {
        return c_signal_unknown;
    }
    if (raw > c_signal_unknown) {
        return 0;
    }
    switch (rat) {
        case NET_RAT_GSM:
            return raw > 60 ? c_signal_max : raw / 2 + 1 + raw % 2;
        case NET_RAT_UMTS:
            return raw > 65 ? c_signal_max : raw < 4 ? 0 : raw / 2 - 1;
        default:
            if (raw < 29 || raw == 98) {
                return 0;
            }
            return raw > 88 ? c_signal_max : (raw - 25) / 2 - 1;
    }
}

int scaled_error_rate(uint32_t rat, uint8_t raw) {
    switch (rat) {
        case NET_RAT_GSM:
        case NET_RAT_LTE:
            return raw;
        case NET_RAT_UMTS:
            if (raw < 50) {
                return (49 - raw) / 6 > c_error_rate_max ? c_error_rate_max : (49 - raw) / 6;
            }
            return raw > c_signal_unknown ? 0 : raw == c_signal_unknown ? c_signal_unknown : c_error_rate_max;
        default:
            return c_signal_unknown;
    }
}

void ril_unsol_signal_strength(uint32_t sim_id, int rssi, int ber) {
    RIL_SignalStrength_v6 strength;
    memset(&strength, 0xFF, sizeof(strength));
    strength.GW_SignalStrength = {rssi, ber};
    strength.LTE_SignalStrength = {-1, INT_MAX, INT_MAX, INT_MAX, INT_MAX};
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_SIGNAL_STRENGTH, &strength, sizeof(strength));
}

void net_radio_signal_ind(uint32_t sim_id, const void* p_params) {
    const auto& report = *static_cast<const UtaNetRadioSignalIndParam*>(p_params);
    net_settings& settings = net_db(sim_id);
    settings.rssi = settings.rsrp = report.signal;
    settings.ber = settings.rsrq = report.error_rate;
    const uint32_t rat = net_get_rat(sim_id);
    ril_unsol_signal_strength(sim_id, scaled_signal(rat, report.signal), scaled_error_rate(rat, report.error_rate));
}

}  // namespace

RIL_SignalStrength_v6 net_read_signal_strength(uint32_t sim_id) {
    const net_settings& settings = net_db(sim_id);
    RIL_SignalStrength_v6 strength;
    memset(&strength, 0xFF, sizeof(strength));
    strength.GW_SignalStrength = {settings.rssi, settings.ber};
    strength.LTE_SignalStrength.signalStrength = settings.rssi;
    strength.LTE_SignalStrength.rsrp = settings.rsrp;
    strength.LTE_SignalStrength.rsrq = settings.rsrq;
    return strength;
}

void UtaMsNetRadioSignalIndCb(uint32_t sim_id, const UtaNetRadioSignalIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_radio_signal_ind);
}
