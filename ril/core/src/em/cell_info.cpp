// The lists of cells that Android asks for, or has sent to it at a rate. One request of the modem serves all three.
#include <telephony/librilutils.h>

#include <array>
#include <cstdio>
#include <utility>

#include "ril/core/src/async_ril/async_ril.h"
#include "ril/core/src/em/em_state.h"
#include "ril/utils/mem_util.h"
#include "ril/utils/trace.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"

namespace {

constexpr size_t c_cells_max = 60;
constexpr uint32_t c_no_cell = 0xFFFFFFFF;
constexpr int32_t c_serving = 0;

std::array<uint32_t, 2> cell_info_rate = {c_cell_info_off, c_cell_info_off};

// Which answer a context owes. A context that is released by any way owes none.
enum owed : uint8_t { OWES_NOTHING, OWES_NEIGHBOURS, OWES_LIST, OWES_UNSOLICITED };
std::array<owed, std::tuple_size_v<decltype(rilreq_state_info)>> s_owed{};

// One block for a running cycle. It travels from the timer to the private area of the tick's context and back.
struct cell_info_cycle {
    uint32_t sim_id;
    uint32_t number;
};

// The number of the SIM's last cycle: a tick of an earlier one, or of a modem that went down meanwhile, ends.
std::array<uint32_t, 2> s_cycle{};

void cell_info_list_timer_cb(void* param);

void arm(cell_info_cycle* cycle) {
    const uint32_t rate = cell_info_rate[cycle->sim_id];
    ril_request_timed_call_back(cell_info_list_timer_cb, cycle, static_cast<int32_t>(rate / 1000),
                                static_cast<int32_t>(rate % 1000 * 1000));
}

int32_t send(uint32_t sim_id, uint32_t ctxt_id, owed what) {
    s_owed[ctxt_id] = what;
    rilreq_state_info[ctxt_id].p_released = [](uint32_t released) { s_owed[released] = OWES_NOTHING; };
    const UtaNetSingleShotRadioSignalReportingReqParam param{};
    if (RemUtaMsNetSingleShotRadioSignalReportingReq(sim_id, &param, uta_context_id(ctxt_id)) != 0) {
        RIL_TRACE(TRACE_ERROR, "%s UtaMsNetSingleShotRadioSignalReportingReq failure", __func__);
        return -1;
    }
    return 0;
}

// --- Neighbours ------------------------------------------------------------------------------------------------------

struct neighbours {
    std::array<RIL_NeighboringCell, c_cells_max> cells;
    std::array<RIL_NeighboringCell*, c_cells_max> pointers;
    size_t count = 0;
};

// Without memory for the text the entry is left out.
void add_neighbour(neighbours& out, int32_t kind, uint32_t cell_id, int rssi) {
    constexpr size_t c_text = 10;
    if (out.count == c_cells_max || cell_id == c_no_cell || kind == c_serving) {
        return;
    }
    auto* text = static_cast<char*>(MEM_ALLOC(c_text));
    if (text == nullptr) {
        return;
    }
    snprintf(text, c_text - 1, "%x", cell_id);
    out.cells[out.count] = {text, rssi};
    out.pointers[out.count] = &out.cells[out.count];
    ++out.count;
}

void answer_neighbours(const UtaNetSingleShotRadioSignalReportingRspParam& found, uint32_t ctxt_id) {
    neighbours out;
    for (const UtaNetGsmcellInfoList& cell : std::span(found.gsm, found.gsm_count)) {
        add_neighbour(out, cell.kind, cell.cell_id, cell.signal);
    }
    for (const UtaNetUmtscellInfoList& cell : std::span(found.umts, found.umts_count)) {
        add_neighbour(out, cell.kind, cell.cell_id, cell.neighbour_rssi);
    }
    ril_request_complete(rilreq_state_info[ctxt_id].token, RIL_E_SUCCESS, out.pointers.data(),
                         out.count * sizeof(void*));
    for (size_t i = 0; i < out.count; ++i) {
        MEM_FREE(out.cells[i].cid);
    }
    qelril_free_and_return(ctxt_id);
}

// --- All cells -------------------------------------------------------------------------------------------------------

struct cell_list {
    std::array<RIL_CellInfo, c_cells_max> cells;
    size_t count = 0;

