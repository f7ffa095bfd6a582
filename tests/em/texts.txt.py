#!/usr/bin/env python3
"""Writes a transcript of the engineering reports' texts, whole: a value of its own in each field of each line, and what
lies at the ends of names, counts and numbers.

A text begins with "= REQUEST". A line is a format and, behind a |, the place and the names of the fields that it shows;
FIELD=VALUE has this value, FIELD=VALUE:SHOWN is shown as SHOWN, FIELD=? is a flag, and -FIELD=VALUE is not shown. No
name stands for those in the format. `@ROWS ` in front of a line repeats it: # is the row's number, & its digit.
"""
import re
from ast import literal_eval
from itertools import count

NL = r"\r\n"
MOBILITY = """MM:
Process:CO, MMs:%2d, MMSs:%2d, MSC:CC, T:{t} |mm. -gprs_class=3 co.mms co.mmss co.t
Process:CS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:1|mm.cs. mms mmss=7 lus t
Process:PS, MMs:%2d, MMSs:%2d, LUS:%d, T:%04x, L:0, GS:{gs}, R:%d|mm. ps.mms ps.mmss ps.lus ps.t r
Cell change counters:
CRT:17653, IRCR:7653|mm. -cr2g2g.su=3 -ir_cr2g3g.su=50 -cr3g3g.su=600 -ir_cr3g2g.su=7000 -other_reselections=10000
AIRCR:%3d, IRHO:%3d, AIRHO:%3d|mm. aircr irho airho
Serving PLMN:
MCC:%x, MNC:%x, LAC:%5d, RAC:%3d{act} |mm. plmn.mcc=0x260:0x062 plmn.mnc=0xF10:0x01 lac rac
Equivalent PLMNs:
@0-15 MCC:%x, MNC:%x|mm. -eplmn_count=16 eplmns[#].mcc=0x4&1:0x1&4 eplmns[#].mnc=0xF&7:0x7&"""
EVENTS = {9: " 0P", 10: "intra 1A", 16: "intra 1G", 17: "intra 1_", 18: "intra 1_", 19: "intra 1P", 20: "inter 2A",
          29: "inter 2P", 31: "RAT 3B", 38: "RAT 3_", 42: "TVM 4C", 53: "quality 5D", 64: "ue internal 6E",
          69: "ue internal 6P", 70: " 7A", 255: " 25F"}
MEASUREMENTS = "\n".join(
    f"MeasId: %1X, EventId: {name},%2d,%2d,%2d,%2d,%2d,%2d,%2d|rrc.measurements[{row}]. -event={event} meas_id={row} "
    "values[0] values[1] values[2] values[3] values[4] values[5] values[6]" for row, (event, name) in enumerate(EVENTS.items()))
