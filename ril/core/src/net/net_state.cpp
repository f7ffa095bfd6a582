#include "ril/core/src/net/net_state.h"

#include <atomic>
#include <cstring>

#include "ril/core/src/async_ril/radio_state.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/plmn_names.h"
#include "ril/core/src/net/scan.h"
#include "rpc/multi-client/rpc-stubs/ril/records.h"

std::array<net_registered_info, 2> net_registered_info_params;
std::array<net_settings, 2> net_mngr_db;
std::array<uint8_t, 2> net_act{};
std::array<net_attach_result, 2> net_attach_detach_net_scan_stat = {ATTACH_RUNNING_OR_FAILED, ATTACH_RUNNING_OR_FAILED};
std::array<uint32_t, 2> net_attach_allowed = {1, 1};
uint32_t pdp_act_nok_flag = 0;

namespace {

std::atomic<uint32_t> s_modem_starts{0};  // the modem event thread writes it

}  // namespace

void net_module_init(uint32_t sim_id) {
    // The radio is unavailable while the modem starts, and not when it is merely switched on.
    if (get_radio_state(sim_id) == RADIO_STATE_UNAVAILABLE) {
        s_modem_starts.fetch_add(1, std::memory_order_relaxed);
        // The data calls that a scan was bringing down are gone with the old modem.
        deactivate_pdp_beforenetscan = 0;
    }
    net_info(sim_id) = {};
    net_db(sim_id) = {};
    net_set_attach_status(sim_id, ATTACH_RUNNING_OR_FAILED);
    net_attach_allowed[sim_id & 1U] = 1;
    net_scan_start(sim_id);
}

uint32_t net_modem_starts() {
    return s_modem_starts.load(std::memory_order_relaxed);
}

void net_store_network(uint32_t sim_id, const UtaNetRatPlmn& network) {
    const UtaNetPlmn& plmn = network.plmn;
    const auto three_digit_mnc = static_cast<uint32_t>(plmn.three_digit_mnc);
    net_plmn_names names;
    net_get_plmn_name_by_id(sim_id, plmn.mcc, plmn.mnc, three_digit_mnc, true, names);
    net_registered_info& info = net_info(sim_id);
    info.rat = static_cast<uint32_t>(network.rat);
    info.mcc = plmn.mcc;
    info.mnc = plmn.mnc;
    info.three_digit_mnc = static_cast<uint8_t>(three_digit_mnc);
    memcpy(info.long_name, names.long_name, sizeof(info.long_name));
    memcpy(info.short_name, names.short_name, sizeof(info.short_name));
}

uint32_t net_get_modem_registration_state(uint32_t sim_id) {
    return net_info(sim_id).is_registered;
}

void net_clear_modem_registration_state(uint32_t sim_id) {
    net_info(sim_id).is_registered = 0;
}

uint32_t net_get_rat(uint32_t sim_id) {
    return net_info(sim_id).rat;
}

uint32_t net_get_act(uint32_t sim_id) {
    return net_act[sim_id & 1U];
}

uint32_t is_ps_registered(uint32_t sim_id) {
    return net_info(sim_id).ps_status == c_net_status_registered ? 1 : 0;
}

uint32_t net_attach_is_allowed(uint32_t sim_id) {
    return net_attach_allowed[sim_id & 1U];
}

int32_t net_attach_status(uint32_t sim_id) {
    return net_attach_detach_net_scan_stat[sim_id & 1U];
}

void net_read_operator_selection_mode(uint32_t sim_id, uint32_t* out) {
    *out = net_db(sim_id).operator_selection_mode;
}

int32_t net_location_update_status(uint32_t sim_id, uint32_t value) {
    constexpr uint32_t c_modes = 3;
    if (value >= c_modes) {
        return -1;
    }
    net_db(sim_id).location_update_mode = value;
    return 0;
}
