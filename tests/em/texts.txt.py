#!/usr/bin/env python3
"""Writes a transcript of the engineering reports' texts, whole: a value of its own in each field of each line, and what
lies at the ends of names, counts and numbers.

A line is its format and the fields of the modem's report that it shows. FIELD=VALUE has this value, FIELD=VALUE:SHOWN
is shown as SHOWN; a field of another part than the report's has the part in front.
"""
from ast import literal_eval
from itertools import count

NL = r"\r\n"
PARTS = ("mn.", "mm.", "rr.", "rrc.")


class Report:
    def __init__(self, part, title):
        self.part, self.fields, self.text = part, {}, NL + title + NL
        self.numbers = (7 * step % 251 for step in count(3) if step % 251)  # of a byte; each comes again after all others

    def set(self, name, value):
        path = name if name.startswith(PARTS) else f"{self.part}.{name}"
        return self.fields.setdefault(path, value)

    def shown(self, field):
        name, _, given = field.partition("=")
        value, _, shown = given.partition(":")
        number = self.set(name, literal_eval(value)) if value else self.set(name, next(self.numbers))
        return shown if shown[:1].isalpha() else literal_eval(shown or str(number))

    def line(self, form, fields="", row="", before=NL, after=NL):
        values = tuple(self.shown(row + field) for field in fields.split())
        self.text += before + (form % values if values else form) + after

    def rows(self, name, number, form, fields):
        for row in range(number):
            self.line(form, fields, f"{name}[{row}].")

    def answers(self, request):
        assigned = " ".join(f"report.{path}={value}" for path, value in self.fields.items())
        print(f'oem {request} | on | EmReportingIndCb {assigned} | ok "{self.text}"\n| stop | |')


def flag(name, value):
    return f"{name}={value}:{'True' if value else 'False'}"


def plmn(name, mcc, mnc):
    """In the report the first digit is the lowest, and the third of an MNC of two is F."""
    return f"{name}.mcc=0x{mcc[::-1]}:0x{mcc} {name}.mnc=0x{mnc[::-1].rjust(3, 'F')}:0x{mnc}"


def mobility(r, umts, gs):
    r.set("mm.gprs_class", 3)
    r.line("MM:")
    if umts:
        r.line("Process:CO, MMs:%2d, MMSs:%2d, MSC:CC, T:%4x ", "mms mmss t", "mm.co.")
    else:
        r.line("Process:CO, MMs:%2d, MMSs:%2d, MSC:CC, T:%04x ", "mms mmss t", "mm.co.")
    r.line("Process:CS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:1", "mms mmss=7 lus t", "mm.cs.")
    r.line(f"Process:PS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:0, GS:{gs}, R:%d",
           "mm.ps.mms mm.ps.mmss mm.ps.lus mm.ps.t mm.r")
    r.line("Cell change counters:")
    for name, value in {"cr2g2g.su": 3, "ir_cr2g3g.su": 50, "cr3g3g.su": 600, "ir_cr3g2g.su": 7000,
                        "other_reselections": 10000}.items():
        r.set("mm." + name, value)
    r.line("CRT:17653, IRCR:7653")
    r.line("AIRCR:%3d, IRHO:%3d, AIRHO:%3d", "aircr irho airho", "mm.")
    r.line("Serving PLMN:")
    serving = plmn("mm.plmn", "262", "01") + " mm.lac mm.rac"
    if umts:
        r.line("MCC:%x, MNC:%x, LAC:%5d, RAC:%3d ", serving)
    else:
        r.line("MCC:%x, MNC:%x, LAC:%5d, RAC:%3d, AcT:%d  ", serving + " act")
    r.line("Equivalent PLMNs:")
    r.set("mm.eplmn_count", 16)
    for row in range(16):
        r.line("MCC:%x, MNC:%x", plmn(f"mm.eplmns[{row}]", str(310 + row), str(120 + row)))