CELL_UMTS = """RAT:"UMTS",
MCC:%x, MNC:%x,|rrc.plmn. mcc=0x130:0x031 mnc=0x014:0x410"""
CELL_GSM = CELL_UMTS.replace("UMTS", "GSM").replace("rrc", "rr")
CELLS = """no_ncells:%2d,|{0}. gsm.count=6
@0-5 Arfcn:%4d, Bsic:%02x, Rssi:%d, C2:%2d,|{0}.gsm.cells[#]. arfcn bsic rxlev c2
no_umts_cells:%2d,|{0}. umts.count=24
@0-22 DLF:%5d, SC:%d, RSCP:%d, ECN0:%d,|{0}.umts.cells[#]. dlf psc rscp ecn0
DLF:%5d, SC:%d, RSCP:%d, ECN0:%d|{0}.umts.cells[23]. dlf psc rscp ecn0"""
MM_1 = "MMs:%2d, LUS:%d, LAC:%5d, MMSs:%2d, T:%2x, B:%s,|mm. cs.mms cs.lus lac cs.mmss cs.t band=5:P"
MM_4 = "RAC:%3d, MMs:%2d, LUS:%d, MMSs:%2d, |mm. rac ps.mms ps.lus ps.mmss"
MM_5 = "MMs:%2d, LUS:%d, MMSs:%2d, |mm.cs. mms lus mmss"
TEXTS = f"""= 166 0
+CGED: RAT:"UMTS",
URR:"%s"|rrc. urr=4:ID
DC:%02x%01x, BP:%02x%02x, M:%02x%01x, ERR:%2d, RC:%2d, OOS:%d,|rrc. dc[0]=9 dc[1]=10 bp[0] bp[1] m[0]=11 m[1]=12 err=5 rc=6 oos
BLER:%1.1E,TSIR:%+2.2d,MSIR:%+2.2d,DPUC:%d,DPDC:%d,UPUC:%d,UPDC:%d,CMOD:%d|rrc. bler=0x20000:0.015625 tsir=0x05FFFFFF:5 msir=-150994943:-9 dpuc dpdc upuc updc cmod
TPCA:%d, DCL:%d, UPCS:%d, BTRG:%d, NHSC:%d|rrc. tpca dcl upcs btrg nhsc
HCS:%d, HMD:%d, LM:%d,|rrc. hcs hmd lm
CMAX:%d, CMEAN:%d, CMIN:%d, AFTI:%d, ATYP:%d|rrc. cmax cmean cmin afti atyp
RJCZ:%d|rrc. rjcz
Cell-ID:%07x, DLF:%5d, ULF:%5d, C:%d, D:%d, PSM: %d|rrc. cell_id dlf ulf c d psm -umts.count=16 -umts.cells[3].type=4 -umts.cells[4].type=7
@0,7 Cell:AS, SC:%d, RSCP:%d, ECN0:%d|rrc.umts.cells[#]. psc rscp ecn0
@1,2,23 Cell:VAS, SC:%d, RSCP:%d, ECN0:%d, DLF:%d|rrc.umts.cells[#]. -type=1 psc rscp ecn0 dlf
@8,9,10 Cell:M, SC:%d, RSCP:%d, ECN0:%d,|rrc.umts.cells[#]. -type=2 psc rscp ecn0
@11,12,13 Cell:D, SC:%d, RSCP:%d, ECN0:%d,|rrc.umts.cells[#]. -type=3 psc rscp ecn0
Cell:G, B:- Arfcn:- RxLev:- Bsic:- RV:-,
@5,14,15 Cell:U, SC:%d, RSCP:%d, ECN0:%d, DLF:%d, RV:%d,|rrc.umts.cells[#]. -type=5 psc rscp ecn0 dlf rv
@6,16,22 Cell:NU, SC:%d, RSCP:%d, ECN0:%d, DLF:%d, RS:%d,|rrc.umts.cells[#]. -type=6 psc rscp ecn0 dlf rs
@0-5 Cell:NG, B:%s, Arfcn:%d, RxLev:%d, Bsic:%d, RS:%d|rrc.gsm. -count=6 cells[#].band=4:D cells[#].arfcn cells[#].rxlev cells[#].bsic cells[#].rs=-1#
RR measurement evaluation:|rr. -gs=1
{MEASUREMENTS}
{MOBILITY.format(t="%4x", gs="True", act="")}
<END CGED>
= 166 0
+CGED: RAT:"GSM",
RR:%2d|rr. rr=<rr>
SFRLC:<sfrlc>, RSR:%2d, RC:%2d, PST:0, LM:%1d|rr. -sfrlc_10=4 -sfrlc_29=5 rsr rc lm
B:"%s", Arfcn:%4d, RxLev:%3d, RXQual:%d, C1:%2d, C2:%2d, Bsic:%02x, MA:%d, MADed:%d|rr. /mm.band=4:D arfcn rxlev rxqual_full c1=-7 c2=-32768 bsic ma ma_ded
@0-5 GSM:  Ci:%04x, B:"%s", Arfcn:%4d, RxLev:%3d, C1:%2d, Bsic:%02x|rr.gsm. -count=6 cells[#].cell_id cells[#].band=5:P cells[#].arfcn cells[#].rxlev cells[#].c1=-1# cells[#].bsic
@0-23 UMTS:  SC:%3d, RSCP:%2d, ECN0:%2d, DLF:%5d|rr.umts. -count=24 cells[#].psc cells[#].rscp cells[#].ecn0 cells[#].dlf
{MOBILITY.format(t="%04x", gs="2", act=", AcT:3 ")}
GPRS-Parameters:|rr. -gs=2 -act=3
GPRS_sup:%s, RAC:%02x, SplitPg:%s, NCO:%05d, NOM:%03d, T3192:%04x,|rr. gprs_sup=? rac split_pg=? nco nom t3192
Acc_Burst_type:%05d, DRX_Timer_Max:%02x, PBCCH:%s, Ext_Measure_Order:%05d,|rr. acc_burst_type drx_timer_max pbcch=? ext_measure_order
PSI1_r_per:%02x si13_location:"<si13>" packet_psi_status:%s, packet_si_status:%s, ext_upl_tbf_supported:%s, ccn_active:%s, pfc_feat_supported:%s|rr. psi1_r_per -si13_location=<bit> packet_psi_status=? packet_si_status=? ext_upl_tbf_supported=? ccn_active=? pfc_feat_supported=?
 Count_LR:%02x, Count_HR:%02x, C_R_Hyst:%02x, C31:%05d, C32:%05d, Prior_Acc_Thr:%02x|rr. count_lr count_hr c_r_hyst c31=-8 c32=-9 prior_acc_thr
<END CGED>
= 167 0 1
{CELL_UMTS}
{MM_1}
URR:%s, DLF:%5d, ULF:%5d, PSC:%d, RSCP:%2d, ECN0:%d, rx_power_level:%d,|rrc. urr=1:CF dlf ulf psc rscp ecn0 rx_power_level=-77
DRX_cycle:-
CallConnect:0
= 167 0 1
{CELL_GSM}
{MM_1}
RR:%2d, Arfcn:%4d, Arfcn_ded:%4d, Bsic:%02x, Rssi:%3d, C1:%2d, RxQualFull:%03d, txpwr:%03d, rx_power_level:-70,|rr. rr arfcn arfcn_ded=0x8005:5 bsic rxlev=40 c1=-6 rxqual_full txpwr
amr_codec_set:<0 2 4 7>, amr_cod_ul:%x, amr_cod_dl:%x,|rr. -amr_codec_set=0x95 amr_cod_ul=1:2 amr_cod_dl=3:7
DRX_cycle:-
CallConnect:0
= 167 0 2
{CELL_UMTS}
URR:%s, PSM: %d, D:%d, RC:%2d, |rrc. urr=5:ST psm d rc=5
ul_meas_cnt:%3d, oos_cnt:%3d, tx_pwr:%3d, C:%d|rrc. ul_meas_cnt oos_cnt tx_pwr c
= 167 0 2
{CELL_GSM}
RSR:%2d, RC:%2d, ch_type:%02x, ch_mode:%02x, ndsc:%03d, rll:%03d, t3212:%05d, |rr. rsr rc=8 ch_type ch_mode ndsc rll t3212
RxLevFull:%03d, RxLevSub:%03d, RxQualFull:%03d, RxQualSub:%03d, |rr. rxlev_full rxlev_sub rxqual_full rxqual_sub
rx_acc_min:%03d, C1:%2d, C2:%2d, txpwr:%03d, dtx_used:%s|rr. rx_acc_min c1 c2=-9 txpwr dtx_used=?
= 167 0 3
{CELLS.format("rrc")}
= 167 0 3
{CELLS.format("rr")}
= 167 0 4
AcT:%d,|rr. act
{MM_4}
NOM: %03d, NCO: %3d, T:%04x, T3192: %04x, GPRS Ciphering Algorithm: GEA %d, PBCCH: %s|rr. nom nco /mm.ps.t t3192 gea pbcch=?
= 167 0 4
AcT:-,
{MM_4}
NOM: -, NCO: -, T:%04x, T3192: -, GPRS Ciphering Algorithm: GEA -, PBCCH: -|mm. ps.t
= 167 0 5
{CELL_UMTS}
{MM_5}
URR:%s, BP:%02x%02x, DC:%02x%01x, M:%02x%01x,|rrc. urr=2:CP bp[0] bp[1] dc[0] dc[1]=3 m[0] m[1]=4
SRX:%d, SQU:%d, SINTRA:%d, SINTER:%d, SEARAT:%d, |rrc. srx squ sintra sinter searat
ciph:%d, integr_prot:-|mm. ciph
= 167 0 5
{CELL_GSM}
{MM_5}
ciph:%d, integr_prot:-|mm. ciph
= 167 0 7
Total time:-, 2G time:-, 3G time:-, Cr2g2gCntSu: %d, Cr2g2gCntAt: %d, IrCr2g3gCntSu: %d, IrCr2g3gCntAt: %d, IrHocc2g3gCntSu: %d, IrHocc2g3gCntAt: %d, Ho2g2gCntSu: %d, Ho2g2gCntAt: %d, Cr3g3gCntSu: %d, Cr3g3gCntAt: %d, IrCr3g2gCntSu: %d, IrCr3g2gCntAt: %d, IrHocc3g2gCntSu: %d, IrHocc3g2gCntAt: %d, Ho3g3gCntSu: %d, Ho3g3gCntAt: %d, boResetMmCnt: 0|mm. cr2g2g.su cr2g2g.at ir_cr2g3g.su ir_cr2g3g.at ir_hocc2g3g.su ir_hocc2g3g.at ho2g2g.su ho2g2g.at cr3g3g.su cr3g3g.at ir_cr3g2g.su ir_cr3g2g.at ir_hocc3g2g.su ir_hocc3g2g.at ho3g3g.su ho3g3g.at
= 167 0 8
Rssi:%d, SC_RAT:GSM, SC_Band:%s, THERM_ADC:1, BATT_ADC:1|rr. rxlev /mm.band=4:D
= 167 0 9
alert_msgs: %d, call_confirmed_msgs: %d, call_proceeding_msgs: %d, connect_msgs: %d, connect_ack_msgs: %d, emergency_setup_msgs: %d, progress_msgs: %d, cc_establish_msgs: %d, cc_establish_conf_msgs: %d start_cc_msgs: %d, setup_msgs: %d|mn.
modify_msgs: %d, modify_complete_msgs: %d, modify_reject_msgs: %d, user_info_msgs: %d|mn.
disconnect_msgs: %d, release_msgs: %d, recall_msgs: %d, release_comp_msgs: %d|mn.
facility_msgs: %d, hold_msgs: %d, hold_ack_msgs: %d, hold_reject_msgs: %d, retrieve_msgs: %d, retrieve_ack_msgs: %d, retrieve_rej_msgs: %d|mn.
congestion_ctrl_msgs: %d, notify_msgs: %d, start_dtmf_msgs: %d, start_dtmf_ack_msgs: %d, start_dtmf_rej_msgs: %d, status_msgs: %d, status_enquiry_msgs: %d, stop_dtmf_msgs: %d, stop_dtmf_ack_msgs: %d |mn.
= 167 0 10
last_mo_fail_cause: %d, mo_gprs_sms_count: %04x, mo_gprs_sms_count_succ: %04x, last_mt_fail_cause: %d, mt_gprs_sms_count: %04x, mt_gprs_sms_count_succ: %04x|mn.
call_reject_cause: %d, call_failure_cause: %d, pdp_act_state: %s|mn. call_reject_cause call_failure_cause pdp_act_state=?
dl_blocks_total: %04x, ul_blocks_total: %04x, dl_blocks_retrans: %04x, ul_blocks_retrans: %04x, dl_throughput_kbps: %04x, ul_throughput_kbps: %04x, total_dl_rx_frames: %04x, total_ul_tx_frames: %04x, total_dl_retx_frames: %04x total_ul_retx_frames: %04x|mn.
mac_timer_state: %d|mn.
= 167 0 11
@0-31 UDR(#): %d, %d, %d, %d, %d, %d|mn.udr[#]. values[0] values[1] values[2] values[3] values[4] values[5]
DAC: %d, DNC: %d, UAC: %d, UNC: %d, DTC: %04x, CQIMAX: %04x, CQIMEAN: %04x, CQIMIN: %d, AFTI: %d AMRT: %d|mn. dac dnc uac unc dtc cqimax cqimean cqimin afti amrt
= 167 0 12
ACTDOM: %d|mn. actdom
@0-31 RIDLIST(#): %d|mn. ridlist[#]"""


