#!/usr/bin/env python3
"""Writes operator_rows.inc: the names of operators by MCC and MNC (ITU-T E.212).

Names: the service providers' list of Debian's package mobile-broadband-provider-info (public domain). Countries: the
mobile country codes of ITU-T E.212, with their ISO 3166 codes. Five rows and four countries are what phones have always
shown, and stand here.

    make_operator_table.py [serviceproviders.xml] > operator_rows.inc
"""
import sys
import unicodedata
import xml.etree.ElementTree as ElementTree

ROWS, COUNTRIES = 800, 224
SOURCE = "/usr/share/mobile-broadband-provider-info/serviceproviders.xml"

# Row of the table, MCC, abbreviation.
FIXED_COUNTRIES = {1: (232, "A"), 35: (257, "BY"), 94: (405, "INA"), 112: (270, "L")}
FIXED_NAMES = {
    (405, 34): ("TATA DOCOMO", "TATA DO"),
    (232, 1): ("A1", "A1"),
    (232, 3): ("T-Mobile A", "TMO A"),
    (257, 2): ("MTS BY", "MTS"),
    (270, 1): ("L LUXGSM", "LUXGSM"),
}
E212 = """
202GR 204NL 206BE 208FR 212MC 213AD 214ES 216HU 218BA 219HR 220RS 222IT 226RO 228CH 230CZ 231SK 234GB 235GB 238DK 240SE
242NO 244FI 246LT 247LV 248EE 250RU 255UA 259MD 260PL 262DE 266GI 268PT 272IE 274IS 276AL 278MT 280CY 282GE 283AM 284BG
286TR 288FO 289GE 290GL 292SM 293SI 294MK 295LI 297ME 302CA 308PM 310US 311US 312US 313US 314US 315US 316US 330PR 334MX
338JM 340GP 342BB 344AG 346KY 348VG 350BM 352GD 354MS 356KN 358LC 360VC 362CW 363AW 364BS 365AI 366DM 368CU 370DO 372HT
374TT 376TC 400AZ 401KZ 402BT 404IN 406IN 410PK 412AF 413LK 414MM 415LB 416JO 417SY 418IQ 419KW 420SA 421YE 422OM 424AE
425IL 426BH 427QA 428MN 429NP 430AE 431AE 432IR 434UZ 436TJ 437KG 438TM 440JP 441JP 450KR 452VN 454HK 455MO 456KH 457LA
460CN 461CN 466TW 467KP 470BD 472MV 502MY 505AU 510ID 514TL 515PH 520TH 525SG 528BN 530NZ 536NR 537PG 539TO 540SB 541VU
542FJ 543WF 544AS 545KI 546NC 547PF 548CK 549WS 550FM 551MH 552PW 553TV 555NU 602EG 603DZ 604MA 605TN 606LY 607GM 608SN
609MR 610ML 611GN 612CI 613BF 614NE 615TG 616BJ 617MU 618LR 619SL 620GH 621NG 622TD 623CF 624CM 625CV 626ST 627GQ 628GA
629CG 630CD 631AO 632GW 633SC 634SD 635RW 636ET 637SO 638DJ 639KE 640TZ 641UG 642BI 643MZ 645ZM 646MG 647RE 648ZW 649NA
650MW 651LS 652BW 653SZ 654KM 655ZA 657ER 702BZ 704GT 706SV 708HN 710NI 712CR 714PA 716PE 722AR 724BR 730CL 732CO 734VE
736BO 738GY 740EC 742GF 744PY 746SR 748UY 750FK
""".split()


def plain(text):
    """The letters without their accents, 30 characters at most."""
    folded = unicodedata.normalize("NFKD", text).encode("ascii", "ignore").decode()
    return " ".join(folded.split())[:30].strip()


def read_names(path):
    names = {}
    for provider in ElementTree.parse(path).getroot().iter("provider"):
        name = plain(provider.findtext("name"))
        for network in provider.iter("network-id"):
            if name:
                names.setdefault((int(network.get("mcc")), int(network.get("mnc"))), (name, name[:8].strip()))
    names.update(FIXED_NAMES)
    return names


def choose_countries(names):
    """The rows in alphabetical order around the fixed ones; those without an operator give way first."""
    fixed = {mcc for mcc, _ in FIXED_COUNTRIES.values()}
    others = [(code[3:], int(code[:3])) for code in E212 if int(code[:3]) not in fixed]
    served = {mcc for mcc, _ in names}
    others.sort(key=lambda row: (row[1] not in served, row))
    others = sorted(others[: COUNTRIES - 1 - len(FIXED_COUNTRIES)], reverse=True)
    rows = [(0, "")]
    while len(rows) < COUNTRIES:
        rows.append(FIXED_COUNTRIES.get(len(rows)) or (lambda row: (row[1], row[0]))(others.pop()))
    return rows


def main():
    names = read_names(sys.argv[1] if len(sys.argv) > 1 else SOURCE)
    countries = choose_countries(names)
    row_of = {mcc: row for row, (mcc, _) in enumerate(countries)}
    operators = {}
    for (mcc, mnc), both in names.items():
        if mcc in row_of:
            operators.setdefault(row_of[mcc], {})[mnc] = both
    while sum(map(len, operators.values())) > ROWS:  # the longest list gives way
        longest = max(operators, key=lambda row: (len(operators[row]), row))
        del operators[longest][max(mnc for mnc in operators[longest] if (countries[longest][0], mnc) not in FIXED_NAMES)]
    table = [(row, mnc) for row in sorted(operators) for mnc in sorted(operators[row])]
    assert len(table) == ROWS and len(countries) == COUNTRIES, (len(table), len(countries))
    print("// Made by make_operator_table.py for operator_table.cpp. The names come from Debian's package")
    print("// mobile-broadband-provider-info (public domain), the country codes from ITU-T E.212.")
    print("constexpr std::array<net_country, c_net_countries> net_country_code = {{")
    print("\n".join('    {%d, "%s"},' % row for row in countries))
    print("}};\n")
    print("// By country, then by MNC.")
    print("constexpr std::array<net_operator, c_net_operators> net_plmn_list = {{")
    for row, mnc in table:
        print('    {%d, "%s", "%s", %d},' % (mnc, *(text.replace('"', '\\"') for text in operators[row][mnc]), row))
    print("}};")


main()