def cged_umts():
    r = Report("rrc", '+CGED: RAT:"UMTS",')
    r.line('URR:"%s"', "urr=4:ID")
    r.line("DC:%02x%01x, BP:%02x%02x, M:%02x%01x, ERR:%2d, RC:%2d, OOS:%d,",
           "dc[0]=9 dc[1]=10 bp[0] bp[1] m[0]=11 m[1]=12 err=5 rc=6 oos")
    r.line("BLER:%1.1E,TSIR:%+2.2d,MSIR:%+2.2d,DPUC:%d,DPDC:%d,UPUC:%d,UPDC:%d,CMOD:%d",
           "bler=0x20000:0.015625 tsir=0x05FFFFFF:5 msir=-150994943:-9 dpuc dpdc upuc updc cmod")
    r.line("TPCA:%d, DCL:%d, UPCS:%d, BTRG:%d, NHSC:%d", "tpca dcl upcs btrg nhsc")
    r.line("HCS:%d, HMD:%d, LM:%d,", "hcs hmd lm")
    r.line("CMAX:%d, CMEAN:%d, CMIN:%d, AFTI:%d, ATYP:%d", "cmax cmean cmin afti atyp")
    r.line("RJCZ:%d", "rjcz")
    r.line("Cell-ID:%07x, DLF:%5d, ULF:%5d, C:%d, D:%d, PSM: %d", "cell_id dlf ulf c d psm")
    kinds = [0, 1, 2, 3, 5, 6, 4, 7] * 3

    def cells(kind, form, fields, number=24):
        for row in range(number):
            if r.set(f"umts.cells[{row}].type", kinds[row]) == kind:
                r.line(form, fields, f"umts.cells[{row}].")

    cells(0, "Cell:AS, SC:%d, RSCP:%d, ECN0:%d", "psc rscp ecn0", r.set("umts.count", 16))
    cells(1, "Cell:VAS, SC:%d, RSCP:%d, ECN0:%d, DLF:%d", "psc rscp ecn0 dlf")
    cells(2, "Cell:M, SC:%d, RSCP:%d, ECN0:%d,", "psc rscp ecn0")
    cells(3, "Cell:D, SC:%d, RSCP:%d, ECN0:%d,", "psc rscp ecn0")
    r.line("Cell:G, B:- Arfcn:- RxLev:- Bsic:- RV:-,")
    cells(5, "Cell:U, SC:%d, RSCP:%d, ECN0:%d, DLF:%d, RV:%d,", "psc rscp ecn0 dlf rv")
    cells(6, "Cell:NU, SC:%d, RSCP:%d, ECN0:%d, DLF:%d, RS:%d,", "psc rscp ecn0 dlf rs")
    for row in range(r.set("gsm.count", 6)):
        r.line("Cell:NG, B:%s, Arfcn:%d, RxLev:%d, Bsic:%d, RS:%d",
               f"band={row}:{'GGGGDP'[row]} arfcn rxlev bsic rs=-{row + 1}", f"gsm.cells[{row}].")
    r.line("RR measurement evaluation:")
    events = {9: " 0P", 10: "intra 1A", 16: "intra 1G", 17: "intra 1_", 18: "intra 1_", 19: "intra 1P", 20: "inter 2A",
              29: "inter 2P", 31: "RAT 3B", 38: "RAT 3_", 42: "TVM 4C", 53: "quality 5D", 64: "ue internal 6E",
              69: "ue internal 6P", 70: " 7A", 255: " 25F"}
    for row, (event, name) in enumerate(events.items()):
        r.set(f"measurements[{row}].event", event)
        r.line(f"MeasId: %1X, EventId: {name},%2d,%2d,%2d,%2d,%2d,%2d,%2d",
               f"meas_id={row} " + " ".join(f"values[{value}]" for value in range(7)), f"measurements[{row}].")
    r.set("rr.gs", 1)
    mobility(r, True, "True")
    r.line("<END CGED>")
    r.answers("166 0")


