// Engineering reports (what the layers of a stack are doing, while a client wants to know) and the list of the cells
// that a stack hears.
//
// Levels are as in 3GPP TS 45.008, 8.1.4 and 25.133, 9.1.1.3; Ec/N0 is in decibels below 0. What has no place in this
// modem stays 0: no hopping, no PBCCH, no HSDPA channel, no hierarchy of cells.
#include "host/modem/engineering.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>

#include "host/modem/calls.h"
#include "host/modem/packet_data.h"

namespace {

using Milliseconds = Loop::Milliseconds;

constexpr Milliseconds c_report_period{1000};

constexpr int c_gsm_floor = -110;  // dBm of level 0
constexpr int c_umts_floor = -116;
constexpr int c_rxlev_max = 63;
constexpr int c_rxlev_access_min = 8;  // what a cell must have to be camped on (3GPP TS 45.008, 6.4)
constexpr int c_rscp_access_min = 1;   // the same (3GPP TS 25.304, 5.2.3.1.2)
constexpr int c_hysteresis = 4;        // that the serving cell is ahead, decibels

struct Stack {
    bool is_open = false;
    uint32_t switched = 0;  // how often reporting was
    UtaEmMnTestparam calls{};
    UtaEmMmTestparam cell_changes{};
};
std::array<Stack, c_stacks> s_stacks;

// What a report is about.
struct Situation {
    uint32_t sim_id;
    std::vector<Cell> cells;
    bool has_call;
    bool has_packet_data;
    bool is_registered;

