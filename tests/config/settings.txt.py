#!/usr/bin/env python3
"""Writes a transcript of what a configuration file's lines may be: each is seen in what the start tells the modem of fast
dormancy, by its mode and its two timers."""

DEFAULTS = (2, 2, 30)
DELAY_5 = (2, 5, 30)
C, D5 = "[control]\n", "xfdor_delay_timer = 5\n"
ROWS = [
    ("", DEFAULTS),
    # ranges
    (C + "xfdor_mode = 3\nxfdor_delay_timer = 0\nxfdor_scri_timer = 500\n", (3, 1, 120)),
    (C + "xfdor_mode = 7\nxfdor_delay_timer = 61\nxfdor_scri_timer = 0\n", (2, 60, 1)),
    (C + "xfdor_mode=1\nxfdor_delay_timer=-1\nxfdor_scri_timer=-9\n", (1, 1, 1)),
    # numbers
    (C + "xfdor_delay_timer = 0x1F\nxfdor_scri_timer=0x0a\n", (2, 31, 10)),
    (C + "xfdor_delay_timer = 010\n", (2, 10, 30)), (C + "xfdor_delay_timer = 10x\n", DEFAULTS),
    (C + "xfdor_delay_timer = 99999999999999999999\n", (2, 60, 30)),
    (C + "xfdor_delay_timer = -4294967291\n", (2, 1, 30)),
    # what is in a line
    (C + "xfdor_delay _timer\t=  5\t\n", DELAY_5), (C + "xfdor_delay_timer = 5 # 6\n", DELAY_5),
    (C + "# " + D5, DEFAULTS), (C + "=\n[\n]\n[]\n#\n\n \n", DEFAULTS), (C + "xfdor_delay_timer == 5\n", DELAY_5),
    (C + "XFDOR_delay_timer = 5\nxfdor_delay_timer_ = 5\nxfdor_delay_time = 5\n", DEFAULTS),
    # sections
    (D5, DEFAULTS), ("[control] junk\n" + D5, DELAY_5), ("[con trol\t]\n" + D5, DELAY_5),
    ("[[con[trol]]\n" + D5, DELAY_5), ("[control\n" + D5, DEFAULTS), (C + "[nosuch]\n" + D5, DEFAULTS),
    # where lines end: behind 256 octets at the latest, comments too
    (C + D5.strip(), DEFAULTS),
    (C + " " * 236 + "xfdor_delay_timer=56\n", (2, 56, 30)), (C + " " * 236 + "xfdor_delay_timer=56", (2, 56, 30)),
    (C + " " * 237 + "xfdor_delay_timer=56\n", DELAY_5),
    (C + " " * 237 + "xfdor_delay_timer=5xfdor_scri_timer=7\n", (2, 5, 7)),
    (C + "#" + " " * 250 + "12345xfdor_delay_timer=5\n", DELAY_5),
]


def case(title, files, arguments, settings, conformance=""):
    print(f"case {title}\nset persist.conformance {conformance}")
    for name, text in files.items():
        print(f'write {name} "{text}"'.replace("\n", "\\n"))
    mode, delay, scri = settings
    mode = 1 if mode == 3 else 2  # with the network's word, or without
    print(f"phone new {arguments}\nevent up | *; NetTriggerFdorExt scri_timer={scri} delay_timer={delay} mode={mode} | | *")


REPOSITORY = "/system/etc/dun-ril/repository.txt"
for number, (text, settings) in enumerate(ROWS):
    case(f"Row {number}", {REPOSITORY: text}, "", settings)
for value, mode in [("true", 0), ("truely", 3)]:
    case(f"Conformance is {value}", {REPOSITORY: C + "xfdor_mode = 3\n" + D5}, "", (mode, 5, 30), value)
for arguments, settings in [("-c /data/other --client 1 -c /data/good", DELAY_5), ("-c /data/good -c", DELAY_5),
                            ("-c /data/good -c /nowhere/at/all", DEFAULTS), ("-c /data", DEFAULTS)]:
    case("The last path counts: " + arguments, {"/data/good": C + D5, "/data/other": C + "xfdor_delay_timer = 6\n"},
         arguments, settings)
