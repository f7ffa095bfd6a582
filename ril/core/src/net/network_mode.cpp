#include "ril/core/src/net/network_mode.h"

#include <cutils/properties.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <initializer_list>
#include <span>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/net/net.h"
#include "ril/core/src/net/net_state.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

// --- Technologies ---

struct network_type {
    int32_t android;  // RIL_PreferredNetworkType
    UtaNetRats rats;
    UtaNetRatOrder order;
};

// The first row with the same technologies is what is read back.
constexpr std::array<network_type, 7> c_network_types = {{
    {0, {1, 1, 0}, {NET_RAT_UMTS, NET_RAT_GSM, NET_RAT_NONE}},
    {3, {1, 1, 0}, {NET_RAT_UMTS, NET_RAT_GSM, NET_RAT_NONE}},
    {1, {1, 0, 0}, {NET_RAT_GSM, NET_RAT_NONE, NET_RAT_NONE}},
    {2, {0, 1, 0}, {NET_RAT_UMTS, NET_RAT_NONE, NET_RAT_NONE}},
    {9, {1, 1, 1}, {NET_RAT_LTE, NET_RAT_UMTS, NET_RAT_GSM}},
    {11, {0, 0, 1}, {NET_RAT_LTE, NET_RAT_NONE, NET_RAT_NONE}},
    {12, {0, 1, 1}, {NET_RAT_LTE, NET_RAT_UMTS, NET_RAT_NONE}},
}};

bool same_rats(const UtaNetRats& one, const UtaNetRats& other) {
    return (one.gsm != 0) == (other.gsm != 0) && (one.umts != 0) == (other.umts != 0) &&
           (one.lte != 0) == (other.lte != 0);
}

// --- Bands ---

enum band_action : int32_t { BANDS_AUTOMATIC = 0, BANDS_LISTED = 1, BANDS_NONE = 2 };

constexpr int32_t c_band_not_supported = 11;
constexpr uint32_t c_first_cdma_mode = 6;
constexpr uint32_t c_last_cdma_mode = 18;

constexpr UtaNetBandSelection bands(band_action action, std::initializer_list<uint32_t> listed = {}) {
    UtaNetBandSelection selection{};
    selection.action = action;
    for (const uint32_t band : listed) {
        selection.list.bands[selection.list.count] = {band, 1};
        ++selection.list.count;
    }
    return selection;
}

struct band_mode {
    UtaNetBandSelection gsm;
    UtaNetBandSelection umts;
    band_action lte;
};

// By Android's mode: automatic, EURO, US, JPN, AUS, AUS 2 (band numbers: 3GPP TS 45.005, 2 and TS 25.101, 5.2).
constexpr std::array<band_mode, c_first_cdma_mode> c_band_modes = {{
    {bands(BANDS_AUTOMATIC), bands(BANDS_AUTOMATIC), BANDS_AUTOMATIC},
    {bands(BANDS_LISTED, {0, 4}), bands(BANDS_LISTED, {50}), BANDS_NONE},
    {bands(BANDS_LISTED, {6, 5}), bands(BANDS_LISTED, {54, 51}), BANDS_NONE},
    {bands(BANDS_NONE), bands(BANDS_LISTED, {55, 50}), BANDS_NONE},
    {bands(BANDS_LISTED, {0, 4}), bands(BANDS_LISTED, {54, 50}), BANDS_NONE},
    {bands(BANDS_LISTED, {0, 4}), bands(BANDS_LISTED, {54}), BANDS_NONE},
}};

struct modes_of_band {
    uint32_t band;
    uint32_t modes;  // bit n: mode n
};

constexpr std::array<modes_of_band, 8> c_modes_of_bands = {{
    {0, 1U << 1 | 1U << 4},
    {4, 1U << 1 | 1U << 4},
    {5, 1U << 2},
    {6, 1U << 2},
    {51, 1U << 2},
    {50, 1U << 1 | 1U << 3 | 1U << 4},
    {54, 1U << 2 | 1U << 4},
    {55, 1U << 3},
}};

// A count beyond the rows is the modem's mistake.
std::span<const UtaNetBand> rows(const UtaNetBandList& list) {
    return {list.bands, std::min<size_t>(list.count, std::size(list.bands))};
}