    bool serves(int32_t rat) const { return !cells.empty() && cells.front().network->rat == rat; }
};

// --- Cells -----------------------------------------------------------------------------------------------------------

// Digits as the air has them (3GPP TS 24.008, 10.5.1.13): the first one in the lowest half octet, 0xF for none.
UtaEmPlmn plmn_of(const Network& network) {
    const unsigned mnc = network.three_digit_mnc ? network.mnc : network.mnc * 10U;
    const unsigned third = network.three_digit_mnc ? mnc % 10 : 0xF;
    const unsigned mcc = network.mcc;
    UtaEmPlmn plmn{};
    plmn.mcc = static_cast<uint16_t>(mcc / 100 | mcc / 10 % 10 << 4 | mcc % 10 << 8);
    plmn.mnc = static_cast<uint16_t>(mnc / 100 | mnc / 10 % 10 << 4 | third << 8);
    return plmn;
}

uint8_t rxlev_of(const Cell& cell) {
    return static_cast<uint8_t>(std::min<int>(cell.level, c_rxlev_max));
}

// What comes in is shared by all cells of the frequency; of its own power a cell gives the pilot a quarter.
uint8_t ecn0_of(const Cell& cell, const std::vector<Cell>& cells) {
    constexpr double c_alone = 6;
    constexpr double c_lowest = 24;
    double total = 0;
    for (const Cell& other : cells) {
        total += other.network->rat == c_umts ? std::pow(10, other.level / 10.0) : 0;
    }
    return static_cast<uint8_t>(std::min(c_lowest, c_alone + std::round(10 * std::log10(total) - cell.level)));
}

// The serving cell of GSM is none of its list.
UtaEmGsmCells gsm_cells(const Situation& now) {
    UtaEmGsmCells list{};
    for (size_t i = now.serves(c_gsm) ? 1 : 0; i < now.cells.size() && list.count < std::size(list.cells); ++i) {
        const Cell& from = now.cells[i];
        if (from.network->rat != c_gsm) {
            continue;
        }
        UtaEmGsmCell& cell = list.cells[list.count++];
        cell.lac = from.network->lac;
        cell.cell_id = static_cast<uint16_t>(from.id);
        cell.band = static_cast<uint8_t>(from.network->band);
        cell.arfcn = from.channel;
        cell.rxlev = rxlev_of(from);
        cell.bsic = static_cast<uint8_t>(from.code);
        cell.c1 = static_cast<int16_t>(cell.rxlev - c_rxlev_access_min);
        cell.c2 = cell.c1;
        cell.rs = static_cast<int16_t>(cell.rxlev + c_gsm_floor);
    }
    return list;
}

// With a call the best ones are the active set. Without, all have a rank.
UtaEmUmtsCells umts_cells(const Situation& now) {
    enum : uint8_t { ACTIVE_SET = 0, MONITORED = 2, RANKED = 5, NEIGHBOUR = 6 };
    constexpr int c_reporting_range = 4;
    UtaEmUmtsCells list{};
    for (const Cell& from : now.cells) {
        if (from.network->rat != c_umts || list.count == std::size(list.cells)) {
            continue;
        }
        const Cell& serving = now.cells.front();
        const bool is_serving = &from == &serving;
        UtaEmUmtsCell& cell = list.cells[list.count++];
        cell.psc = from.code;
        cell.rscp = from.level;
        cell.ecn0 = ecn0_of(from, now.cells);
        cell.dlf = from.channel;
        if (now.has_call && now.serves(c_umts)) {
            cell.type = from.level + c_reporting_range >= serving.level ? ACTIVE_SET : MONITORED;
        } else if (is_serving) {
            cell.type = RANKED;
            cell.rv = static_cast<int16_t>(from.level + c_umts_floor + c_hysteresis);
        } else {
            cell.type = NEIGHBOUR;
            cell.rs = static_cast<int16_t>(from.level + c_umts_floor);
        }
    }
    return list;
}

// --- The parts of a report -------------------------------------------------------------------------------------------

UtaEmMnTestparam calls_part(const Situation& now) {
    UtaEmMnTestparam part = counted(now.sim_id);
    part.pdp_act_state = now.has_packet_data ? 1 : 0;
    part.actdom = static_cast<uint8_t>((now.has_call ? 1 : 0) | (now.has_packet_data ? 2 : 0));
    if (now.has_call && now.serves(c_umts)) {
        constexpr ptrdiff_t c_bearers = 7;  // four of signalling, three of speech (3GPP TS 34.108, 6.10.2.4.1.4)
        std::iota(part.ridlist, part.ridlist + c_bearers, uint8_t{1});
    }
    return part;
}

// States by their number in 3GPP TS 24.008, 4.1.2.1 and 4.1.3.1; timers by their name.
UtaEmMmTestparam mobility_part(const Situation& now) {
    enum : uint8_t { CONNECTION_ACTIVE = 6, IDLE = 19 };
    enum : uint8_t { GMM_DEREGISTERED = 1, GMM_REGISTERED = 3, GMM_SUSPENDED = 2 };
    enum : uint8_t { NORMAL_SERVICE = 1, NO_CELL = 5, LIMITED_SERVICE = 7 };
    constexpr uint16_t c_location_timer = 0x3212;
    constexpr uint16_t c_routing_timer = 0x3312;
    constexpr uint8_t c_band_umts = 14;
    UtaEmMmTestparam part = s_stacks[now.sim_id].cell_changes;
    const uint8_t service = now.is_registered ? NORMAL_SERVICE : now.cells.empty() ? NO_CELL : LIMITED_SERVICE;
    const uint8_t update = now.is_registered ? 1 : 2;
    part.plmn = {0xFFFF, 0xFFFF};
    if (!now.cells.empty()) {
        const Network& network = *now.cells.front().network;
        part.plmn = plmn_of(network);
        part.lac = network.lac;
        part.gprs_class = network.rat == c_gsm ? 1 : 0;
        part.band = network.rat == c_gsm ? static_cast<uint8_t>(network.band) : c_band_umts;
        part.eplmn_count = now.is_registered ? 1 : 0;
        part.eplmns[0] = part.plmn;
    }
    part.cs.mms = now.has_call ? CONNECTION_ACTIVE : IDLE;
    part.cs.mmss = now.has_call ? uint8_t{0} : service;
    part.cs.lus = update;
    part.cs.t = now.is_registered && !now.has_call ? c_location_timer : uint16_t{0};
    part.co.mms = part.cs.mms;
    part.co.mmss = part.cs.mmss;
    part.ps.mms = now.is_registered ? GMM_REGISTERED : GMM_DEREGISTERED;
    part.ps.mmss = now.is_registered && now.has_call && now.serves(c_gsm) ? uint8_t{GMM_SUSPENDED} : service;
    part.ps.lus = update;
    part.ps.t = now.is_registered && !now.has_packet_data ? c_routing_timer : uint16_t{0};
    part.ciph = now.has_call ? 1 : 0;
    const UtaEmCellChange* const reselections[] = {&part.cr2g2g, &part.ir_cr2g3g, &part.cr3g3g, &part.ir_cr3g2g};
    const UtaEmCellChange* const handovers[] = {&part.ho2g2g, &part.ir_hocc2g3g, &part.ho3g3g, &part.ir_hocc3g2g};
    for (size_t i = 0; i < std::size(reselections); ++i) {
        part.aircr = static_cast<uint16_t>(part.aircr + reselections[i]->at);
        part.irho = static_cast<uint16_t>(part.irho + handovers[i]->su);
        part.airho = static_cast<uint16_t>(part.airho + handovers[i]->at);
    }
    return part;
}

UtaEmRrTestparam gsm_part(const Situation& now) {
    enum : uint8_t { DEDICATED = 10, IDLE = 29 };  // the radio's state
    const Cell& cell = now.cells.front();
    const uint8_t rxlev = rxlev_of(cell);
    UtaEmRrTestparam part{};
    part.plmn = plmn_of(*cell.network);
    part.lac = cell.network->lac;
    part.cell_id = static_cast<uint16_t>(cell.id);
    part.band = static_cast<uint8_t>(cell.network->band);
    part.arfcn = cell.channel;
    part.arfcn_ded = 0xFFFF;
    part.bsic = static_cast<uint8_t>(cell.code);
    part.rxlev = rxlev;
    part.rr = IDLE;
    part.lm = now.is_registered ? 0 : 1;
    part.c1 = static_cast<int16_t>(rxlev - c_rxlev_access_min);
    part.c2 = part.c1;
    part.rx_acc_min = c_rxlev_access_min;
    part.txpwr = 5;      // 33 dBm (3GPP TS 45.005, 4.1.1)
    part.sfrlc_29 = 22;  // the downlink signalling counter at its start: 90 over 4 multiframes
    part.ndsc = part.sfrlc_29;
    part.t3212 = 10;  // an hour, in tenths
    part.amr_cod_ul = 0xFF;
    part.amr_cod_dl = 0xFF;
    part.act = 3;  // GSM with EGPRS (3GPP TS 27.007, 7.3)
    part.gprs_sup = 1;
    part.nom = 2;
    part.t3192 = 500;  // milliseconds
    part.gea = 3;
    part.drx_timer_max = 2;
    part.packet_si_status = 1;
    part.ext_upl_tbf_supported = 1;
    part.ccn_active = 1;
    part.c_r_hyst = c_hysteresis / 2;
    part.prior_acc_thr = 6;  // packet access for all
    if (now.has_call) {
        constexpr int c_enough = 30;
        constexpr int c_poor = 15;
        part.rr = DEDICATED;
        part.arfcn_ded = cell.channel;
        part.sfrlc_10 = 24;  // RADIO-LINK-TIMEOUT, where nothing is lost (3GPP TS 45.008, 5.2)
        part.rll = part.sfrlc_10;
        part.rxlev_full = rxlev;
        part.rxlev_sub = rxlev;
        part.rxqual_full = rxlev >= c_enough ? 0 : rxlev >= c_poor ? 2 : 5;
        part.rxqual_sub = part.rxqual_full;
        part.ch_type = 0x01;  // TCH/F, and AMR on it (3GPP TS 44.018, 10.5.2.5 and 10.5.2.6)
        part.ch_mode = 0x41;
        part.dtx_used = 1;
        part.txpwr = static_cast<uint8_t>(std::clamp(5 + (rxlev - c_enough) / 2, 5, 19));
        part.amr_codec_set = 0x95;  // 4.75, 5.90, 7.40 and 12.2 kbit/s
        part.amr_cod_ul = rxlev >= c_enough ? 3 : rxlev >= c_poor ? 2 : 0;
        part.amr_cod_dl = part.amr_cod_ul;
        part.gs = 1;
    }
    part.gsm = gsm_cells(now);
    part.umts = umts_cells(now);
    return part;
}

// The measurements of a call: soft handover, then what begins and ends the search for other frequencies, then GSM.
void put_measurements(UtaEmRrcTestparam& part) {
    constexpr uint8_t c_events[] = {10, 11, 12, 23, 25, 30};  // 1A, 1B, 1C, 2D, 2F, 3A
    for (size_t i = 0; i < std::size(c_events); ++i) {
        part.measurements[i].meas_id = static_cast<uint8_t>(i + 1);
        part.measurements[i].event = c_events[i];
    }
}

UtaEmRrcTestparam umts_part(const Situation& now) {
    enum : uint8_t { CELL_DCH = 0, CELL_PCH = 2, IDLE = 4 };
    constexpr int c_lowest_quality = 18;  // decibels below 0 (3GPP TS 25.304, 5.2.3.1.2)
    constexpr int c_power_min = -50;      // dBm (3GPP TS 25.101, 6.4.3)
    constexpr int c_power_max = 24;
    const Cell& cell = now.cells.front();
    const int rscp_dbm = cell.level + c_umts_floor;
    UtaEmRrcTestparam part{};
    part.serving = 1;
    part.plmn = plmn_of(*cell.network);
    part.lac = cell.network->lac;
    part.cell_id = cell.id;
    part.psc = cell.code;
    part.dlf = cell.channel;
    part.ulf = cell.network->uplink;
    part.rscp = cell.level;
    part.ecn0 = ecn0_of(cell, now.cells);
    part.rx_power_level = static_cast<int16_t>(rscp_dbm + part.ecn0);
    part.urr = now.has_packet_data ? CELL_PCH : IDLE;
    part.lm = now.is_registered ? 0 : 1;
    part.quality_unavailable = 1;
    part.tx_pwr = c_power_min;
    part.srx = static_cast<int16_t>(cell.level - c_rscp_access_min);
    part.squ = static_cast<int16_t>(c_lowest_quality - part.ecn0);
    part.sintra = 10;
    part.sinter = 8;
    part.searat = 4;
    if (now.has_call) {
        constexpr int c_weak = 30;
        constexpr int32_t c_decibel = 1 << 24;
        constexpr uint16_t c_half_a_second = 750;  // slots
        part.urr = CELL_DCH;
        part.quality_unavailable = 0;
        part.bler = (1U << 23) / 100;
        part.tsir = 6 * c_decibel;
        part.msir = 6 * c_decibel;
        part.dpuc = part.dpdc = part.upuc = part.updc = c_half_a_second;
        part.cmod = cell.level < c_weak ? 1 : 0;  // to have time for GSM
        part.tpca = 1;
        part.upcs = 1;
        // As much as the way takes: 33 dBm of the pilot here, -100 dBm wanted there.
        part.tx_pwr = static_cast<int16_t>(std::clamp(33 - rscp_dbm - 100, c_power_min, c_power_max));
        put_measurements(part);
    }
    part.umts = umts_cells(now);
    part.gsm = gsm_cells(now);
    return part;
}

// --- Reporting -------------------------------------------------------------------------------------------------------

void report(Modem& modem, uint32_t sim_id, uint32_t switched) {
    if (s_stacks[sim_id].switched != switched) {
        return;
    }
    const bool is_registered = stack_is_registered(sim_id);
    const Situation now = {sim_id, cells_around(sim_id), !calls::s_stacks[sim_id].calls.empty(),
                           is_registered && packet_data_is_active(sim_id), is_registered};
    UtaEmMnTestparam mn = calls_part(now);
    UtaEmMmTestparam mm = mobility_part(now);
    UtaEmRrTestparam rr{};
    UtaEmRrcTestparam rrc{};
    UtaEmData data{};
    data.mn = &mn;
    data.mm = &mm;
    if (now.serves(c_gsm)) {
        rr = gsm_part(now);
        data.rr = &rr;
    } else if (now.serves(c_umts)) {
        rrc = umts_part(now);
        data.rrc = &rrc;
    }
    modem.indicate<uta::row::UtaMsEmReportingIndCb>(sim_id, &data, 0);
    modem.later(c_report_period, [&modem, sim_id, switched] { report(modem, sim_id, switched); });
}

int32_t open(Modem&, const Caller&, uint32_t sim_id) {
    s_stacks[sim_id].is_open = true;
    return c_success;
}

int32_t enable(Modem& modem, const Caller&, uint32_t sim_id, const UtaEmEnableExtReportingParam* param) {
    if (param == nullptr || (param->enable != 0 && !s_stacks[sim_id].is_open)) {
        return c_refused;
    }
    const uint32_t switched = ++s_stacks[sim_id].switched;
    if (param->enable != 0) {
        modem.later(modem.settings.latency, [&modem, sim_id, switched] { report(modem, sim_id, switched); });
    }
    return c_success;
}

// --- The list --------------------------------------------------------------------------------------------------------

// As 3GPP TS 27.007, 8.5 counts: two decibels a step, of which the lowest is -113 dBm.
uint8_t rssi_of(const Cell& cell) {
    constexpr int c_max = 31;
    const int steps = cell.network->rat == c_gsm ? (cell.level + 3) / 2 : (cell.level - 2) / 2;
    return static_cast<uint8_t>(std::clamp(steps, 0, c_max));
}

template <typename Entry>
void add_entry(std::vector<Entry>& list, const Cell& cell, int32_t kind) {
    constexpr uint8_t c_unknown = 99;
    Entry entry{};
    entry.kind = kind;
    entry.mcc = cell.network->mcc;
    entry.mnc = cell.network->mnc;
    entry.lac = cell.network->lac;
    entry.cell_id = cell.id;
    entry.signal = rssi_of(cell);
    entry.error_rate = c_unknown;
    list.push_back(entry);
}

int32_t list_cells(Modem& modem, const Caller& caller, uint32_t sim_id,
                   const UtaNetSingleShotRadioSignalReportingReqParam*, uint32_t context_id) {
    modem.later(modem.settings.latency, [&modem, caller, sim_id, context_id] {
        const std::vector<Cell> cells = cells_around(sim_id);
        std::vector<UtaNetGsmcellInfoList> gsm;
        std::vector<UtaNetUmtscellInfoList> umts;
        gsm.reserve(cells.size());
        umts.reserve(cells.size());
        for (const Cell& cell : cells) {
            const int32_t kind = &cell == &cells.front() ? 0 : 1;
            if (cell.network->rat == c_gsm) {
                add_entry(gsm, cell, kind);
            } else if (cell.network->rat == c_umts) {
                add_entry(umts, cell, kind);
                umts.back().psc = cell.code;
                umts.back().neighbour_rssi = cell.level;
            }
        }
        UtaNetSingleShotRadioSignalReportingRspParam found{};
        found.gsm_count = static_cast<uint8_t>(gsm.size());
        found.gsm = gsm.data();
        found.umts_count = static_cast<uint8_t>(umts.size());
        found.umts = umts.data();
        modem.send<uta::row::UtaMsNetSingleShotRadioSignalReportingRspCb>(caller.client, caller.context_id, sim_id,
                                                                          &found, context_id);
    });
    return c_success;
}

std::string describe() {
    std::string text;
    for (size_t i = 0; i < s_stacks.size(); ++i) {
        const UtaEmMnTestparam& calls = s_stacks[i].calls;
        text += (i == 0 ? "stack " : ", stack ") + std::to_string(i) + " set up " + std::to_string(calls.setup_msgs) +
                " calls, hears " + std::to_string(cells_around(static_cast<uint32_t>(i)).size()) + " cells";
    }
    return text;
}

}  // namespace

