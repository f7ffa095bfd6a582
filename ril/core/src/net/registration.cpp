// The modem's reports on registration, the cell and its packet technologies.
#include <cutils/properties.h>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/band_names.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/net_state.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

namespace {

// The modem's reject cause while the other SIM has the radio.
constexpr uint32_t c_cause_dual_sim_conflict = 22;

// Android's events of the OEM hook.
constexpr int c_oem_event_out_of_service = 209;
constexpr int c_oem_event_in_service = 210;
constexpr int32_t c_service_state_out = 1;

uint32_t dual_sim_conflict_flag = 0;
uint32_t last_rej_cause = 0;

void ril_unsol_oem_service_event(uint32_t sim_id, int event) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_OEM_HOOK_RAW, &event, sizeof(event));
}

// A report without a status that follows one of a conflict belongs to it, whatever cause it gives itself.
bool is_conflict(const UtaNetRegistrationInfoIndParam& report) {
    return static_cast<uint32_t>(report.cs_status) == c_net_status_unknown &&
           (static_cast<uint32_t>(report.rej_cause) == c_cause_dual_sim_conflict ||
            last_rej_cause == c_cause_dual_sim_conflict);
}

void store_statuses(net_registered_info& info, const UtaNetRegistrationInfoIndParam& report) {
    info.cs_status = static_cast<uint32_t>(report.cs_status);
    info.ps_status = static_cast<uint32_t>(report.ps_status);
}

void store_band(uint32_t sim_id, uint32_t band) {
    net_registered_info& info = net_info(sim_id);
    if (band == info.band) {
        return;
    }
    info.band = band;
    const char* name = net_band_name(band);
    if (name != nullptr) {
        property_set(sim_id == 0 ? "gsm.network.band" : "gsm.network2.band", name);
    }
}

void net_registration_info_ind(uint32_t sim_id, const void* p_params) {
    const auto& report = *static_cast<const UtaNetRegistrationInfoIndParam*>(p_params);
    net_registered_info& info = net_info(sim_id);
    const bool conflict = is_conflict(report);
    last_rej_cause = static_cast<uint32_t>(report.rej_cause);
    dual_sim_conflict_flag = conflict ? 1 : 0;
    if (conflict) {
        // During an activation Android keeps the old registration, and is shown the conflict in its packet service.
        if (pdp_act_nok_flag != 0) {
            ril_unsol_response_voice_network_state_changed(sim_id);
        } else {
            store_statuses(info, report);
        }
        return;
    }
    store_statuses(info, report);
    if (is_ps_registered(sim_id) != 0) {
        ril_unsol_oem_service_event(sim_id, c_oem_event_in_service);
    }
    info.reject_cause = static_cast<uint32_t>(report.second_cause);
    net_store_network(sim_id, report.network);
    info.is_roaming = report.roaming == 1 ? 1 : 0;
    info.is_registered = info.cs_status == c_net_status_registered ? 1 : 0;
    store_band(sim_id, static_cast<uint32_t>(report.band));
    ril_unsol_response_voice_network_state_changed(sim_id);
}

// Recomputes the radio technology and tells Android of a new one, where Android wants to know and may.
void update_act_and_tell(uint32_t sim_id) {
    const uint32_t before = net_get_act(sim_id);
    net_update_act(sim_id);
    const uint32_t mode = net_db(sim_id).location_update_mode;
    if (net_get_act(sim_id) != before && (mode == 1 || mode == 2) &&
        (dual_sim_conflict_flag == 0 || pdp_act_nok_flag == 1)) {
        ril_unsol_response_voice_network_state_changed(sim_id);
    }
}

void net_cell_info_ind(uint32_t sim_id, const void* p_params) {
    const auto& cell = *static_cast<const UtaNetCellInfoIndParam*>(p_params);
    net_registered_info& info = net_info(sim_id);
    info.gprs_available = static_cast<uint8_t>(cell.gprs);
    info.edge_available = static_cast<uint8_t>(cell.edge);
    info.hsdpa_available = static_cast<uint8_t>(cell.hsdpa);
    info.hsupa_available = static_cast<uint8_t>(cell.hsupa);
    info.cell_id = cell.cell_id;
    info.lac = cell.lac;
    info.rat = static_cast<uint32_t>(cell.rat);
    info.mcc = cell.mcc;
    info.mnc = cell.mnc;
    update_act_and_tell(sim_id);
}

void net_hspa_info_ind(uint32_t sim_id, const void* p_params) {
    const auto& hspa = *static_cast<const UtaNetHspaInfoIndParam*>(p_params);
    net_registered_info& info = net_info(sim_id);
    info.hspa_plus_available = hspa.hspa_plus_conn_type != 0 ? 1 : 0;
    info.hsdpa_available = static_cast<uint8_t>(hspa.is_hsdpa_used);
    info.hsupa_available = static_cast<uint8_t>(hspa.is_hsupa_used);
    info.rat = NET_RAT_UMTS;
    update_act_and_tell(sim_id);
}

void net_dual_sim_service_ind_cb(uint32_t sim_id, const void* p_params) {
    const auto& service = *static_cast<const UtaNetDualSimServiceStatusParam*>(p_params);
    ril_unsol_oem_service_event(
        sim_id, service.service_state == c_service_state_out ? c_oem_event_out_of_service : c_oem_event_in_service);
}

}  // namespace

uint32_t net_is_dual_sim_conflict() {
    return dual_sim_conflict_flag;
}

void ril_unsol_response_voice_network_state_changed(uint32_t sim_id) {
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_RESPONSE_VOICE_NETWORK_STATE_CHANGED, nullptr, 0);
}

void UtaMsNetRegistrationInfoIndCb(uint32_t sim_id, const UtaNetRegistrationInfoIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_registration_info_ind);
}

void UtaMsNetCellInfoIndCb(uint32_t sim_id, const UtaNetCellInfoIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_cell_info_ind);
}

void UtaMsNetHspaInfoIndCb(uint32_t sim_id, const UtaNetHspaInfoIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_hspa_info_ind);
}

void UtaMsNetDualSimServiceIndCb(uint32_t sim_id, const UtaNetDualSimServiceStatusParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_dual_sim_service_ind_cb);
}
