// The cells of the engineering reports: into the log, and into a table that answers a request for neighbouring cells or
// is refreshed at a rate.
#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/em/em_state.h"
#include "ril/core/src/system_manager/modules.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"

namespace {

// --- The table -------------------------------------------------------------------------------------------------------

constexpr size_t c_cells_max = 60;
constexpr size_t c_cid_text = 9;

struct em_request {
    uint32_t req;
    RIL_Token token;
    std::array<RIL_NeighboringCell, c_cells_max> cells;
    std::array<RIL_NeighboringCell*, c_cells_max> pointers;
    std::array<char[c_cid_text], c_cells_max> texts;
    size_t count;
};
std::array<em_request, 2> s_em_req{};

template <class... Values>
void append(uint32_t sim_id, int rssi, const char* format, Values... values) {
    em_request& table = s_em_req[sim_id];
    if (table.count == c_cells_max) {
        return;
    }
    RIL_NeighboringCell& cell = table.cells[table.count];
    cell = {table.texts[table.count], rssi};
    snprintf(cell.cid, c_cid_text, format, values...);
    table.pointers[table.count++] = &cell;
}

void em_copy_scrambling_and_rssi(uint32_t sim_id, uint16_t psc, int rssi) {
    append(sim_id, rssi, "%08x", unsigned{psc});
}

void em_copy_lac_ci_and_rssi(uint32_t sim_id, uint16_t lac, uint16_t cell_id, int rssi) {
    append(sim_id, rssi, "%04X%04X", unsigned{lac}, unsigned{cell_id});
}

void clear(uint32_t sim_id, uint32_t req, RIL_Token token) {
    em_request& table = s_em_req[sim_id];
    table.req = req;
    table.token = token;
    table.count = 0;
}

// --- Walking a report ------------------------------------------------------------------------------------------------

constexpr uint8_t c_level_max = 99;
constexpr uint8_t c_ecn0_max = 24;
constexpr uint8_t c_bsic_max = 63;

// Frequency of a GSM carrier (3GPP TS 45.005, 2) in MHz: (ARFCN - base) * 0.2 + start + the distance of the downlink.
struct gsm_range {
    uint8_t band;
    int first;
    int last;
    int base;
    double start;
    double duplex;
};

constexpr int c_wrapped = 1024;
constexpr uint8_t c_pcs_band = 5;
constexpr int c_pcs_bit = 0x8000;

constexpr gsm_range c_gsm_ranges[] = {
    {1, 1, 124, 0, 890, 45},
    {2, 1, 124, 0, 890, 45},
    {2, 975, 1023, c_wrapped, 890, 45},
    {3, 1, 124, 0, 890, 45},
    {3, 955, 1023, c_wrapped, 890, 45},
    {4, 512, 885, 512, 1710.2, 95},
    {c_pcs_band, 512, 810, 512, 1850.2, 80},
    {6, 128, 251, 128, 824.2, 45},
    {7, 259, 293, 259, 450.6, 10},
    {8, 306, 340, 306, 479, 10},
};

int shown_arfcn(const UtaEmRrTestparam& cell) {
    return cell.band == c_pcs_band ? cell.arfcn & ~c_pcs_bit : cell.arfcn;
}

// In tenths of a MHz.
int em_xcellinfo_true_freq(const UtaEmRrTestparam& cell) {
    const int arfcn = shown_arfcn(cell);
    for (const gsm_range& range : c_gsm_ranges) {
        if (range.band == cell.band && arfcn >= range.first && arfcn <= range.last) {
            // Each step is rounded to a double: with the digits that the x87 keeps beyond it, some come out one less.
            volatile double frequency = (arfcn - range.base) * 0.2;
            frequency = frequency + range.start;
            frequency = frequency + range.duplex;
            frequency = frequency * 10;
            return static_cast<int>(frequency);
        }
    }
    return arfcn * 10;
}

void umts_cell(uint32_t sim_id, const UtaEmUmtsCell& cell) {
    constexpr int c_path_loss_base = 165;
    const uint8_t rscp = std::min(cell.rscp, c_level_max);
    RIL_TRACE(TRACE_DETAIL, "+XCELLINFO: %d,%d,%d,%d,%d,%d,%d", cell.type == 0 ? 2 : 3, cell.psc, cell.dlf, 0, rscp,
              std::min(cell.ecn0, c_ecn0_max), static_cast<uint16_t>(c_path_loss_base - cell.rscp));
    em_copy_scrambling_and_rssi(sim_id, cell.psc, rscp);
}

// The active set as far as the count goes, then the others, whatever the count says.
void em_get_xcellinfo_umtsncell(uint32_t sim_id, const UtaEmUmtsCells& list) {
    constexpr uint8_t c_last_type = 6;
    const std::span all(list.cells);
    for (const UtaEmUmtsCell& cell : all.first(std::min<size_t>(list.count, all.size()))) {
        if (cell.type == 0) {
            umts_cell(sim_id, cell);
        }
    }
    for (const UtaEmUmtsCell& cell : all) {
        if (cell.type >= 1 && cell.type <= c_last_type) {
            umts_cell(sim_id, cell);
        }
    }
}

// A count that the list cannot hold is the modem's mistake.
void em_get_xcellinfo_gsmncell(uint32_t sim_id, const UtaEmGsmCells& list) {
    const std::span all(list.cells);
    for (const UtaEmGsmCell& cell : all.first(list.count > all.size() ? 0 : list.count)) {
        const uint8_t rxlev = std::min(cell.rxlev, c_level_max);
        RIL_TRACE(TRACE_DETAIL, "+XCELLINFO: 1,%d,%d,%d,%d,%d", cell.lac, cell.cell_id, rxlev,
                  std::min(cell.bsic, c_bsic_max), cell.arfcn);
        em_copy_lac_ci_and_rssi(sim_id, cell.lac, cell.cell_id, rxlev >> 1);
    }
}

void walk(uint32_t sim_id, const UtaEmRrcTestparam& part) {
    if (part.serving != 0) {
        const em_plmn plmn = em_plmn_decoding(part.plmn);
        RIL_TRACE(TRACE_DETAIL, "+XCELLINFO: 2,%3x,%3x,%d,%d,%d,%d,%d", plmn.mcc, plmn.mnc, part.lac,
                  static_cast<int>(part.cell_id), part.psc, part.dlf, part.ulf);
        em_copy_scrambling_and_rssi(sim_id, part.psc, 0);
    }
    em_get_xcellinfo_umtsncell(sim_id, part.umts);
    em_get_xcellinfo_gsmncell(sim_id, part.gsm);
}

void walk(uint32_t sim_id, const UtaEmRrTestparam& part) {
    const em_plmn plmn = em_plmn_decoding(part.plmn);
    RIL_TRACE(TRACE_DETAIL, "+XCELLINFO: 0,%3x,%3x,%d,%d,%d,%d,%d,%4.1f,%d", plmn.mcc, plmn.mnc, part.lac, part.cell_id,
              part.rxlev, part.bsic, shown_arfcn(part), static_cast<double>(em_xcellinfo_true_freq(part)),
              part.timing_advance);
    em_copy_lac_ci_and_rssi(sim_id, part.lac, part.cell_id, part.rxlev >> 1);
    em_get_xcellinfo_umtsncell(sim_id, part.umts);
    em_get_xcellinfo_gsmncell(sim_id, part.gsm);
}

// --- The refresh -----------------------------------------------------------------------------------------------------

uint32_t em_cellinfo_list_rate = 0;
uint32_t em_isCellInfo_timer_running = 0;
uint32_t s_start = 0;  // of the modem; the tick of an earlier one does nothing

struct refresh_timer {
    uint32_t sim_id;
    uint32_t rate;
    uint32_t start;
};

void em_trigger_cellInfo_list(void* param);

void arm(uint32_t sim_id, uint32_t rate, uint32_t milliseconds) {
    auto* timer = static_cast<refresh_timer*>(MEM_ALLOC(sizeof(refresh_timer)));
    if (timer == nullptr) {
        RIL_TRACE(TRACE_ERROR, "%s: Malloc failed for cb_data\n", __func__);
        em_isCellInfo_timer_running = 0;
        return;
    }
    *timer = {sim_id, rate, s_start};
    em_isCellInfo_timer_running = 1;
    ril_request_timed_call_back(em_trigger_cellInfo_list, timer, static_cast<int32_t>(milliseconds / 1000), 0);
}

void em_restart_unsol_cellInfo_list_timer(uint32_t sim_id, uint32_t rate) {
    if (rate != 0 && rate != c_cell_info_off && em_isCellInfo_timer_running == 0) {
        arm(sim_id, rate, rate);
    }
}

void em_unsol_cell_info_list(uint32_t sim_id) {
    em_restart_unsol_cellInfo_list_timer(sim_id, em_cellinfo_list_rate);
}

void refresh(uint32_t sim_id, const void* p_params) {
    const refresh_timer timer = *static_cast<const refresh_timer*>(p_params);
    if (timer.start != s_start) {
        return;
    }
    if (em_cellinfo_list_rate == c_cell_info_off) {
        em_isCellInfo_timer_running = 0;
        RIL_TRACE(TRACE_EVENT, "%s: Unsol cell info disabled: %d\n", "em_trigger_cellInfo_list",
                  static_cast<int>(em_cellinfo_list_rate));
        return;
    }
    if (timer.rate < em_cellinfo_list_rate) {
        arm(sim_id, em_cellinfo_list_rate, em_cellinfo_list_rate - timer.rate);
        return;
    }
    em_set_mode_req(sim_id, EM_CELL_INFO_LIST, nullptr);
    if (em_mode_enable_or_disable(sim_id, 1) != 0) {
        clear(sim_id, EM_UNKNOWN, nullptr);
        RIL_TRACE(TRACE_ERROR, "%s em enable failed\n", "em_trigger_cellInfo_list");
    }
    em_isCellInfo_timer_running = 0;
}

// rild's event thread.
void em_trigger_cellInfo_list(void* param) {
    auto* timer = static_cast<refresh_timer*>(param);
    qelril_post_utamsindcb(timer->sim_id, timer, refresh);
    MEM_FREE(timer);
}

void em_on_request_complete_neighbour_cell_ids(uint32_t sim_id) {
    em_request& table = s_em_req[sim_id];
    ril_request_complete(table.token, RIL_E_SUCCESS, table.pointers.data(), table.count * sizeof(void*));
    clear(sim_id, EM_UNKNOWN, nullptr);
    if (em_end_reporting(sim_id) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s em disable failed\n", __func__);
    }
}

void end_request(uint32_t sim_id) {
    ril_request_complete(std::exchange(s_em_req[sim_id].token, nullptr), RIL_E_RADIO_NOT_AVAILABLE, nullptr, 0);
    clear(sim_id, EM_UNKNOWN, nullptr);
}

}  // namespace