def exchange(request, fields, answer):
    print(f"oem {request} | on | EmReportingIndCb {' '.join('report.' + field for field in fields)} | {answer}\n| stop | |")


def play(text, bit):
    """Of the flags, the first, second... has the bit of 1, 2..."""
    request, *lines = text.splitlines()
    numbers = (7 * step % 251 for step in count(3) if step % 251)  # of a byte; each comes again after all others
    flags = (number >> bit & 1 for number in count(1))
    report, shown = {}, "" if request[:3] == "166" else f"{NL}+XCGEDPAGE:{NL}"
    for line in lines:
        rows, line = line[1:].split(" ", 1) if line[0] == "@" else ("0", line)
        first, _, last = rows.partition("-")
        for row in range(int(first), int(last) + 1) if last else map(int, rows.split(",")):
            form, _, fields = line.replace("#", str(row)).replace("&", f"{row:x}").partition("|")
            place, *names = fields.split() or [""]
            values = []
            for field in names or re.findall(r"(\w+): %", form):
                name, _, given = field.lstrip("-").partition("=")
                value, _, seen = given.partition(":")
                number = next(flags) if value == "?" else literal_eval(value) if value else next(numbers)
                seen = str(bool(number)) if value == "?" else seen if seen[:1].isalpha() else literal_eval(seen or str(number))
                report[name[1:] if name[0] == "/" else place + name] = number
                values += [] if field[0] == "-" else [seen]
            shown += NL + (form % tuple(values) if place else form) + NL
    exchange(request, [f"{name}={value}" for name, value in report.items()], f'ok "{shown}"')


