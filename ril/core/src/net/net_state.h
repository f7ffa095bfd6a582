// What the module's files share: the modem's view of each SIM's registration, and the settings and measurements of the
// network. The RIL thread's, but for the start values. Nobody outside the module includes this.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "rpc/multi-client/rpc-stubs/ril/records.h"

constexpr uint16_t c_net_unspecified = 0xFFFF;  // an MCC, MNC, LAC or scrambling code that is none
constexpr uint32_t c_net_status_registered = 0;
constexpr uint32_t c_net_status_unknown = 3;
constexpr uint32_t c_net_invalid_band = 18;
constexpr size_t c_net_name_size = 31;  // 30 characters and a terminator

struct net_registered_info {
    uint8_t is_registered = 0;
    uint8_t gprs_available = 0;
    uint8_t edge_available = 0;
    uint8_t hsdpa_available = 0;
    uint8_t hsupa_available = 0;
    uint8_t hspa_plus_available = 0;
    uint8_t is_roaming = 0;
    uint32_t rat = 0;  // net_rat
    uint16_t mcc = c_net_unspecified;
    uint16_t mnc = c_net_unspecified;
    uint8_t three_digit_mnc = 0;
    char long_name[c_net_name_size] = {};
    char short_name[c_net_name_size] = {};
    uint32_t cs_status = c_net_status_unknown;  // as the modem gave it, as is the next
    uint32_t ps_status = c_net_status_unknown;
    uint32_t reject_cause = 6;  // of packet service
    uint32_t cell_id = 0;
    uint16_t lac = 0;
    uint32_t band = c_net_invalid_band;
};

// No bands: every row says so.
constexpr UtaNetBandList net_no_bands() {
    UtaNetBandList list{};
    for (UtaNetBand& row : list.bands) {
        row = {c_net_invalid_band, 1};
    }
    return list;
}

struct net_settings {
    uint16_t operator_selection_mode = 0;  // 0 automatic, 1 manual
    uint32_t location_update_mode = 2;     // 0 off; with 1 and 2 Android hears of a new radio technology
    uint16_t psc = 0;                      // the last primary scrambling code that the modem gave
    uint8_t rssi = 0;                      // signal of the last report as the modem gave it, as is the next
    uint8_t ber = 0;
    uint8_t rsrp = 0;  // copies of the two above
    uint8_t rsrq = 0;
    UtaNetRats rats{};              // which technologies are enabled
    UtaNetRatOrder pref_act{};      // in order of preference
    uint8_t band_status_valid = 0;  // 1 once the modem has told its bands
    UtaNetBandList gsm_bands = net_no_bands();
    UtaNetBandList umts_bands = net_no_bands();
    UtaNetLteBands lte_bands{};  // as the modem gave them
};

enum net_attach_result : int32_t { ATTACH_RUNNING_OR_FAILED = -1, ATTACH_SUCCEEDED = 0, ATTACH_ILLEGAL = 1 };

extern std::array<net_registered_info, 2> net_registered_info_params;
extern std::array<net_settings, 2> net_mngr_db;
extern std::array<uint8_t, 2> net_act;  // RIL_RadioTechnology
extern std::array<net_attach_result, 2> net_attach_detach_net_scan_stat;
extern std::array<uint32_t, 2> net_attach_allowed;

// A response carries whatever number the modem put into it, so a row is found by its last bit.
inline net_registered_info& net_info(uint32_t sim_id) {
    return net_registered_info_params[sim_id & 1U];
}
inline net_settings& net_db(uint32_t sim_id) {
    return net_mngr_db[sim_id & 1U];
}
inline void net_set_attach_status(uint32_t sim_id, net_attach_result result) {
    net_attach_detach_net_scan_stat[sim_id & 1U] = result;
}

// Derives net_act from what the modem said about the cell.
void net_update_act(uint32_t sim_id);

// The registration is at the network that an attach was confirmed for, with the names of that network.
void net_store_network(uint32_t sim_id, const UtaNetRatPlmn& network);

// The modem's starts. A timer that outlived its modem belongs to another number.
uint32_t net_modem_starts();  // any thread
