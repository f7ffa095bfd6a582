// The pages of the AT command XCGEDPAGE.
#include <algorithm>
#include <array>

#include "ril/core/src/call/call.h"
#include "ril/core/src/em/em_state.h"
#include "ril/core/src/sim/sim.h"
#include "ril/utils/trace.h"

namespace {

// --- Pages 1, 2, 4, 5 and 8: the cell and the phone ------------------------------------------------------------------

bool plmn_of_cell(report_text& text, const UtaEmData& report) {
    const em_plmn plmn = em_plmn_decoding(report.rrc != nullptr ? report.rrc->plmn : report.rr->plmn);
    return text.add("\r\nMCC:%x, MNC:%x,\r\n", plmn.mcc, plmn.mnc);
}

#define HEAD EM_TEXT("\r\n+XCGEDPAGE:\r\n")
#define CELL_HEAD HEAD, EM_LINE(rrc, "\r\nRAT:\"UMTS\",\r\n"), EM_WITHOUT(rrc, "\r\nRAT:\"GSM\",\r\n"), plmn_of_cell

// 15 bits; 0xFFFF is none and stays so.
int arfcn(uint16_t value) {
    return value == 0xFFFF ? value : value & 0x7FFF;
}

int neighbour_arfcn(uint16_t value) {
    return (value & 0x8000) != 0 ? 0xFFFF : value;
}

int c2(int16_t value) {
    return value == c_no_c2 ? 255 : value;
}

// dBm of a level (3GPP TS 45.008, 8.1.4), which is not shown for every one.
bool gsm_radio(report_text& text, const UtaEmData& report) {
    constexpr uint8_t c_level_max = 63;
    constexpr int c_lowest_dbm = -110;
    if (report.rr == nullptr) {
        return true;
    }
    const UtaEmRrTestparam& p = *report.rr;
    const auto dbm = static_cast<int8_t>(p.rxlev + c_lowest_dbm);
    if (p.rxlev > c_level_max || (dbm & 8) == 0) {
        return text.add(
            "\r\nRR:%2d, Arfcn:%4d, Arfcn_ded:%4d, Bsic:%02x, Rssi:%3d, C1:%2d, RxQualFull:%03d, txpwr:%03d, "
            "rx_power_level:-,\r\n",
            p.rr, arfcn(p.arfcn), arfcn(p.arfcn_ded), p.bsic, p.rxlev, p.c1, p.rxqual_full, p.txpwr);
    }
    return text.add(
        "\r\nRR:%2d, Arfcn:%4d, Arfcn_ded:%4d, Bsic:%02x, Rssi:%3d, C1:%2d, RxQualFull:%03d, txpwr:%03d, "
        "rx_power_level:%d,\r\n",
        p.rr, arfcn(p.arfcn), arfcn(p.arfcn_ded), p.bsic, p.rxlev, p.c1, p.rxqual_full, p.txpwr, dbm);
}

// The codecs whose bit is set, lowest first (3GPP TS 44.018, 10.5.2.21aa), and which of them are in use.
bool amr(report_text& text, const UtaEmData& report) {
    constexpr uint8_t c_none = 0xFF;
    if (report.rr == nullptr) {
        return true;
    }
    std::array<uint8_t, 4> codecs;
    codecs.fill(c_none);
    size_t count = 0;
    for (uint8_t bit = 0; bit < 8; ++bit) {
        if ((report.rr->amr_codec_set >> bit & 1) != 0) {
            if (count == codecs.size()) {
                codecs.fill(c_none);
                break;
            }
            codecs[count++] = bit;
        }
    }
    const auto in_use = [&codecs](uint8_t index) { return index < codecs.size() ? codecs[index] : c_none; };
    return text.add("\r\namr_codec_set:<%x %x %x %x>, amr_cod_ul:%x, amr_cod_dl:%x,\r\n", codecs[0], codecs[1],
                    codecs[2], codecs[3], in_use(report.rr->amr_cod_ul), in_use(report.rr->amr_cod_dl));
}

bool call_connect(report_text& text, const UtaEmData&) {
    callmngr_call call;
    const bool connected = callmngr_get_call_info_by_call_state(text.sim_id, CALL_STATE_ACTIVE, call) > 0;
    return text.add("\r\nCallConnect:%d\r\n", connected ? 1 : 0);
}

bool packet_cell(report_text& text, const UtaEmData& report) {
    const int t = report.mm == nullptr ? 0 : report.mm->ps.t;
    if (report.rr == nullptr) {
        return text.add("\r\nNOM: -, NCO: -, T:%04x, T3192: -, GPRS Ciphering Algorithm: GEA -, PBCCH: -\r\n",
                        static_cast<unsigned>(t));
    }
    const UtaEmRrTestparam& p = *report.rr;
    return text.add("\r\nNOM: %03d, NCO: %3d, T:%04x, T3192: %04x, GPRS Ciphering Algorithm: GEA %d, PBCCH: %s\r\n",
                    p.nom, p.nco, static_cast<unsigned>(t), p.t3192, p.gea, em_true_false(p.pbcch));
}

bool sim_type(report_text& text, const UtaEmData&) {
    return sim_get_inserted_sim_type(text.sim_id) == SIM_CARD_TYPE_2G
               ? text.add("\r\n+XCGEDPAGE: SIM_phase:2, 2G PB: 0, UGlobalPB: -, UApplPB: -\r\n")
               : text.add("\r\n+XCGEDPAGE: SIM_phase:2, 2G PB: -, UGlobalPB: 0, UApplPB: 0\r\n");
}

bool band(report_text& text, const UtaEmData& report) {
    constexpr int c_rssi_unknown = 99;
    return text.add("\r\nRssi:%d, SC_RAT:%s, SC_Band:%s, THERM_ADC:1, BATT_ADC:1\r\n",
                    report.rr == nullptr ? c_rssi_unknown : report.rr->rxlev, report.rrc != nullptr ? "WCDMA" : "GSM",
                    report.mm == nullptr ? "-" : em_mn_band_xcgedpage(report.mm->band));
}

// --- Page 3: the cells around ----------------------------------------------------------------------------------------

bool gsm_cells(report_text& text, const UtaEmData& report) {
    const UtaEmGsmCells& list = report.rrc != nullptr ? report.rrc->gsm : report.rr->gsm;
    return text.add("\r\nno_ncells:%2d,\r\n", list.count) &&
           std::all_of(list.cells, list.cells + std::min<size_t>(list.count, c_gsm_cells),
                       [&text](const UtaEmGsmCell& c) {
                           return text.add("\r\nArfcn:%4d, Bsic:%02x, Rssi:%d, C2:%2d,\r\n", neighbour_arfcn(c.arfcn),
                                           c.bsic, c.rxlev, c2(c.c2));
                       });
}

bool umts_cells(report_text& text, const UtaEmData& report) {
    const UtaEmUmtsCells& list = report.rrc != nullptr ? report.rrc->umts : report.rr->umts;
    const size_t count = std::min<size_t>(list.count, c_umts_cells);
    bool good = text.add("\r\nno_umts_cells:%2d,\r\n", list.count);
    for (size_t i = 0; good && i < count; ++i) {
        const UtaEmUmtsCell& c = list.cells[i];
        good = text.add("\r\nDLF:%5d, SC:%d, RSCP:%d, ECN0:%d%s\r\n", c.dlf, c.psc, c.rscp, c.ecn0,
                        i + 1 < count ? "," : "");
    }
    return good;
}

// --- Pages 11 and 12: rows -------------------------------------------------------------------------------------------

bool udrs(report_text& text, const UtaEmData& report) {
    bool good = true;
    for (size_t i = 0; good && i < std::size(report.mn->udr); ++i) {
        const auto& v = report.mn->udr[i].values;
        good = text.add("\r\nUDR(%d): %d, %d, %d, %d, %d, %d\r\n", static_cast<int>(i), v[0], v[1], v[2], v[3], v[4],
                        v[5]);
    }
    return good;
}

bool rids(report_text& text, const UtaEmData& report) {
    bool good = true;
    for (size_t i = 0; good && i < std::size(report.mn->ridlist); ++i) {
        good = text.add("\r\nRIDLIST(%d): %d\r\n", static_cast<int>(i), report.mn->ridlist[i]);
    }
    return good;
}

// --- The pages -------------------------------------------------------------------------------------------------------

constexpr em_line c_page_1[] = {
    CELL_HEAD,
    EM_LINE(mm, "\r\nMMs:%2d, LUS:%d, LAC:%5d, MMSs:%2d, T:%2x, B:%s,\r\n", p->cs.mms, p->cs.lus, p->lac, p->cs.mmss,
            p->cs.t, em_mn_band_xcgedpage(p->band)),
    EM_WITHOUT(mm, "\r\nMMs:-, LUS:-, LAC:-, MMSs:-, T:-, B:-,\r\n"),
    EM_LINE(rrc, "\r\nURR:%s, DLF:%5d, ULF:%5d, PSC:%d, RSCP:%2d, ECN0:%d, rx_power_level:%d,\r\n",
            em_rrc_state(p->urr), p->dlf, p->ulf, p->psc, p->rscp, p->ecn0, p->rx_power_level),
    gsm_radio,
    amr,
    EM_TEXT("\r\nDRX_cycle:-\r\n"),
    call_connect,
};

constexpr em_line c_page_2_umts[] = {
    CELL_HEAD,
    EM_LINE(rrc, "\r\nURR:%s, PSM: %d, D:%d, RC:%2d, \r\n", em_rrc_state(p->urr), p->psm, p->d, p->rc),
    EM_LINE(rrc, "\r\nul_meas_cnt:%3d, oos_cnt:%3d, tx_pwr:%3d, C:%d\r\n", p->ul_meas_cnt, p->oos_cnt, p->tx_pwr, p->c),
};

constexpr em_line c_page_2_gsm[] = {
    CELL_HEAD,
    EM_LINE(rr, "\r\nRSR:%2d, RC:%2d, ch_type:%02x, ch_mode:%02x, ndsc:%03d, rll:%03d, t3212:%05d, \r\n", p->rsr, p->rc,
            p->ch_type, p->ch_mode, p->ndsc, p->rll, p->t3212),
    EM_LINE(rr, "\r\nRxLevFull:%03d, RxLevSub:%03d, RxQualFull:%03d, RxQualSub:%03d, \r\n", p->rxlev_full, p->rxlev_sub,
            p->rxqual_full, p->rxqual_sub),
    EM_LINE(rr, "\r\nrx_acc_min:%03d, C1:%2d, C2:%2d, txpwr:%03d, dtx_used:%s\r\n", p->rx_acc_min, p->c1, c2(p->c2),
            p->txpwr, em_true_false(p->dtx_used)),
};

constexpr em_line c_page_3[] = {HEAD, gsm_cells, umts_cells};

constexpr em_line c_page_4[] = {
    HEAD,
    EM_LINE(rr, "\r\nAcT:%d,\r\n", p->act),
    EM_WITHOUT(rr, "\r\nAcT:-,\r\n"),
    EM_LINE(mm, "\r\nRAC:%3d, MMs:%2d, LUS:%d, MMSs:%2d, \r\n", p->rac, p->ps.mms, p->ps.lus, p->ps.mmss),
    packet_cell,
};

constexpr em_line c_page_5[] = {
    CELL_HEAD,
    EM_LINE(mm, "\r\nMMs:%2d, LUS:%d, MMSs:%2d, \r\n", p->cs.mms, p->cs.lus, p->cs.mmss),
    EM_LINE(rrc, "\r\nURR:%s, BP:%02x%02x, DC:%02x%01x, M:%02x%01x,\r\n", em_rrc_state(p->urr), p->bp[0], p->bp[1],
            p->dc[0], p->dc[1], p->m[0], p->m[1]),
    EM_LINE(rrc, "\r\nSRX:%d, SQU:%d, SINTRA:%d, SINTER:%d, SEARAT:%d, \r\n", p->srx, p->squ, p->sintra, p->sinter,
            p->searat),
    EM_LINE(mm, "\r\nciph:%d, integr_prot:-\r\n", p->ciph),
};

constexpr em_line c_page_6[] = {HEAD, sim_type};

constexpr em_line c_page_7[] = {
    HEAD,
    EM_LINE(mm,
            "\r\nTotal time:-, 2G time:-, 3G time:-, Cr2g2gCntSu: %d, Cr2g2gCntAt: %d, IrCr2g3gCntSu: %d, "
            "IrCr2g3gCntAt: %d, IrHocc2g3gCntSu: %d, IrHocc2g3gCntAt: %d, Ho2g2gCntSu: %d, Ho2g2gCntAt: %d, "
            "Cr3g3gCntSu: %d, Cr3g3gCntAt: %d, IrCr3g2gCntSu: %d, IrCr3g2gCntAt: %d, IrHocc3g2gCntSu: %d, "
            "IrHocc3g2gCntAt: %d, Ho3g3gCntSu: %d, Ho3g3gCntAt: %d, boResetMmCnt: 0\r\n",
            p->cr2g2g.su, p->cr2g2g.at, p->ir_cr2g3g.su, p->ir_cr2g3g.at, p->ir_hocc2g3g.su, p->ir_hocc2g3g.at,
            p->ho2g2g.su, p->ho2g2g.at, p->cr3g3g.su, p->cr3g3g.at, p->ir_cr3g2g.su, p->ir_cr3g2g.at, p->ir_hocc3g2g.su,
            p->ir_hocc3g2g.at, p->ho3g3g.su, p->ho3g3g.at),
};

constexpr em_line c_page_8[] = {HEAD, band};

constexpr em_line c_page_9[] = {
    HEAD,
    EM_LINE(mn,
            "\r\nalert_msgs: %d, call_confirmed_msgs: %d, call_proceeding_msgs: %d, connect_msgs: %d, "
            "connect_ack_msgs: %d, emergency_setup_msgs: %d, progress_msgs: %d, cc_establish_msgs: %d, "
            "cc_establish_conf_msgs: %d start_cc_msgs: %d, setup_msgs: %d\r\n",
            p->alert_msgs, p->call_confirmed_msgs, p->call_proceeding_msgs, p->connect_msgs, p->connect_ack_msgs,
            p->emergency_setup_msgs, p->progress_msgs, p->cc_establish_msgs, p->cc_establish_conf_msgs,
            p->start_cc_msgs, p->setup_msgs),
    EM_LINE(mn, "\r\nmodify_msgs: %d, modify_complete_msgs: %d, modify_reject_msgs: %d, user_info_msgs: %d\r\n",
            p->modify_msgs, p->modify_complete_msgs, p->modify_reject_msgs, p->user_info_msgs),
    EM_LINE(mn, "\r\ndisconnect_msgs: %d, release_msgs: %d, recall_msgs: %d, release_comp_msgs: %d\r\n",
            p->disconnect_msgs, p->release_msgs, p->recall_msgs, p->release_comp_msgs),
    EM_LINE(mn,
            "\r\nfacility_msgs: %d, hold_msgs: %d, hold_ack_msgs: %d, hold_reject_msgs: %d, retrieve_msgs: %d, "
            "retrieve_ack_msgs: %d, retrieve_rej_msgs: %d\r\n",
            p->facility_msgs, p->hold_msgs, p->hold_ack_msgs, p->hold_reject_msgs, p->retrieve_msgs,
            p->retrieve_ack_msgs, p->retrieve_rej_msgs),
    EM_LINE(mn,
            "\r\ncongestion_ctrl_msgs: %d, notify_msgs: %d, start_dtmf_msgs: %d, start_dtmf_ack_msgs: %d, "
            "start_dtmf_rej_msgs: %d, status_msgs: %d, status_enquiry_msgs: %d, stop_dtmf_msgs: %d, "
            "stop_dtmf_ack_msgs: %d \r\n",
            p->congestion_ctrl_msgs, p->notify_msgs, p->start_dtmf_msgs, p->start_dtmf_ack_msgs, p->start_dtmf_rej_msgs,
            p->status_msgs, p->status_enquiry_msgs, p->stop_dtmf_msgs, p->stop_dtmf_ack_msgs),
};

constexpr em_line c_page_10[] = {
    HEAD,
    EM_LINE(mn,
            "\r\nlast_mo_fail_cause: %d, mo_gprs_sms_count: %04x, mo_gprs_sms_count_succ: %04x, last_mt_fail_cause: "
            "%d, mt_gprs_sms_count: %04x, mt_gprs_sms_count_succ: %04x\r\n",
            p->last_mo_fail_cause, p->mo_gprs_sms_count, p->mo_gprs_sms_count_succ, p->last_mt_fail_cause,
            p->mt_gprs_sms_count, p->mt_gprs_sms_count_succ),
    EM_LINE(mn, "\r\ncall_reject_cause: %d, call_failure_cause: %d, pdp_act_state: %s\r\n", p->call_reject_cause,
            p->call_failure_cause, em_true_false(p->pdp_act_state)),
    EM_LINE(mn,
            "\r\ndl_blocks_total: %04x, ul_blocks_total: %04x, dl_blocks_retrans: %04x, ul_blocks_retrans: %04x, "
            "dl_throughput_kbps: %04x, ul_throughput_kbps: %04x, total_dl_rx_frames: %04x, total_ul_tx_frames: %04x, "
            "total_dl_retx_frames: %04x total_ul_retx_frames: %04x\r\n",
            p->dl_blocks_total, p->ul_blocks_total, p->dl_blocks_retrans, p->ul_blocks_retrans, p->dl_throughput_kbps,
            p->ul_throughput_kbps, p->total_dl_rx_frames, p->total_ul_tx_frames, p->total_dl_retx_frames,
            p->total_ul_retx_frames),
    EM_LINE(mn, "\r\nmac_timer_state: %d\r\n", p->mac_timer_state),
};

constexpr em_line c_page_11[] = {
    HEAD,
    udrs,
    EM_LINE(mn,
            "\r\nDAC: %d, DNC: %d, UAC: %d, UNC: %d, DTC: %04x, CQIMAX: %04x, CQIMEAN: %04x, CQIMIN: %d, AFTI: %d "
            "AMRT: %d\r\n",
            p->dac, p->dnc, p->uac, p->unc, p->dtc, p->cqimax, p->cqimean, p->cqimin, p->afti, p->amrt),
};

constexpr em_line c_page_12[] = {HEAD, EM_LINE(mn, "\r\nACTDOM: %d\r\n", p->actdom), rids};

// Without what it needs a page has nothing to show.
enum page_needs { NEEDS_NOTHING, NEEDS_CELL, NEEDS_MM, NEEDS_MN };

struct em_page {
    std::span<const em_line> lines;
    page_needs needs;
};

constexpr std::array<em_page, c_em_pages> c_pages = {{
    {c_page_1, NEEDS_CELL},
    {c_page_2_gsm, NEEDS_CELL},
    {c_page_3, NEEDS_CELL},
    {c_page_4, NEEDS_NOTHING},
    {c_page_5, NEEDS_CELL},
    {c_page_6, NEEDS_NOTHING},
    {c_page_7, NEEDS_MM},
    {c_page_8, NEEDS_NOTHING},
    {c_page_9, NEEDS_MN},
    {c_page_10, NEEDS_MN},
    {c_page_11, NEEDS_MN},
    {c_page_12, NEEDS_MN},
}};

bool has(const UtaEmData& report, page_needs needs) {
    switch (needs) {
        case NEEDS_CELL:
            return report.rrc != nullptr || report.rr != nullptr;
        case NEEDS_MM:
            return report.mm != nullptr;
        case NEEDS_MN:
            return report.mn != nullptr;
        default:
            return true;
    }
}

}  // namespace

std::span<const em_line> em_xcgedpage_lines(uint32_t page, const UtaEmData& report) {
    if (page < 1 || page > c_pages.size()) {
        RIL_TRACE(TRACE_ERROR, "%s: XCGEDPAGE not supported", "em_xcgedpage_report");
        return {};
    }
    const em_page& wanted = c_pages[page - 1];
    if (!has(report, wanted.needs)) {
        RIL_TRACE(TRACE_ERROR, "%s: No EM data\n", "em_xcgedpage_report");
        return {};
    }
    return page == 2 && report.rrc != nullptr ? std::span<const em_line>(c_page_2_umts) : wanted.lines;
}
