// The report of the AT command CGED.
#include <algorithm>
#include <cstdio>

#include "ril/core/src/em/em_state.h"
#include "ril/utils/trace.h"

namespace {

// --- UMTS ------------------------------------------------------------------------------------------------------------

bool quality(report_text& text, const UtaEmData& report) {
    const UtaEmRrcTestparam& p = *report.rrc;
    if (p.quality_unavailable != 0) {
        return text.add("\r\nBLER:-,TSIR:-,MSIR:-,DPUC:-,DPDC:-,UPUC:-,UPDC:-,CMOD:-\r\n");
    }
    const double bler = p.bler / 8388608.0;
    const auto sir = [&text](const char* format, const char* none, int32_t fraction) {
        const int32_t value = fraction >> 24;
        return value < -10 || value > 20 ? text.add("%s", none) : text.add("%s%+2.2d,", format, value);
    };
    return (bler >= 1e-6 && bler <= 0.99 ? text.add("\r\nBLER:%1.1E,", bler) : text.add("\r\nBLER:-,")) &&
           sir("TSIR:", "TSIR:-,", p.tsir) && sir("MSIR:", "MSIR:-,", p.msir) &&
           text.add("DPUC:%d,DPDC:%d,UPUC:%d,UPDC:%d,CMOD:%d\r\n", p.dpuc, p.dpdc, p.upuc, p.updc, p.cmod);
}

// One line for each cell of a type, in the order of the list.
template <uint8_t type, class Line>
bool each_cell(const UtaEmData& report, Line line) {
    const UtaEmUmtsCells& list = report.rrc->umts;
    const size_t count = type == 0 ? std::min<size_t>(list.count, c_umts_cells) : c_umts_cells;
    return std::all_of(list.cells, list.cells + count,
                       [&line](const UtaEmUmtsCell& cell) { return cell.type != type || line(cell); });
}

#define CELLS(type, ...)                                                                                   \
    [](report_text& text, const UtaEmData& report) {                                                       \
        return each_cell<type>(report, [&text](const UtaEmUmtsCell& c) { return text.add(__VA_ARGS__); }); \
    }

bool gsm_neighbours(report_text& text, const UtaEmData& report) {
    const UtaEmGsmCells& list = report.rrc->gsm;
    return std::all_of(list.cells, list.cells + std::min<size_t>(list.count, c_gsm_cells),
                       [&text](const UtaEmGsmCell& c) {
                           return text.add("\r\nCell:NG, B:%s, Arfcn:%d, RxLev:%d, Bsic:%d, RS:%d\r\n",
                                           em_mm_band(c.band), c.arfcn, c.rxlev, c.bsic, c.rs);
                       });
}

bool measurement(report_text& text, const UtaEmMeasurement& m) {
    static constexpr const char* c_classes[] = {"", "intra", "inter", "RAT", "TVM", "quality", "ue internal"};
    const unsigned tens = m.event / 10U;
    const unsigned ones = m.event % 10U;
    const char* const name = tens < std::size(c_classes) ? c_classes[tens] : "";
    char event[32];
    if (ones == 9) {
        snprintf(event, sizeof(event), "%s %uP", name, tens);
    } else if (ones > 6) {
        snprintf(event, sizeof(event), "%s %u_", name, tens);
    } else {
        snprintf(event, sizeof(event), "%s %u%c", name, tens, static_cast<char>('A' + ones));
    }
    const auto& v = m.values;
    return text.add("\r\nMeasId: %1X, EventId: %s,%2d,%2d,%2d,%2d,%2d,%2d,%2d\r\n", m.meas_id, event, v[0], v[1], v[2],
                    v[3], v[4], v[5], v[6]);
}

bool measurements(report_text& text, const UtaEmData& report) {
    return std::all_of(std::begin(report.rrc->measurements), std::end(report.rrc->measurements),
                       [&text](const UtaEmMeasurement& m) { return measurement(text, m); });
}

// --- Mobility, in both -----------------------------------------------------------------------------------------------

constexpr uint8_t c_mmss_limited = 7;

bool packet_process(report_text& text, const UtaEmData& report) {
    if (report.mm == nullptr) {
        return true;
    }
    const UtaEmMmProcess& ps = report.mm->ps;
    const int limited = ps.mmss == c_mmss_limited ? 1 : 0;
    if (report.rrc != nullptr) {
        const bool gs = report.rr != nullptr && report.rr->gs != 0;
        return text.add("\r\nProcess:PS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:%d, GS:%s, R:%d\r\n", ps.mms, ps.mmss,
                        ps.lus, ps.t, limited, em_true_false(gs), report.mm->r);
    }
    return text.add("\r\nProcess:PS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:%d, GS:%d, R:%d\r\n", ps.mms, ps.mmss, ps.lus,
                    ps.t, limited, report.rr->gs, report.mm->r);
}

bool reselections(report_text& text, const UtaEmData& report) {
    if (report.mm == nullptr) {
        return true;
    }
    const UtaEmMmTestparam& p = *report.mm;
    const int ircr = p.cr2g2g.su + p.ir_cr2g3g.su + p.cr3g3g.su + p.ir_cr3g2g.su;
    return text.add("\r\nCRT:%3d, IRCR:%3d\r\n", ircr + p.other_reselections, ircr);
}

bool serving_plmn(report_text& text, const UtaEmData& report) {
    if (report.mm == nullptr) {
        return true;
    }
    const em_plmn plmn = em_plmn_decoding(report.mm->plmn);
    if (report.rrc != nullptr) {
        return text.add("\r\nMCC:%x, MNC:%x, LAC:%5d, RAC:%3d \r\n", plmn.mcc, plmn.mnc, report.mm->lac,
                        report.mm->rac);
    }
    return text.add("\r\nMCC:%x, MNC:%x, LAC:%5d, RAC:%3d, AcT:%d  \r\n", plmn.mcc, plmn.mnc, report.mm->lac,
                    report.mm->rac, report.rr->act);
}

bool equivalent_plmns(report_text& text, const UtaEmData& report) {
    if (report.mm == nullptr) {
        return true;
    }
    const auto& list = report.mm->eplmns;
    return std::all_of(list, list + std::min<size_t>(report.mm->eplmn_count, std::size(list)),
                       [&text](const UtaEmPlmn& packed) {
                           const em_plmn plmn = em_plmn_decoding(packed);
                           return text.add("\r\nMCC:%x, MNC:%x\r\n", plmn.mcc, plmn.mnc);
                       });
}

#define MOBILITY_HEAD EM_LINE(mm, "\r\nMM:\r\n")
#define MOBILITY                                                                                                 \
    EM_LINE(mm, "\r\nProcess:CS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:%d\r\n", p->cs.mms, p->cs.mmss, p->cs.lus, \
            p->cs.t, p->cs.mmss == c_mmss_limited ? 1 : 0),                                                      \
        packet_process, EM_LINE(mm, "\r\nCell change counters:\r\n"), reselections,                              \
        EM_LINE(mm, "\r\nAIRCR:%3d, IRHO:%3d, AIRHO:%3d\r\n", p->aircr, p->irho, p->airho),                      \
        EM_LINE(mm, "\r\nServing PLMN:\r\n"), serving_plmn, EM_LINE(mm, "\r\nEquivalent PLMNs:\r\n"), equivalent_plmns

// --- GSM -------------------------------------------------------------------------------------------------------------

bool gsm_radio(report_text& text, const UtaEmData& report) {
    constexpr uint8_t c_state_10 = 10;
    constexpr uint8_t c_state_29 = 29;
    const UtaEmRrTestparam& p = *report.rr;
    const int sfrlc = p.rr == c_state_10 ? p.sfrlc_10 : p.rr == c_state_29 ? p.sfrlc_29 : 0;
    return text.add("\r\nSFRLC:%2d, RSR:%2d, RC:%2d, PST:%1d, LM:%1d\r\n", sfrlc, p.rsr, p.rc, 0, p.lm);
}

bool gsm_cell(report_text& text, const UtaEmData& report) {
    const UtaEmRrTestparam& p = *report.rr;
    return text.add("\r\nB:\"%s\", Arfcn:%4d, RxLev:%3d, RXQual:%d, C1:%2d, C2:%2d, Bsic:%02x, MA:%d, MADed:%d\r\n",
                    report.mm == nullptr ? "" : em_mm_band(report.mm->band), p.arfcn, p.rxlev, p.rxqual_full, p.c1,
                    p.c2, p.bsic, p.ma, p.ma_ded);
}

bool neighbours_of_gsm(report_text& text, const UtaEmData& report) {
    const UtaEmGsmCells& gsm = report.rr->gsm;
    const UtaEmUmtsCells& umts = report.rr->umts;
    return std::all_of(gsm.cells, gsm.cells + std::min<size_t>(gsm.count, c_gsm_cells),
                       [&text](const UtaEmGsmCell& c) {
                           return text.add("\r\nGSM:  Ci:%04x, B:\"%s\", Arfcn:%4d, RxLev:%3d, C1:%2d, Bsic:%02x\r\n",
                                           c.cell_id, em_mm_band(c.band), c.arfcn, c.rxlev, c.c1, c.bsic);
                       }) &&
           std::all_of(
               umts.cells, umts.cells + std::min<size_t>(umts.count, c_umts_cells), [&text](const UtaEmUmtsCell& c) {
                   return text.add("\r\nUMTS:  SC:%3d, RSCP:%2d, ECN0:%2d, DLF:%5d\r\n", c.psc, c.rscp, c.ecn0, c.dlf);
               });
}

const char* si13_location(uint32_t value) {
    return value == 0 ? "BCCH_NORM" : value == 1 ? "BCCH_EXT" : "NO_BCCH_TYPE";
}

// --- The two reports -------------------------------------------------------------------------------------------------

constexpr em_line c_cged_umts[] = {
    EM_TEXT("\r\n+CGED: RAT:\"UMTS\",\r\n"),
    EM_LINE(rrc, "\r\nURR:\"%s\"\r\n", em_rrc_state(p->urr)),
    EM_LINE(rrc, "\r\nDC:%02x%01x, BP:%02x%02x, M:%02x%01x, ERR:%2d, RC:%2d, OOS:%d,\r\n", p->dc[0], p->dc[1], p->bp[0],
            p->bp[1], p->m[0], p->m[1], p->err, p->rc, p->oos),
    quality,
    EM_LINE(rrc, "\r\nTPCA:%d, DCL:%d, UPCS:%d, BTRG:%d, NHSC:%d\r\n", p->tpca, p->dcl, p->upcs, p->btrg, p->nhsc),
    EM_LINE(rrc, "\r\nHCS:%d, HMD:%d, LM:%d,\r\n", p->hcs, p->hmd, p->lm),
    EM_LINE(rrc, "\r\nCMAX:%d, CMEAN:%d, CMIN:%d, AFTI:%d, ATYP:%d\r\n", p->cmax, p->cmean, p->cmin, p->afti, p->atyp),
    EM_LINE(rrc, "\r\nRJCZ:%d\r\n", p->rjcz),
    EM_LINE(rrc, "\r\nCell-ID:%07x, DLF:%5d, ULF:%5d, C:%d, D:%d, PSM: %d\r\n", p->cell_id, p->dlf, p->ulf, p->c, p->d,
            p->psm),
    CELLS(0, "\r\nCell:AS, SC:%d, RSCP:%d, ECN0:%d\r\n", c.psc, c.rscp, c.ecn0),
    CELLS(1, "\r\nCell:VAS, SC:%d, RSCP:%d, ECN0:%d, DLF:%d\r\n", c.psc, c.rscp, c.ecn0, c.dlf),
    CELLS(2, "\r\nCell:M, SC:%d, RSCP:%d, ECN0:%d,\r\n", c.psc, c.rscp, c.ecn0),
    CELLS(3, "\r\nCell:D, SC:%d, RSCP:%d, ECN0:%d,\r\n", c.psc, c.rscp, c.ecn0),
    EM_TEXT("\r\nCell:G, B:- Arfcn:- RxLev:- Bsic:- RV:-,\r\n"),
    CELLS(5, "\r\nCell:U, SC:%d, RSCP:%d, ECN0:%d, DLF:%d, RV:%d,\r\n", c.psc, c.rscp, c.ecn0, c.dlf, c.rv),
    CELLS(6, "\r\nCell:NU, SC:%d, RSCP:%d, ECN0:%d, DLF:%d, RS:%d,\r\n", c.psc, c.rscp, c.ecn0, c.dlf, c.rs),
    gsm_neighbours,
    EM_TEXT("\r\nRR measurement evaluation:\r\n"),
    measurements,
    MOBILITY_HEAD,
    EM_LINE(mm, "\r\nProcess:CO, MMs:%2d, MMSs:%2d, MSC:%s, T:%4x \r\n", p->co.mms, p->co.mmss,
            em_gprs_class(p->gprs_class), p->co.t),
    MOBILITY,
    EM_TEXT("\r\n<END CGED>\r\n"),
};

constexpr em_line c_cged_gsm[] = {
    EM_TEXT("\r\n+CGED: RAT:\"GSM\",\r\n"),
    EM_LINE(rr, "\r\nRR:%2d\r\n", p->rr),
    gsm_radio,
    gsm_cell,
    neighbours_of_gsm,
    MOBILITY_HEAD,
    EM_LINE(mm, "\r\nProcess:CO, MMs:%2d, MMSs:%2d, MSC:%s, T:%04x \r\n", p->co.mms, p->co.mmss,
            em_gprs_class(p->gprs_class), p->co.t),
    MOBILITY,
    EM_TEXT("\r\nGPRS-Parameters:\r\n"),
    EM_LINE(rr, "\r\nGPRS_sup:%s, RAC:%02x, SplitPg:%s, NCO:%05d, NOM:%03d, T3192:%04x,\r\n",
            em_true_false(p->gprs_sup), p->rac, em_true_false(p->split_pg), p->nco, p->nom, p->t3192),
    EM_LINE(rr, "\r\nAcc_Burst_type:%05d, DRX_Timer_Max:%02x, PBCCH:%s, Ext_Measure_Order:%05d,\r\n", p->acc_burst_type,
            p->drx_timer_max, em_true_false(p->pbcch), p->ext_measure_order),
    EM_LINE(rr, "\r\nPSI1_r_per:%02x", p->psi1_r_per),
    EM_LINE(rr, " si13_location:\"%s\"", si13_location(p->si13_location)),
    EM_LINE(rr,
            " packet_psi_status:%s, packet_si_status:%s, ext_upl_tbf_supported:%s, ccn_active:%s, "
            "pfc_feat_supported:%s\r\n",
            em_true_false(p->packet_psi_status), em_true_false(p->packet_si_status),
            em_true_false(p->ext_upl_tbf_supported), em_true_false(p->ccn_active),
            em_true_false(p->pfc_feat_supported)),
    EM_LINE(rr, "\r\n Count_LR:%02x, Count_HR:%02x, C_R_Hyst:%02x, C31:%05d, C32:%05d, Prior_Acc_Thr:%02x\r\n",
            p->count_lr, p->count_hr, p->c_r_hyst, p->c31, p->c32, p->prior_acc_thr),
    EM_TEXT("\r\n<END CGED>\r\n"),
};

}  // namespace

em_plmn em_plmn_decoding(uint16_t mcc, uint16_t mnc) {
    constexpr uint16_t c_none = 0xFFFF;
    if (mcc == c_none || mnc == c_none) {
        return {0xFFFFFFFF, 0xFFFFFFFF};
    }
    const auto digits = [](uint32_t bcd) {
        const uint32_t two = (bcd & 0xFU) << 4 | (bcd >> 4 & 0xFU);
        return (bcd >> 8 & 0xFU) == 0xFU ? two : two << 4 | (bcd >> 8 & 0xFU);
    };
    return {digits(mcc), digits(mnc)};
}

std::span<const em_line> em_cged_lines(const UtaEmData& report) {
    if (report.rrc != nullptr) {
        return c_cged_umts;
    }
    if (report.rr != nullptr) {
        return c_cged_gsm;
    }
    RIL_TRACE(TRACE_ERROR, "%s: RAT not supported\n", "em_cged_report");
    return {};
}