UtaEmMnTestparam& counted(uint32_t sim_id) {
    return s_stacks[sim_id].calls;
}

void count_cell_change(uint32_t sim_id, const Network& from, const Network& to) {
    using Counter = UtaEmCellChange UtaEmMmTestparam::*;
    using Mm = UtaEmMmTestparam;
    constexpr Counter c_reselections[2][2] = {{&Mm::cr3g3g, &Mm::ir_cr3g2g}, {&Mm::ir_cr2g3g, &Mm::cr2g2g}};
    constexpr Counter c_handovers[2][2] = {{&Mm::ho3g3g, &Mm::ir_hocc3g2g}, {&Mm::ir_hocc2g3g, &Mm::ho2g2g}};
    UtaEmMmTestparam& changes = s_stacks[sim_id].cell_changes;
    if (from.mcc != to.mcc || from.mnc != to.mnc) {
        ++changes.other_reselections;
        return;
    }
    const auto& counters = calls::s_stacks[sim_id].calls.empty() ? c_reselections : c_handovers;
    UtaEmCellChange& change = changes.*counters[from.rat == c_gsm ? 1 : 0][to.rat == c_gsm ? 1 : 0];
    ++change.at;
    ++change.su;
}

Service engineering_service() {
    using namespace uta::row;
    return {.name = "engineering",
            .functions = {serve<UtaMsEmInit, open>(), serve<UtaMsEmEnableExtReporting, enable>(),
                          serve<UtaMsNetSingleShotRadioSignalReportingReq, list_cells>()},
            .commands = {},
            .forget = [] { s_stacks = {}; },
            .describe = describe};
}
