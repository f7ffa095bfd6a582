// The registration as Android sees it.
#include "ril/config/ril_config.h"
#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/net_state.h"
#include "ril/utils/trace.h"

namespace {

// Android's registration states (3GPP TS 27.007, 7.2, but for the last: not registered, emergency calls allowed).
constexpr uint32_t c_state_home = 1;
constexpr uint32_t c_state_unknown = 4;
constexpr uint32_t c_state_roaming = 5;
constexpr uint32_t c_state_emergency_only = 10;

constexpr uint32_t c_reason_general = 1;

uint32_t net_get_registration_status_in_ril(uint32_t status, uint32_t is_roaming) {
    switch (status) {
        case c_net_status_registered:
            return is_roaming != 0 ? c_state_roaming : c_state_home;
        case c_net_status_unknown:
            return c_state_unknown;
        default:
            return c_state_emergency_only;
    }
}

uint32_t net_get_registration_reject_cause_in_ind_isi(uint32_t cause) {
    constexpr uint32_t c_first = 2;
    constexpr std::array<uint8_t, 16> c_reasons = {2, 3, 1, 1, 4, 1, 1, 1, 1, 5, 6, 7, 1, 8, 1, 9};
    const uint32_t index = cause - c_first;
    return index < c_reasons.size() ? c_reasons[index] : c_reason_general;
}

uint8_t umts_act(const net_registered_info& info) {
    if (info.hspa_plus_available == 1) {
        return RADIO_TECH_HSPAP;
    }
    if (info.hsdpa_available == 1) {
        return RADIO_TECH_HSDPA;
    }
    return info.hsupa_available == 1 ? RADIO_TECH_HSUPA : RADIO_TECH_UMTS;
}

uint8_t gsm_act(const net_registered_info& info) {
    if (info.edge_available == 1) {
        return RADIO_TECH_EDGE;
    }
    return info.gprs_available == 1 ? RADIO_TECH_GPRS : RADIO_TECH_GSM;
}

}  // namespace

void net_update_act(uint32_t sim_id) {
    const net_registered_info& info = net_info(sim_id);
    uint8_t act = RADIO_TECH_UNKNOWN;
    switch (info.rat) {
        case NET_RAT_GSM:
            act = gsm_act(info);
            break;
        case NET_RAT_UMTS:
            act = umts_act(info);
            break;
        case NET_RAT_LTE:
            act = RADIO_TECH_LTE;
            break;
        default:
            break;
    }
    net_act[sim_id & 1U] = act;
}

void net_read_cs_registration_status(uint32_t sim_id, std::array<uint32_t, c_net_cs_values>& out) {
    net_update_act(sim_id);
    const net_registered_info& info = net_info(sim_id);
    out = {};
    out[0] = net_get_registration_status_in_ril(info.cs_status, info.is_roaming);
    if (info.lac != 0) {
        out[1] = info.lac;
        out[2] = info.cell_id;
        out[3] = net_get_act(sim_id);
    }
}

void net_read_ps_registration_status(uint32_t sim_id, net_ps_registration& out) {
    net_update_act(sim_id);
    const net_registered_info& info = net_info(sim_id);
    out = {};
    out.status = net_get_registration_status_in_ril(info.ps_status, info.is_roaming);
    if (info.lac != 0) {
        out.lac = info.lac;
        out.cell_id = info.cell_id;
        out.act = net_get_act(sim_id);
    } else {
        RIL_TRACE(TRACE_ERROR, "%s: No cell ID or LAC either, sim_id = %d\n", __func__, static_cast<int>(sim_id));
    }
    out.reject_reason = net_get_registration_reject_cause_in_ind_isi(info.reject_cause);
    out.max_pdp_contexts = static_cast<uint32_t>(ril_config_get_max_gprs_pdp_context());
    if (net_is_dual_sim_conflict() != 0 && pdp_act_nok_flag == 1) {
        out.status = c_state_unknown;
        out.reject_reason = c_reason_general;
    }
}
