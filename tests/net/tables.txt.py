#!/usr/bin/env python3
"""Writes a transcript of what tables and calendars say, whole: every value of a signal in each technology, the name of
every band, and the network's time on every third day of a year in the zones of the world: some of them in turn, and
those whose clocks have just been changed.

A network sends universal time, the zone in quarters of an hour with daylight saving in it, and the hours of daylight
saving (3GPP TS 24.008, 10.5.3.9 and 10.5.3.12).
"""
from datetime import datetime, timedelta, timezone
from zoneinfo import ZoneInfo, available_timezones


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


def year():
    print("case The year's times in the world's zones")
    zones = [ZoneInfo(name) for name in sorted(available_timezones())]
    before = []
    for day in range(0, 366, 3):
        at = datetime(2028, 1, 1, 0, day % 60, day % 59, tzinfo=timezone.utc) + timedelta(days=day, hours=day % 24)
        local = (at.astimezone(zone) for zone in zones)
        kinds = sorted({(there.utcoffset() // timedelta(minutes=15), -(-there.dst() // timedelta(hours=1)))
                        for there in local})
        assert len(kinds) > 30, kinds
        told = [kind for place, kind in enumerate(kinds) if kind not in before or place % 8 == day % 8]
        before = kinds
        sent = f"{at.year} {at.month} {at.day} {at.hour} {at.minute} {at.second}"
        exchange([f"time {sent} {quarters} {saving}" for quarters, saving in told],
                 [f"NITZ_TIME_RECEIVED {at:%y/%m/%d,%H:%M:%S}{quarters:+d},{saving}" for quarters, saving in told])


print("""phone on
define registration NetRegistrationInfoIndCb cs_status=$1 ps_status=$2 second_cause=255 network.rat=1
define cell NetCellInfoIndCb rat=$1 lac=0x12 cell_id=0xABCD mcc=262 mnc=1
define told VOICE_NETWORK_STATE_CHANGED
define signal NetRadioSignalIndCb signal=$1 error_rate=$1
define strength SIGNAL_STRENGTH gsm=$1 ber=$2 *
define time NetNitzInfoIndCb is_time_available=1 year=$1 month=$2 day=$3 hour=$4 minute=$5 second=$6 \\
  is_timezone_available=1 timezone=$7 is_dst_available=1 dst=$8""")
signals()
bands()
year()