def cged_gsm(bit):
    """One of four: the flags have the bits of their place."""
    flags = iter(range(1, 16))

    def next_flag(name):
        return flag(name, next(flags) >> bit & 1)

    r = Report("rr", '+CGED: RAT:"GSM",')
    r.line("RR:%2d", f"rr={[10, 29, 11, 0][bit]}")
    r.set("sfrlc_10", 4)
    r.set("sfrlc_29", 5)
    r.line("SFRLC:%2d, RSR:%2d, RC:%2d, PST:0, LM:%1d", f"rr={r.set('rr', 0)}:{[4, 5, 0, 0][bit]} rsr rc lm")
    r.line('B:"%s", Arfcn:%4d, RxLev:%3d, RXQual:%d, C1:%2d, C2:%2d, Bsic:%02x, MA:%d, MADed:%d',
           "mm.band=4:D arfcn rxlev rxqual_full c1=-7 c2=-32768 bsic ma ma_ded")
    for row in range(r.set("gsm.count", 6)):
        r.line('GSM:  Ci:%04x, B:"%s", Arfcn:%4d, RxLev:%3d, C1:%2d, Bsic:%02x',
               f"cell_id band={row}:{'GGGGDP'[row]} arfcn rxlev c1=-{row + 1} bsic", f"gsm.cells[{row}].")
    r.rows("umts.cells", r.set("umts.count", 24), "UMTS:  SC:%3d, RSCP:%2d, ECN0:%2d, DLF:%5d", "psc rscp ecn0 dlf")
    mobility(r, False, r.set("gs", 2))
    r.line("GPRS-Parameters:")
    r.line("GPRS_sup:%s, RAC:%02x, SplitPg:%s, NCO:%05d, NOM:%03d, T3192:%04x,",
           f"{next_flag('gprs_sup')} rac {next_flag('split_pg')} nco nom t3192")
    r.line("Acc_Burst_type:%05d, DRX_Timer_Max:%02x, PBCCH:%s, Ext_Measure_Order:%05d,",
           f"acc_burst_type drx_timer_max {next_flag('pbcch')} ext_measure_order")
    r.line("PSI1_r_per:%02x", "psi1_r_per", after="")
    r.line(' si13_location:"%s"', f"si13_location={bit}:{['BCCH_NORM', 'BCCH_EXT', 'NO_BCCH_TYPE', 'NO_BCCH_TYPE'][bit]}",
           before="", after="")
    r.line(" packet_psi_status:%s, packet_si_status:%s, ext_upl_tbf_supported:%s, ccn_active:%s, pfc_feat_supported:%s",
           " ".join(map(next_flag, ("packet_psi_status", "packet_si_status", "ext_upl_tbf_supported", "ccn_active",
                                    "pfc_feat_supported"))), before="")
    r.line(" Count_LR:%02x, Count_HR:%02x, C_R_Hyst:%02x, C31:%05d, C32:%05d, Prior_Acc_Thr:%02x",
           "count_lr count_hr c_r_hyst c31=-8 c32=-9 prior_acc_thr")
    r.line("<END CGED>")
    r.answers("166 0")


def page(number, part, *lines, cell=False):
    r = Report(part, "+XCGEDPAGE:")
    if cell:
        r.line(f'RAT:"{"UMTS" if part == "rrc" else "GSM"}",')
        r.line("MCC:%x, MNC:%x,", plmn("plmn", "310", "410"))
    for line in lines:
        if callable(line):
            line(r)
        else:
            r.line(*line)
    r.answers(f"167 0 {number}")