uint32_t net_search_supported_bands(const UtaNetBandList& list) {
    uint32_t modes = 0;
    for (const UtaNetBand& row : rows(list)) {
        for (const modes_of_band& known : c_modes_of_bands) {
            modes |= known.band == row.band ? known.modes : 0;
        }
    }
    return modes;
}

// "/0/4/50", three characters a piece, as far as a property's value holds.
void write_band_property(const UtaNetBandList& gsm, const UtaNetBandList& umts) {
    char text[PROPERTY_VALUE_MAX] = {};
    size_t length = 0;
    for (const UtaNetBandList* list : {&gsm, &umts}) {
        for (const UtaNetBand& row : rows(*list)) {
            char piece[4];
            const int wanted = snprintf(piece, sizeof(piece), "/%d", static_cast<int>(row.band));
            const size_t size = std::min<size_t>(static_cast<size_t>(wanted), sizeof(piece) - 1);
            if (length + size < sizeof(text)) {
                std::copy_n(piece, size, text + length);
                length += size;
            }
        }
    }
    property_set("gsm.network.supportted_band", text);
}

void store_bands(net_settings& settings, const UtaNetBandStatusParams& status) {
    settings.gsm_bands = status.gsm_band_status.current_band_configuration;
    settings.umts_bands = status.umts_band_status.current_band_configuration;
    settings.band_status_valid = 1;
}

void answer_with_modes(uint32_t ctxt_id, uint32_t modes, net_settings& settings, uint32_t sim_id) {
    const size_t count = 1 + static_cast<size_t>(std::popcount(modes));
    auto* const p_bands_list = static_cast<int32_t*>(MEM_ALLOC(count * sizeof(int32_t)));
    if (p_bands_list == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: p_bands_list is NULL, sim_id = %d\n", "net_band_status_rsp",
                  static_cast<int>(sim_id));
        settings.band_status_valid = 0;
        qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    size_t used = 0;
    p_bands_list[used++] = static_cast<int32_t>(count);
    for (int32_t mode = 0; used < count; ++mode) {
        if ((modes >> mode & 1U) != 0) {
            p_bands_list[used++] = mode;
        }
    }
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, p_bands_list, count * sizeof(int32_t));
    MEM_FREE(p_bands_list);
}

void net_band_status_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    net_settings& settings = net_db(sim_id);
    if (p_params == nullptr) {
        settings.band_status_valid = 0;
        RIL_TRACE(TRACE_ERROR, "%s: p_band_status_param is NULL, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        qelril_complete_and_return(ctxt_id, RIL_E_GENERIC_FAILURE, nullptr, 0);
        return;
    }
    store_bands(settings, *static_cast<const UtaNetBandStatusParams*>(p_params));
    write_band_property(settings.gsm_bands, settings.umts_bands);
    answer_with_modes(ctxt_id,
                      net_search_supported_bands(settings.gsm_bands) | net_search_supported_bands(settings.umts_bands),
                      settings, sim_id);
}

void net_band_status_ind(uint32_t sim_id, const void* p_params) {
    if (p_params == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: c_p_band_status_param is NULL, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        return;
    }
    store_bands(net_db(sim_id), *static_cast<const UtaNetBandStatusParams*>(p_params));
}

void net_configure_mode_rsp(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    const auto& answer = *static_cast<const UtaNetConfigureNetworkModeRspParam*>(p_params);
    qelril_complete_and_return(ctxt_id, answer.result == 1 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE, nullptr, 0);
}

void net_network_mode_ind(uint32_t sim_id, const void* p_params) {
    const auto& mode = *static_cast<const UtaNetConfigureNetworkModeParam*>(p_params);
    net_settings& settings = net_db(sim_id);
    settings.rats = mode.rats;
    settings.pref_act = mode.order;
    settings.gsm_bands = mode.gsm.list;
    settings.umts_bands = mode.umts.list;
    settings.lte_bands = mode.lte.bands;
}

void net_rat_mode_status_ind(uint32_t sim_id, const void* p_params) {
    const auto& status = *static_cast<const UtaNetRatModeStatusParam*>(p_params);
    net_db(sim_id).rats = status.rats;
    net_db(sim_id).pref_act = status.order;
}

void net_swap_rat_settings_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    (void)sim_id;
    const auto& answer = *static_cast<const UtaNetSwapRatSettingsRspParam*>(p_params);
    qelril_complete_and_return(ctxt_id, answer.result == 0 ? RIL_E_SUCCESS : RIL_E_GENERIC_FAILURE, nullptr, 0);
}

