// A full engineering report of either kind, against the same lines through bare snprintf into one buffer; and what a
// report allocates for its text.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>

#include "bench/blocks.h"
#include "bench/paired.h"
#include "ril/core/src/call/call.h"
#include "ril/core/src/em/em_state.h"
#include "ril/core/src/sim/sim.h"
#include "ril/core/src/system_manager/modules.h"
#include "ril/utils/mem_util.h"
#include "rpc/multi-client/rpc-stubs/ril/entry_points.h"
#include "rpc/multi-client/rpc-stubs/ril/stubs.h"
#include "tests/harness/stood_in_rooms.h"

namespace {

// Any value in every field, as many rows as there are.
template <typename Part>
Part filled() {
    Part part;
    std::array<uint8_t, sizeof(Part)> bytes;
    std::iota(bytes.begin(), bytes.end(), uint8_t{0x21});
    memcpy(&part, bytes.data(), bytes.size());
    return part;
}

UtaEmMmTestparam s_mm = filled<UtaEmMmTestparam>();
UtaEmRrTestparam s_rr = filled<UtaEmRrTestparam>();
UtaEmRrcTestparam s_rrc = filled<UtaEmRrcTestparam>();
const UtaEmData c_umts = {nullptr, &s_mm, nullptr, &s_rrc};
const UtaEmData c_gsm = {nullptr, &s_mm, &s_rr, nullptr};

void fill() {
    s_mm.eplmn_count = 16;
    s_rr.gsm.count = s_rrc.gsm.count = c_gsm_cells;
    s_rr.umts.count = s_rrc.umts.count = c_umts_cells;
    s_rrc.quality_unavailable = 0;
    s_rrc.bler = 0x20000;
    s_rrc.tsir = s_rrc.msir = 5 << 24;
    s_rrc.urr = 4;
    for (UtaEmUmtsCell& cell : s_rrc.umts.cells) {
        static constexpr uint8_t c_types[] = {0, 1, 2, 3, 5, 6};
        cell.type = c_types[(&cell - s_rrc.umts.cells) % 6];
    }
}

// --- What the library does -------------------------------------------------------------------------------------------

char s_text[c_report_size];

size_t build(const UtaEmData& report) {
    report_text text = {0, __func__, static_cast<char*>(MEM_ALLOC(c_report_size)), 0, 0};
    for (const em_line line : em_cged_lines(report)) {
        if (!line(text, report)) {
            fprintf(stderr, "the report fails\n");
            exit(1);
        }
    }
    memcpy(s_text, text.block, text.length > 64 ? 64 : text.length);
    MEM_FREE(text.block);
    return text.length;
}

// --- The same lines by themselves ------------------------------------------------------------------------------------

char s_buffer[c_report_size];
char* s_at;

#define PUT(...) s_at += snprintf(s_at, static_cast<size_t>(s_buffer + sizeof(s_buffer) - s_at), __VA_ARGS__)

void put_mobility(const UtaEmMmTestparam& p, bool umts, int act, int gs) {
    PUT("\r\nMM:\r\n");
    if (umts) {
        PUT("\r\nProcess:CO, MMs:%2d, MMSs:%2d, MSC:%s, T:%4x \r\n", p.co.mms, p.co.mmss, "", p.co.t);
    } else {
        PUT("\r\nProcess:CO, MMs:%2d, MMSs:%2d, MSC:%s, T:%04x \r\n", p.co.mms, p.co.mmss, "", p.co.t);
    }
    PUT("\r\nProcess:CS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:%d\r\n", p.cs.mms, p.cs.mmss, p.cs.lus, p.cs.t, 0);
    if (umts) {
        PUT("\r\nProcess:PS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:%d, GS:%s, R:%d\r\n", p.ps.mms, p.ps.mmss, p.ps.lus,
            p.ps.t, 0, "False", p.r);
    } else {
        PUT("\r\nProcess:PS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:%d, GS:%d, R:%d\r\n", p.ps.mms, p.ps.mmss, p.ps.lus,
            p.ps.t, 0, gs, p.r);
    }
    PUT("\r\nCell change counters:\r\n");
    const int sum = p.cr2g2g.su + p.ir_cr2g3g.su + p.cr3g3g.su + p.ir_cr3g2g.su;
    PUT("\r\nCRT:%3d, IRCR:%3d\r\n", sum + p.other_reselections, sum);
    PUT("\r\nAIRCR:%3d, IRHO:%3d, AIRHO:%3d\r\n", p.aircr, p.irho, p.airho);
    PUT("\r\nServing PLMN:\r\n");
    const em_plmn plmn = em_plmn_decoding(p.plmn);
    if (umts) {
        PUT("\r\nMCC:%x, MNC:%x, LAC:%5d, RAC:%3d \r\n", plmn.mcc, plmn.mnc, p.lac, p.rac);
    } else {
        PUT("\r\nMCC:%x, MNC:%x, LAC:%5d, RAC:%3d, AcT:%d  \r\n", plmn.mcc, plmn.mnc, p.lac, p.rac, act);
    }
    PUT("\r\nEquivalent PLMNs:\r\n");
    for (const UtaEmPlmn& packed : p.eplmns) {
        const em_plmn other = em_plmn_decoding(packed);
        PUT("\r\nMCC:%x, MNC:%x\r\n", other.mcc, other.mnc);
    }
}

template <typename Put>
void put_cells(uint8_t type, Put put) {
    for (const UtaEmUmtsCell& c : s_rrc.umts.cells) {
        if (c.type == type) {
            put(c);
        }
    }
}

size_t put_umts() {
    const UtaEmRrcTestparam& p = s_rrc;
    s_at = s_buffer;
    PUT("\r\n+CGED: RAT:\"UMTS\",\r\n");
    PUT("\r\nURR:\"%s\"\r\n", "ID");
    PUT("\r\nDC:%02x%01x, BP:%02x%02x, M:%02x%01x, ERR:%2d, RC:%2d, OOS:%d,\r\n", p.dc[0], p.dc[1], p.bp[0], p.bp[1],
        p.m[0], p.m[1], p.err, p.rc, p.oos);
    PUT("\r\nBLER:%1.1E,", p.bler / 8388608.0);
    PUT("%s%+2.2d,", "TSIR:", p.tsir >> 24);
    PUT("%s%+2.2d,", "MSIR:", p.msir >> 24);
    PUT("DPUC:%d,DPDC:%d,UPUC:%d,UPDC:%d,CMOD:%d\r\n", p.dpuc, p.dpdc, p.upuc, p.updc, p.cmod);
    PUT("\r\nTPCA:%d, DCL:%d, UPCS:%d, BTRG:%d, NHSC:%d\r\n", p.tpca, p.dcl, p.upcs, p.btrg, p.nhsc);
    PUT("\r\nHCS:%d, HMD:%d, LM:%d,\r\n", p.hcs, p.hmd, p.lm);
    PUT("\r\nCMAX:%d, CMEAN:%d, CMIN:%d, AFTI:%d, ATYP:%d\r\n", p.cmax, p.cmean, p.cmin, p.afti, p.atyp);
    PUT("\r\nRJCZ:%d\r\n", p.rjcz);
    PUT("\r\nCell-ID:%07x, DLF:%5d, ULF:%5d, C:%d, D:%d, PSM: %d\r\n", p.cell_id, p.dlf, p.ulf, p.c, p.d, p.psm);
    put_cells(0, [](const auto& c) { PUT("\r\nCell:AS, SC:%d, RSCP:%d, ECN0:%d\r\n", c.psc, c.rscp, c.ecn0); });
    put_cells(1, [](const auto& c) {
        PUT("\r\nCell:VAS, SC:%d, RSCP:%d, ECN0:%d, DLF:%d\r\n", c.psc, c.rscp, c.ecn0, c.dlf);
    });
    put_cells(2, [](const auto& c) { PUT("\r\nCell:M, SC:%d, RSCP:%d, ECN0:%d,\r\n", c.psc, c.rscp, c.ecn0); });
    put_cells(3, [](const auto& c) { PUT("\r\nCell:D, SC:%d, RSCP:%d, ECN0:%d,\r\n", c.psc, c.rscp, c.ecn0); });
    PUT("\r\nCell:G, B:- Arfcn:- RxLev:- Bsic:- RV:-,\r\n");
    put_cells(5, [](const auto& c) {
        PUT("\r\nCell:U, SC:%d, RSCP:%d, ECN0:%d, DLF:%d, RV:%d,\r\n", c.psc, c.rscp, c.ecn0, c.dlf, c.rv);
    });
    put_cells(6, [](const auto& c) {
        PUT("\r\nCell:NU, SC:%d, RSCP:%d, ECN0:%d, DLF:%d, RS:%d,\r\n", c.psc, c.rscp, c.ecn0, c.dlf, c.rs);
    });
    for (const UtaEmGsmCell& c : p.gsm.cells) {
        PUT("\r\nCell:NG, B:%s, Arfcn:%d, RxLev:%d, Bsic:%d, RS:%d\r\n", em_mm_band(c.band), c.arfcn, c.rxlev, c.bsic,
            c.rs);
    }
    PUT("\r\nRR measurement evaluation:\r\n");
    for (const UtaEmMeasurement& m : p.measurements) {
        static constexpr const char* c_classes[] = {"", "intra", "inter", "RAT", "TVM", "quality", "ue internal"};
        const unsigned tens = m.event / 10U;
        char event[32];
        snprintf(event, sizeof(event), "%s %u%c", tens < 7 ? c_classes[tens] : "", tens,
                 static_cast<char>('A' + m.event % 10U));
        const auto& v = m.values;
        PUT("\r\nMeasId: %1X, EventId: %s,%2d,%2d,%2d,%2d,%2d,%2d,%2d\r\n", m.meas_id, event, v[0], v[1], v[2], v[3],
            v[4], v[5], v[6]);
    }
    put_mobility(s_mm, true, 0, 0);
    PUT("\r\n<END CGED>\r\n");
    return static_cast<size_t>(s_at - s_buffer);
}

size_t put_gsm() {
    const UtaEmRrTestparam& p = s_rr;
    const auto flag = [](uint8_t value) { return value != 0 ? "True" : "False"; };
    s_at = s_buffer;
    PUT("\r\n+CGED: RAT:\"GSM\",\r\n");
    PUT("\r\nRR:%2d\r\n", p.rr);
    PUT("\r\nSFRLC:%2d, RSR:%2d, RC:%2d, PST:%1d, LM:%1d\r\n", 0, p.rsr, p.rc, 0, p.lm);
    PUT("\r\nB:\"%s\", Arfcn:%4d, RxLev:%3d, RXQual:%d, C1:%2d, C2:%2d, Bsic:%02x, MA:%d, MADed:%d\r\n",
        em_mm_band(s_mm.band), p.arfcn, p.rxlev, p.rxqual_full, p.c1, p.c2, p.bsic, p.ma, p.ma_ded);
    for (const UtaEmGsmCell& c : p.gsm.cells) {
        PUT("\r\nGSM:  Ci:%04x, B:\"%s\", Arfcn:%4d, RxLev:%3d, C1:%2d, Bsic:%02x\r\n", c.cell_id, em_mm_band(c.band),
            c.arfcn, c.rxlev, c.c1, c.bsic);
    }
    for (const UtaEmUmtsCell& c : p.umts.cells) {
        PUT("\r\nUMTS:  SC:%3d, RSCP:%2d, ECN0:%2d, DLF:%5d\r\n", c.psc, c.rscp, c.ecn0, c.dlf);
    }
    put_mobility(s_mm, false, p.act, p.gs);
    PUT("\r\nGPRS-Parameters:\r\n");
    PUT("\r\nGPRS_sup:%s, RAC:%02x, SplitPg:%s, NCO:%05d, NOM:%03d, T3192:%04x,\r\n", flag(p.gprs_sup), p.rac,
        flag(p.split_pg), p.nco, p.nom, p.t3192);
    PUT("\r\nAcc_Burst_type:%05d, DRX_Timer_Max:%02x, PBCCH:%s, Ext_Measure_Order:%05d,\r\n", p.acc_burst_type,
        p.drx_timer_max, flag(p.pbcch), p.ext_measure_order);
    PUT("\r\nPSI1_r_per:%02x", p.psi1_r_per);
    PUT(" si13_location:\"%s\"", "NO_BCCH_TYPE");
    PUT(" packet_psi_status:%s, packet_si_status:%s, ext_upl_tbf_supported:%s, ccn_active:%s, "
        "pfc_feat_supported:%s\r\n",
        flag(p.packet_psi_status), flag(p.packet_si_status), flag(p.ext_upl_tbf_supported), flag(p.ccn_active),
        flag(p.pfc_feat_supported));
    PUT("\r\n Count_LR:%02x, Count_HR:%02x, C_R_Hyst:%02x, C31:%05d, C32:%05d, Prior_Acc_Thr:%02x\r\n", p.count_lr,
        p.count_hr, p.c_r_hyst, p.c31, p.c32, p.prior_acc_thr);
    PUT("\r\n<END CGED>\r\n");
    return static_cast<size_t>(s_at - s_buffer);
}

// --- What a report allocates -----------------------------------------------------------------------------------------

size_t blocks_of(const UtaEmData* report) {
    const size_t before = s_blocks;
    UtaMsEmReportingIndCb(0, report, 0);
    return s_blocks - before;
}

size_t blocks_for_text() {
    static const RIL_Env c_env = {[](RIL_Token, RIL_Errno, void*, size_t) {}, [](int, const void*, size_t) {},
                                  [](RIL_TimedCallback, void*, const timeval*) {}};
    stood_in.modem_init = [] {
        em_module_init(0);
        return 0;
    };
    start_engine(&c_env);
    blocks_of(&c_umts);
    const size_t count = blocks_of(&c_umts) - blocks_of(nullptr);
    stop_engine();
    return count;
}

template <typename Put>
void compare(const char* name, const UtaEmData& report, Put put) {
    constexpr int c_reports = 500;
    const size_t length = build(report);
    if (length != put()) {
        fprintf(stderr, "not the same text: %zu and %zu characters\n", length, put());
        exit(1);
    }
    const auto times = [](auto work) {
        return [work](int count) {
            for (int i = 0; i < count; ++i) {
                work();
            }
        };
    };
    print_pairs(name, measure_pairs(times([&report] { build(report); }), times(put), c_reports, 31));
}

}  // namespace

int32_t uta::call(uint16_t, const uta::Word*) {
    return 0;
}

int32_t callmngr_get_call_info_by_call_state(uint32_t, uint32_t, callmngr_call&) {
    return -1;
}

int32_t sim_get_inserted_sim_type(uint32_t) {
    return 0;
}

int main() {
    fill();
    compare("a full CGED report of UMTS", c_umts, put_umts);
    compare("a full CGED report of GSM", c_gsm, put_gsm);
    std::printf("%-48s %10zu blocks\n", "the text of a report", blocks_for_text());
    return 0;
}