def neighbours(r):
    r.line("no_ncells:%2d,", "gsm.count=6")
    r.rows("gsm.cells", 6, "Arfcn:%4d, Bsic:%02x, Rssi:%d, C2:%2d,", "arfcn bsic rxlev c2")
    r.line("no_umts_cells:%2d,", "umts.count=24")
    r.rows("umts.cells", 23, "DLF:%5d, SC:%d, RSCP:%d, ECN0:%d,", "dlf psc rscp ecn0")
    r.line("DLF:%5d, SC:%d, RSCP:%d, ECN0:%d", "dlf psc rscp ecn0", "umts.cells[23].")


def pages():
    mm_1 = ("MMs:%2d, LUS:%d, LAC:%5d, MMSs:%2d, T:%2x, B:%s,", "cs.mms cs.lus lac cs.mmss cs.t band=5:P", "mm.")
    end_1 = (("DRX_cycle:-",), ("CallConnect:0",))
    page(1, "rrc", mm_1, ("URR:%s, DLF:%5d, ULF:%5d, PSC:%d, RSCP:%2d, ECN0:%d, rx_power_level:%d,",
                          "urr=1:CF dlf ulf psc rscp ecn0 rx_power_level=-77"), *end_1, cell=True)
    page(1, "rr", mm_1,
         ("RR:%2d, Arfcn:%4d, Arfcn_ded:%4d, Bsic:%02x, Rssi:%3d, C1:%2d, RxQualFull:%03d, txpwr:%03d, rx_power_level:-70,",
          "rr arfcn arfcn_ded=0x8005:5 bsic rxlev=40 c1=-6 rxqual_full txpwr"),
         ("amr_codec_set:<0 2 4 7>, amr_cod_ul:%x, amr_cod_dl:%x,", "amr_cod_ul=1:2 amr_cod_dl=3:7"),
         lambda r: r.set("amr_codec_set", 0x95), *end_1, cell=True)
    page(2, "rrc", ("URR:%s, PSM: %d, D:%d, RC:%2d, ", "urr=5:ST psm d rc=5"),
         ("ul_meas_cnt:%3d, oos_cnt:%3d, tx_pwr:%3d, C:%d", "ul_meas_cnt oos_cnt tx_pwr c"), cell=True)
    page(2, "rr", ("RSR:%2d, RC:%2d, ch_type:%02x, ch_mode:%02x, ndsc:%03d, rll:%03d, t3212:%05d, ",
                   "rsr rc=8 ch_type ch_mode ndsc rll t3212"),
         ("RxLevFull:%03d, RxLevSub:%03d, RxQualFull:%03d, RxQualSub:%03d, ", "rxlev_full rxlev_sub rxqual_full rxqual_sub"),
         ("rx_acc_min:%03d, C1:%2d, C2:%2d, txpwr:%03d, dtx_used:%s", f"rx_acc_min c1 c2=-9 txpwr {flag('dtx_used', 1)}"),
         cell=True)
    page(3, "rrc", neighbours)
    page(3, "rr", neighbours)
    mm_4 = ("RAC:%3d, MMs:%2d, LUS:%d, MMSs:%2d, ", "rac ps.mms ps.lus ps.mmss", "mm.")
    page(4, "rr", ("AcT:%d,", "act"), mm_4,
         ("NOM: %03d, NCO: %3d, T:%04x, T3192: %04x, GPRS Ciphering Algorithm: GEA %d, PBCCH: %s",
          f"nom nco mm.ps.t t3192 gea {flag('pbcch', 1)}"))
    page(4, "mm", ("AcT:-,",), mm_4,
         ("NOM: -, NCO: -, T:%04x, T3192: -, GPRS Ciphering Algorithm: GEA -, PBCCH: -", "mm.ps.t"))
    mm_5 = ("MMs:%2d, LUS:%d, MMSs:%2d, ", "mms lus mmss", "mm.cs.")
    ciph = ("ciph:%d, integr_prot:-", "mm.ciph")
    page(5, "rrc", mm_5, ("URR:%s, BP:%02x%02x, DC:%02x%01x, M:%02x%01x,",
                          "urr=2:CP bp[0] bp[1] dc[0] dc[1]=3 m[0] m[1]=4"),
         ("SRX:%d, SQU:%d, SINTRA:%d, SINTER:%d, SEARAT:%d, ", "srx squ sintra sinter searat"), ciph, cell=True)
    page(5, "rr", mm_5, ciph, cell=True)
    page(7, "mm", ("Total time:-, 2G time:-, 3G time:-, Cr2g2gCntSu: %d, Cr2g2gCntAt: %d, IrCr2g3gCntSu: %d, "
                   "IrCr2g3gCntAt: %d, IrHocc2g3gCntSu: %d, IrHocc2g3gCntAt: %d, Ho2g2gCntSu: %d, Ho2g2gCntAt: %d, "
                   "Cr3g3gCntSu: %d, Cr3g3gCntAt: %d, IrCr3g2gCntSu: %d, IrCr3g2gCntAt: %d, IrHocc3g2gCntSu: %d, "
                   "IrHocc3g2gCntAt: %d, Ho3g3gCntSu: %d, Ho3g3gCntAt: %d, boResetMmCnt: 0",
                   "cr2g2g.su cr2g2g.at ir_cr2g3g.su ir_cr2g3g.at ir_hocc2g3g.su ir_hocc2g3g.at ho2g2g.su ho2g2g.at "
                   "cr3g3g.su cr3g3g.at ir_cr3g2g.su ir_cr3g2g.at ir_hocc3g2g.su ir_hocc3g2g.at ho3g3g.su ho3g3g.at"))
    page(8, "rr", ("Rssi:%d, SC_RAT:GSM, SC_Band:%s, THERM_ADC:1, BATT_ADC:1", "rxlev mm.band=4:D"))
    messages = ("alert_msgs: %d, call_confirmed_msgs: %d, call_proceeding_msgs: %d, connect_msgs: %d, "
                "connect_ack_msgs: %d, emergency_setup_msgs: %d, progress_msgs: %d, cc_establish_msgs: %d, "
                "cc_establish_conf_msgs: %d start_cc_msgs: %d, setup_msgs: %d",
                "modify_msgs: %d, modify_complete_msgs: %d, modify_reject_msgs: %d, user_info_msgs: %d",
                "disconnect_msgs: %d, release_msgs: %d, recall_msgs: %d, release_comp_msgs: %d",
                "facility_msgs: %d, hold_msgs: %d, hold_ack_msgs: %d, hold_reject_msgs: %d, retrieve_msgs: %d, "
                "retrieve_ack_msgs: %d, retrieve_rej_msgs: %d",
                "congestion_ctrl_msgs: %d, notify_msgs: %d, start_dtmf_msgs: %d, start_dtmf_ack_msgs: %d, "
                "start_dtmf_rej_msgs: %d, status_msgs: %d, status_enquiry_msgs: %d, stop_dtmf_msgs: %d, "
                "stop_dtmf_ack_msgs: %d ")
    named = ("last_mo_fail_cause: %d, mo_gprs_sms_count: %04x, mo_gprs_sms_count_succ: %04x, last_mt_fail_cause: %d, "
             "mt_gprs_sms_count: %04x, mt_gprs_sms_count_succ: %04x",
             "call_reject_cause: %d, call_failure_cause: %d, pdp_act_state: %s",
             "dl_blocks_total: %04x, ul_blocks_total: %04x, dl_blocks_retrans: %04x, ul_blocks_retrans: %04x, "
             "dl_throughput_kbps: %04x, ul_throughput_kbps: %04x, total_dl_rx_frames: %04x, total_ul_tx_frames: %04x, "
             "total_dl_retx_frames: %04x total_ul_retx_frames: %04x",
             "mac_timer_state: %d")

    def by_name(form):  # these fields are named as they are shown
        names = [word.rstrip(":") for word in form.split() if word.endswith(":")]
        return form, " ".join(flag(name, 1) if name == "pdp_act_state" else name for name in names)

    page(9, "mn", *map(by_name, messages))
    page(10, "mn", *map(by_name, named))
    page(11, "mn", *((f"UDR({row}): %d, %d, %d, %d, %d, %d", " ".join(f"udr[{row}].values[{i}]" for i in range(6)))
                     for row in range(32)),
         ("DAC: %d, DNC: %d, UAC: %d, UNC: %d, DTC: %04x, CQIMAX: %04x, CQIMEAN: %04x, CQIMIN: %d, AFTI: %d AMRT: %d",
          "dac dnc uac unc dtc cqimax cqimean cqimin afti amrt"))
    page(12, "mn", ("ACTDOM: %d", "actdom"), *((f"RIDLIST({row}): %d", f"ridlist[{row}]") for row in range(32)))