    size_t bytes() const { return count * sizeof(RIL_CellInfo); }
    RIL_CellInfo* next(int32_t kind, uint32_t cell_id, RIL_CellInfoType type, uint64_t now) {
        if (count == c_cells_max || cell_id == c_no_cell) {
            return nullptr;
        }
        RIL_CellInfo& cell = cells[count++];
        cell = {};
        cell.cellInfoType = type;
        cell.registered = kind == c_serving ? 1 : 0;
        cell.timeStampType = RIL_TIMESTAMP_TYPE_JAVA_RIL;
        cell.timeStamp = now;
        return &cell;
    }
};

void fill(cell_list& out, const UtaNetSingleShotRadioSignalReportingRspParam& found) {
    const uint64_t now = ril_nano_time();
    for (const UtaNetGsmcellInfoList& from : std::span(found.gsm, found.gsm_count)) {
        if (RIL_CellInfo* cell = out.next(from.kind, from.cell_id, RIL_CELL_INFO_TYPE_GSM, now); cell != nullptr) {
            cell->CellInfo.gsm = {{from.mcc, from.mnc, from.lac, static_cast<int>(from.cell_id)},
                                  {from.signal, from.error_rate}};
        }
    }
    for (const UtaNetUmtscellInfoList& from : std::span(found.umts, found.umts_count)) {
        if (RIL_CellInfo* cell = out.next(from.kind, from.cell_id, RIL_CELL_INFO_TYPE_WCDMA, now); cell != nullptr) {
            cell->CellInfo.wcdma = {{from.mcc, from.mnc, from.lac, static_cast<int>(from.cell_id), from.psc},
                                    {from.signal, from.error_rate}};
        }
    }
}

void net_rsp_cell_info_list_req(const UtaNetSingleShotRadioSignalReportingRspParam& found, uint32_t ctxt_id) {
    cell_list list;
    fill(list, found);
    qelril_complete_and_return(ctxt_id, RIL_E_SUCCESS, list.cells.data(), list.bytes());
}

void net_unsol_cell_info_list(uint32_t sim_id, const UtaNetSingleShotRadioSignalReportingRspParam& found,
                              uint32_t ctxt_id) {
    if (cell_info_rate[sim_id] == c_cell_info_off) {
        RIL_TRACE(TRACE_EVENT, "%s timer is invalid dont send any info", __func__);
        qelril_free_and_return(ctxt_id);  // and the cycle's block
        return;
    }
    cell_list list;
    fill(list, found);
    RIL_UnsolicitedResponse(sim_id, RIL_UNSOL_CELL_INFO_LIST, list.cells.data(), list.bytes());
    arm(static_cast<cell_info_cycle*>(std::exchange(rilreq_state_info[ctxt_id].p_priv_data, nullptr)));
    qelril_free_and_return(ctxt_id);
}

void net_single_shot_radio_single_reporting_rsp_cb(uint32_t sim_id, const void* p_params, uint32_t ctxt_id) {
    static constexpr UtaNetSingleShotRadioSignalReportingRspParam c_nothing{};  // an answer without a record
    const auto* const answered = static_cast<const UtaNetSingleShotRadioSignalReportingRspParam*>(p_params);
    const UtaNetSingleShotRadioSignalReportingRspParam& found = answered == nullptr ? c_nothing : *answered;
    switch (s_owed[ctxt_id]) {
        case OWES_NEIGHBOURS:
            answer_neighbours(found, ctxt_id);
            break;
        case OWES_LIST:
            net_rsp_cell_info_list_req(found, ctxt_id);
            break;
        case OWES_UNSOLICITED:
            net_unsol_cell_info_list(sim_id, found, ctxt_id);
            break;
        case OWES_NOTHING:  // another's context
            break;
    }
}

// --- The cycle -------------------------------------------------------------------------------------------------------

// A tick on its way to the RIL thread. Who has the block afterwards is told before the timer's thread goes on.
struct tick {
    cell_info_cycle* cycle;  // null: passed on
};

void run_tick(uint32_t sim_id, const void* p_params) {
    cell_info_cycle*& cycle = static_cast<tick*>(const_cast<void*>(p_params))->cycle;
    if (cycle->number != s_cycle[sim_id] || cell_info_rate[sim_id] == c_cell_info_off) {
        RIL_TRACE(TRACE_EVENT, "%s timer is invalid dont send any info", "cell_info_list_timer_cb");
        return;
    }
    const int32_t taken = qelril_get_free_ctxt_id(nullptr, net_single_shot_radio_single_reporting_rsp_cb);
    if (taken < 0) {
        RIL_TRACE(TRACE_ERROR, "%s: ERROR qelril_get_free_ctxt_id\n", "cell_info_list_timer_cb");
        arm(std::exchange(cycle, nullptr));
        return;
    }
    const auto ctxt_id = static_cast<uint32_t>(taken);
    if (send(sim_id, ctxt_id, OWES_UNSOLICITED) != 0) {
        arm(std::exchange(cycle, nullptr));
        qelril_free_and_return(ctxt_id);
        return;
    }
    rilreq_state_info[ctxt_id].p_priv_data = std::exchange(cycle, nullptr);
}

// rild's event thread. While the modem is away nobody takes the tick, and the cycle is over.
void cell_info_list_timer_cb(void* param) {
    tick now = {static_cast<cell_info_cycle*>(param)};
    qelril_post_utamsindcb(now.cycle->sim_id, &now, run_tick);
    if (now.cycle != nullptr) {
        MEM_FREE(now.cycle);
    }
}

}  // namespace

void cell_info_start(uint32_t sim_id) {
    cell_info_rate[sim_id] = c_cell_info_off;
    ++s_cycle[sim_id];
}

int32_t net_request_neighbouring_cells(uint32_t sim_id, uint32_t ctxt_id) {
    return send(sim_id, ctxt_id, OWES_NEIGHBOURS);
}

int32_t net_request_cell_info_list(uint32_t sim_id, uint32_t ctxt_id) {
    return send(sim_id, ctxt_id, OWES_LIST);
}

int32_t net_set_cell_info_rate(uint32_t sim_id, uint32_t rate) {
    if (cell_info_rate[sim_id] != c_cell_info_off) {
        RIL_TRACE(TRACE_EVENT, "%s timer already started", __func__);
        cell_info_rate[sim_id] = rate;
        return 0;
    }
    if (rate == 0 || rate == c_cell_info_off) {
        return 0;
    }
    auto* cycle = static_cast<cell_info_cycle*>(MEM_ALLOC(sizeof(cell_info_cycle)));
    if (cycle == nullptr) {
        // No cycle runs: the rate stays off, so that a later request can start one.
        RIL_TRACE(TRACE_ERROR, "%s cb_data malloc failed", __func__);
        return -1;
    }
    cell_info_rate[sim_id] = rate;
    *cycle = {sim_id, ++s_cycle[sim_id]};
    arm(cycle);
    return 0;
}

void UtaMsNetSingleShotRadioSignalReportingRspCb(uint32_t sim_id,
                                                 const UtaNetSingleShotRadioSignalReportingRspParam* param,
                                                 uint32_t context_id) {
    qelril_post_utamsrspcb(sim_id, param, context_id, net_single_shot_radio_single_reporting_rsp_cb);
}