def texts():
    variants = [(10, " 4", "BCCH_NORM"), (29, " 5", "BCCH_EXT"), (11, " 0", "NO_BCCH_TYPE"), (9, " 0", "NO_BCCH_TYPE")]
    for text in TEXTS[2:].split("\n= "):
        for bit, (state, sfrlc, si13) in enumerate(variants if "GSM" in text else variants[:1]):
            play(text.replace("<rr>", str(state)).replace("<sfrlc>", sfrlc).replace("<si13>", si13).replace("<bit>", str(bit)), bit)


def piece(request, fields, text):
    exchange(request, fields.split(), f'ok "*{text}*"')


def numbers():
    for bler, text in {0: "-", 8: "-", 9: "1.1E-06", 8304721: "9.9E-01", 8304722: "-", 0xFFFFFFFF: "-"}.items():
        piece("166 0", f"rrc.bler={bler}", f"{NL}BLER:{text},TSIR:+00,MSIR:+00,DPUC:")
    for whole, text in {20: "+20", 21: "-", -10: "-10", -11: "-", 127: "-", -128: "-"}.items():
        piece("166 0", f"rrc.tsir={whole << 24} rrc.msir={(whole << 24) + 0xFFFFFF}", f"TSIR:{text},MSIR:{text},DPUC:")
    piece("166 0", "rrc.quality_unavailable=1", f"{NL}BLER:-,TSIR:-,MSIR:-,DPUC:-,DPDC:-,UPUC:-,UPDC:-,CMOD:-{NL}{NL}TPCA:0")
    for part, request in {"rrc.lac=1 mm": "166 0", "rrc": "167 0 1", "rr": "167 0 2"}.items():
        piece(request, f"{part}.plmn.mcc=0xFFFF", "MCC:ffffffff, MNC:ffffffff,")
        piece(request, f"{part}.plmn.mnc=0xFFFF", "MCC:ffffffff, MNC:ffffffff,")
    for level, text in {0: "-", 6: "-104", 61: "-49", 62: "-", 63: "-", 72: "-", 255: "-"}.items():
        piece("167 0 1", f"rr.rxlev={level}", f"rx_power_level:{text},{NL}")
    for field, number in {"0x7FFF": 32767, "0x8000": 0, "0xFFFF": 65535}.items():
        piece("167 0 1", f"rr.arfcn={field} rr.arfcn_ded={field}", f"Arfcn:{number:4}, Arfcn_ded:{number:4},")
        piece("167 0 3", f"rr.gsm.count=1 rr.gsm.cells[0].arfcn={field}", f"Arfcn:{number or 65535}, Bsic")
    piece("167 0 2", "rr.c2=-32768", "C2:255, txpwr")
    piece("167 0 3", "rrc.gsm.count=1 rrc.gsm.cells[0].c2=-32768", f"C2:255,{NL}")
    for mask, codecs in {0: "ff ff ff ff", 1: "0 ff ff ff", 0xF0: "4 5 6 7", 0x1F: "ff ff ff ff", 255: "ff ff ff ff"}.items():
        for index in (0, 3, 4, 255):
            piece("167 0 1", f"rr.amr_codec_set={mask} rr.amr_cod_ul={index} rr.amr_cod_dl=4",
                  f"amr_codec_set:<{codecs}>, amr_cod_ul:{(codecs.split() + ['ff'])[min(index, 4)]}, amr_cod_dl:ff,")