def piece(request, fields, text):
    assigned = " ".join("report." + field for field in fields.split())
    print(f'oem {request} | on | EmReportingIndCb {assigned} | ok "*{text}*"\n| stop | |')


def numbers():
    for bler, text in {0: "-", 8: "-", 9: "1.1E-06", 8304721: "9.9E-01", 8304722: "-", 0xFFFFFFFF: "-"}.items():
        piece("166 0", f"rrc.bler={bler}", f"{NL}BLER:{text},TSIR:+00,MSIR:+00,DPUC:")
    for whole, text in {20: "+20", 21: "-", -10: "-10", -11: "-", 127: "-", -128: "-"}.items():
        piece("166 0", f"rrc.tsir={whole << 24}", f"TSIR:{text},MSIR:+00,DPUC:")
        piece("166 0", f"rrc.msir={(whole << 24) + 0xFFFFFF}", f"TSIR:+00,MSIR:{text},DPUC:")
    piece("166 0", "rrc.quality_unavailable=1",
          f"{NL}BLER:-,TSIR:-,MSIR:-,DPUC:-,DPDC:-,UPUC:-,UPDC:-,CMOD:-{NL}{NL}TPCA:0")
    for number, text in {"0": "0, MNC:0", "0xFFFF": "ffffffff, MNC:ffffffff"}.items():
        for part, request in {"rrc.lac=1 mm": "166 0", "rrc": "167 0 1", "rr": "167 0 2"}.items():
            piece(request, f"{part}.plmn.mcc={number}", f"MCC:{text},")
            piece(request, f"{part}.plmn.mnc={number}", f"MCC:{text},")
    for level, text in {0: "-", 6: "-104", 61: "-49", 62: "-", 63: "-", 72: "-", 255: "-"}.items():
        piece("167 0 1", f"rr.rxlev={level}", f"rx_power_level:{text},{NL}")
    for field, number in {"0x7FFF": 32767, "0x8000": 0, "0xFFFF": 65535}.items():
        piece("167 0 1", f"rr.arfcn={field}", f"Arfcn:{number:4}, Arfcn_ded:   0,")
        piece("167 0 1", f"rr.arfcn_ded={field}", f"Arfcn:   0, Arfcn_ded:{number:4},")
        piece("167 0 3", f"rr.gsm.count=1 rr.gsm.cells[0].arfcn={field}", f"Arfcn:{number or 65535}, Bsic")
    piece("167 0 2", "rr.c2=-32768", "C2:255, txpwr")
    piece("167 0 3", "rrc.gsm.count=1 rrc.gsm.cells[0].c2=-32768", f"C2:255,{NL}")
    for mask, codecs in {0: "ff ff ff ff", 1: "0 ff ff ff", 0x80: "7 ff ff ff", 0xF0: "4 5 6 7", 0x1F: "ff ff ff ff",
                         0xFF: "ff ff ff ff"}.items():
        for index in (0, 3, 4, 255):
            used = (codecs.split() + ["ff"])[min(index, 4)]
            piece("167 0 1", f"rr.amr_codec_set={mask} rr.amr_cod_ul={index} rr.amr_cod_dl=4",
                  f"amr_codec_set:<{codecs}>, amr_cod_ul:{used}, amr_cod_dl:ff,")