// Both SIMs share the refresh; its rate is the caller's and outlives the modem.
void report_cells_start(uint32_t sim_id) {
    end_request(sim_id);
    em_isCellInfo_timer_running = 0;
    ++s_start;
}

void em_module_exit() {
    end_request(0);
    end_request(1);
}

void em_get_xcellinfo(uint32_t sim_id, const UtaEmData& report) {
    s_em_req[sim_id].count = 0;
    if (report.rrc != nullptr) {
        walk(sim_id, *report.rrc);
    }
    if (report.rr != nullptr) {
        walk(sim_id, *report.rr);
    }
}

void em_serve_cells(uint32_t sim_id) {
    switch (s_em_req[sim_id].req) {
        case EM_NEIGHBOURING_CELLS:
            em_on_request_complete_neighbour_cell_ids(sim_id);
            break;
        case EM_CELL_INFO_LIST:
            em_unsol_cell_info_list(sim_id);
            break;
        default:
            RIL_TRACE(TRACE_EVENT, "%s: EM_UNKNOWN, EM_CGED and EM_XCGEDPAGE cases are not handled\n",
                      "em_reporting_ind_cb");
            break;
    }
}

void em_set_mode_req(uint32_t sim_id, uint32_t mode, RIL_Token token) {
    ril_request_complete(std::exchange(s_em_req[sim_id].token, nullptr), RIL_E_GENERIC_FAILURE, nullptr, 0);
    clear(sim_id, mode, token);
}

uint32_t em_get_mode_req(uint32_t sim_id) {
    return s_em_req[sim_id].req;
}

int32_t em_cell_info_list_rate(uint32_t sim_id, const uint32_t* rate) {
    constexpr uint32_t c_rate_min = 60000;
    if (rate == nullptr) {
        return -1;
    }
    const bool on = *rate != 0 && *rate != c_cell_info_off;
    em_cellinfo_list_rate = on && *rate != em_cellinfo_list_rate ? std::max(*rate, c_rate_min) : *rate;
    em_unsol_cell_info_list(sim_id);
    return 0;
}