void net_swap_rat_settings_indCb(uint32_t sim_id, const void* p_params) {
    (void)sim_id;  // the report is about both
    const auto& swapped = *static_cast<const UtaNetSwapRatSettingsIndParam*>(p_params);
    net_db(0).rats = swapped.first.rats;
    net_db(1).rats = swapped.second.rats;
}

}  // namespace

int32_t net_set_preferred_rat(uint32_t sim_id, int32_t network_type, uint32_t context_id) {
    const auto* const found =
        std::find_if(c_network_types.begin(), c_network_types.end(),
                     [network_type](const struct network_type& row) { return row.android == network_type; });
    if (found == c_network_types.end()) {
        RIL_TRACE(TRACE_ERROR, "%s RAT = %d not supported, sim_id = %d\n", "ril_request_set_preferred_network_type",
                  network_type, static_cast<int>(sim_id));
        return -1;
    }
    const net_settings& settings = net_db(sim_id);
    const UtaNetConfigureNetworkModeParam param = {1,
                                                   found->rats,
                                                   1,
                                                   found->order,
                                                   {BANDS_AUTOMATIC, settings.gsm_bands},
                                                   {BANDS_AUTOMATIC, settings.umts_bands},
                                                   {BANDS_AUTOMATIC, settings.lte_bands}};
    return RemUtaMsNetConfigureNetworkModeReq(sim_id, &param, context_id) == 0 ? 0 : -1;
}

int32_t net_read_preferred_rat(uint32_t sim_id) {
    for (const network_type& row : c_network_types) {
        if (same_rats(row.rats, net_db(sim_id).rats)) {
            return row.android;
        }
    }
    return -1;
}

int32_t net_select_band(uint32_t sim_id, int32_t band_mode, uint32_t context_id) {
    const uint32_t mode = static_cast<uint32_t>(band_mode) & 0xFFU;
    if (mode >= c_band_modes.size()) {
        if (mode <= c_last_cdma_mode) {
            RIL_TRACE(TRACE_ERROR, "%s: CDMA band NOT supported, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        } else {
            RIL_TRACE(TRACE_ERROR, "%s: Band selection mismatch, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        }
        return c_band_not_supported;
    }
    UtaNetConfigureNetworkModeParam param{};
    param.gsm = c_band_modes[mode].gsm;
    param.umts = c_band_modes[mode].umts;
    param.lte.action = c_band_modes[mode].lte;
    if (RemUtaMsNetConfigureNetworkModeReq(sim_id, &param, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: Band mode selection failed, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        return -1;
    }
    return 0;
}

int32_t net_get_band_mode(uint32_t sim_id, uint32_t context_id) {
    if (RemUtaMsNetBandStatusReq(sim_id, context_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s: UtaMsNetBandStatusReq failed, sim_id = %d\n", __func__, static_cast<int>(sim_id));
        return -1;
    }
    return 0;
}

void UtaMsNetConfigureNetworkModeRspCb(uint32_t sim_id, const UtaNetConfigureNetworkModeRspParam* param,
                                       uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, net_configure_mode_rsp);
}

void UtaMsNetNetworkModeChangeIndCb(uint32_t sim_id, const UtaNetConfigureNetworkModeParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_network_mode_ind);
}

void UtaMsNetRatModeStatusIndCb(uint32_t sim_id, const UtaNetRatModeStatusParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_rat_mode_status_ind);
}

void UtaMsNetBandStatusRspCb(uint32_t sim_id, const UtaNetBandStatusParams* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, net_band_status_rsp);
}

void UtaMsNetBandStatusIndCb(uint32_t sim_id, const UtaNetBandStatusParams* param) {
    qelril_post_utamsindcb(sim_id, param, net_band_status_ind);
}

void UtaMsNetSwapRatSettingsRspCb(uint32_t sim_id, const UtaNetSwapRatSettingsRspParam* param, uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, net_swap_rat_settings_rsp_cb);
}

void UtaMsNetSwapRatSettingsIndCb(uint32_t sim_id, const UtaNetSwapRatSettingsIndParam* param) {
    qelril_post_utamsindcb(sim_id, param, net_swap_rat_settings_indCb);
}