def names():
    for state, name in enumerate(["CD", "CF", "CP", "UP", "ID", "ST", ""]):
        piece("166 0", f"rrc.urr={state}", f'URR:"{name}"{NL}')
    for number, name in enumerate(["A", "B", "C", "CC", "CG", ""]):
        piece("166 0", f"rr.lac=1 mm.gprs_class={number}", f"MSC:{name}, T:")
    for band, name in enumerate(["G", "G", "G", "G", "D", "P", ""]):
        piece("166 0", f"rr.lac=1 mm.band={band}", f'B:"{name}", Arfcn')
    piece("166 0", "rr.lac=1", 'B:"", Arfcn')
    for band, name in enumerate("GGGGDPGGGG----UU-"):
        piece("167 0 1", f"rr.lac=1 mm.band={band}", f", B:{name},")
    piece("167 0 8", "rrc.lac=1 mm.band=255", "Rssi:99, SC_RAT:WCDMA, SC_Band:-, THERM")
    piece("167 0 1", "rrc.lac=1", "MMs:-, LUS:-, LAC:-, MMSs:-, T:-, B:-,")
    piece("167 0 4", "rr.t3192=1", f"AcT:0,{NL}{NL}NOM: 000, NCO:   0, T:0000, T3192: 0001")


def counts():
    for reported in (0, 1, 6, 7, 24, 25, 255):
        gsm = f"{NL}Arfcn:   0, Bsic:00, Rssi:0, C2: 0,{NL}" * min(reported, 6)
        umts = f",{NL}".join([f"{NL}DLF:    0, SC:0, RSCP:0, ECN0:0"] * min(reported, 24))
        piece("167 0 3", f"rrc.gsm.count={reported} rrc.umts.count={reported}",
              f"no_ncells:{reported:2},{NL}{gsm}{NL}no_umts_cells:{reported:2},{NL}{umts}")
        piece("166 0", f"rrc.umts.count={reported} rrc.gsm.count={reported}",
              f"PSM: 0{NL}" + f"{NL}Cell:AS, SC:0, RSCP:0, ECN0:0{NL}" * min(reported, 24) +
              f"{NL}Cell:G, B:- Arfcn:- RxLev:- Bsic:- RV:-,{NL}" +
              f"{NL}Cell:NG, B:G, Arfcn:0, RxLev:0, Bsic:0, RS:0{NL}" * min(reported, 6) + f"{NL}RR measurement")
        piece("166 0", f"rr.lac=1 mm.eplmn_count={reported}",
              f"Equivalent PLMNs:{NL}" + f"{NL}MCC:0, MNC:0{NL}" * min(reported, 16) + f"{NL}GPRS-Parameters")


def parts():
    for part, shown in {"mn.dac=1": (4, 6, 8, 9, 10, 11, 12), "mm.lac=1": (4, 6, 7, 8), "rr.lac=1": (0, 1, 2, 3, 4, 5, 6, 8),
                        "rrc.lac=1": (0, 1, 2, 3, 4, 5, 6, 8), "": (4, 6, 8)}.items():
        for number in range(13):
            request = f"167 0 {number}" if number else "166 0"
            if number in shown:
                piece(request, part, NL)
            else:
                print(f"oem {request} | on | EmReportingIndCb {part and 'report.' + part} | fail\n| stop | |")


print("""phone off
define on   EmInit; EmEnableExtReporting enable=1
define stop EmEnableExtReporting enable=0
define oem  OEM_HOOK_STRINGS $*""")
print("case CGED")
cged_umts()
for bit_of_flags in range(4):
    cged_gsm(bit_of_flags)
for title, write in {"Pages": pages, "Numbers": numbers, "Names": names, "Counts": counts, "Parts": parts}.items():
    print("case", title)
    write()
