#!/usr/bin/env python3
"""Writes a transcript of what tables say, whole: every value of a signal in each technology, and the name of every band."""


def twice(numbers):
    return [number for number in numbers for _ in range(2)]


BEHIND = [99] + [0] * 156
SIGNALS = [
    [99] * 256,
    [1] + twice(range(2, 32)) + [31] * 38 + BEHIND,
    [0] * 4 + twice(range(1, 32)) + [31] * 33 + BEHIND,
    [0] * 29 + twice(range(1, 31)) + [31] * 9 + [0] + BEHIND,
]
UMTS_RATES = [7] * 8 + [rate for rate in range(6, -1, -1) for _ in range(6)] + [7] * 49 + BEHIND
ERROR_RATES = [[99] * 256, range(256), UMTS_RATES, range(256)]

NUMERALS = "I II III IV V VI VII VIII IX X XI XII XIII XIV XV XVI XVII XVIII XIX XX XXI XXII".split()
BANDS = {band: "GSM900" for band in range(4)}
BANDS |= dict(enumerate("GSM1800 GSM1900 GSM850 GSM450 GSM480 GSM750 GSM_T_GSM380 GSM_T_GSM410 GSM_T_GSM900 GSM710 "
                        "GSM_T_GSM810 MULTI UMTS_FDD UMTS_TDD".split(), 4))
BANDS |= dict(enumerate(("UMTS_" + numeral for numeral in NUMERALS), 50))
BANDS |= {18: "INVALID BAND", 72: "UMTS_INVALID", 255: "BAND_AUTOMATIC"}


def exchange(indications, answers):
    print("| |", "; ".join(indications), "|", "; ".join(answers))


def signals():
    for technology in range(4):
        print(f"case Every signal in technology {technology}")
        if technology > 0:
            print(f"| | cell {technology} | told")
        for first in range(0, 256, 16):
            values = range(first, first + 16)
            exchange([f"signal {value}" for value in values],
                     [f"strength {SIGNALS[technology][value]} {ERROR_RATES[technology][value]}" for value in values])


def bands():
    print("case Every band's name\nunseen NetGetPlmnListData -1")
    name = "none"
    for band in range(256):
        name = BANDS.get(band, name)
        print(f"| | registration 0 1 band={band} | told\nprop gsm.network.band \"{name}\"")


print("""phone on
define registration NetRegistrationInfoIndCb cs_status=$1 ps_status=$2 second_cause=255 network.rat=1
define cell NetCellInfoIndCb rat=$1 lac=0x12 cell_id=0xABCD mcc=262 mnc=1
define told VOICE_NETWORK_STATE_CHANGED
define signal NetRadioSignalIndCb signal=$1 error_rate=$1
define strength SIGNAL_STRENGTH gsm=$1 ber=$2 *""")
signals()
bands()