def names():
    for state, name in enumerate(["CD", "CF", "CP", "UP", "ID", "ST", ""]):
        piece("166 0", f"rrc.urr={state}", f'URR:"{name}"{NL}')
    for number, name in enumerate(["A", "B", "C", "CC", "CG", ""]):
        piece("166 0", f"rr.lac=1 mm.gprs_class={number}", f"MSC:{name}, T:")
    for band, name in enumerate(["G", "G", "G", "G", "D", "P", ""]):
        piece("166 0", f"rr.lac=1 mm.band={band}", f'B:"{name}", Arfcn')
    for band, name in enumerate("GGGGDPGGGG----UU-"):
        piece("167 0 1", f"rr.lac=1 mm.band={band}", f", B:{name},")
    piece("166 0", "rr.lac=1", 'B:"", Arfcn')
    piece("167 0 8", "rrc.lac=1 mm.band=255", "Rssi:99, SC_RAT:WCDMA, SC_Band:-, THERM")
    piece("167 0 1", "rrc.lac=1", "MMs:-, LUS:-, LAC:-, MMSs:-, T:-, B:-,")


def counts():
    for reported in (0, 1, 6, 7, 24, 25, 255):
        gsm, umts = min(reported, 6), min(reported, 24)
        piece("167 0 3", f"rrc.gsm.count={reported} rrc.umts.count={reported}",
              f"no_ncells:{reported:2},{NL}" + f"{NL}Arfcn:   0, Bsic:00, Rssi:0, C2: 0,{NL}" * gsm +
              f"{NL}no_umts_cells:{reported:2},{NL}" + f",{NL}".join([f"{NL}DLF:    0, SC:0, RSCP:0, ECN0:0"] * umts))
        piece("166 0", f"rrc.umts.count={reported} rrc.gsm.count={reported}",
              f"PSM: 0{NL}" + f"{NL}Cell:AS, SC:0, RSCP:0, ECN0:0{NL}" * umts + f"{NL}Cell:G, B:- Arfcn:- RxLev:- Bsic:- RV:-,{NL}" +
              f"{NL}Cell:NG, B:G, Arfcn:0, RxLev:0, Bsic:0, RS:0{NL}" * gsm + f"{NL}RR measurement")
        piece("166 0", f"rr.lac=1 mm.eplmn_count={reported}",
              f"Equivalent PLMNs:{NL}" + f"{NL}MCC:0, MNC:0{NL}" * min(reported, 16) + f"{NL}GPRS-Parameters")


def parts():
    cell = (0, 1, 2, 3, 4, 5, 6, 8)
    for part, shown in {"mn.dac=1": (4, 6, 8, 9, 10, 11, 12), "mm.lac=1": (4, 6, 7, 8), "rr.lac=1": cell, "rrc.lac=1": cell,
                        "": (4, 6, 8)}.items():
        for number in range(13):
            exchange(f"167 0 {number}" if number else "166 0", part.split(), "ok *" if number in shown else "fail")


print("""phone off
define on   EmInit; EmEnableExtReporting enable=1
define stop EmEnableExtReporting enable=0
define oem  OEM_HOOK_STRINGS $*""")
for write in (texts, numbers, names, counts, parts):
    print("case", write.__name__)
    write()
