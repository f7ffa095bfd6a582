"""A client of the rild socket, written from the protocol alone: reads what rild makes of a library's records.

    client.py RILD LIBRARY    starts rild with the tests' library, checks every form, ends 0 when all is well
    client.py                 connects to a running rild and prints what it says to a few harmless requests
"""
import os
import socket
import struct
import subprocess
import sys
import time

SOCKET = "/dev/socket/rild"
PATIENCE = 10.0  # seconds


class Reader:
    """Takes items off a parcel; must have taken everything in the end."""

    def __init__(self, data):
        self.data = data

    def take(self, size):
        assert size <= len(self.data), "the parcel is too short"
        taken, self.data = self.data[:size], self.data[size:]
        return taken

    def i(self):
        return struct.unpack("<i", self.take(4))[0]

    def q(self):
        return struct.unpack("<q", self.take(8))[0]

    def ints(self, count):
        return [self.i() for _ in range(count)]

    def raw(self):
        size = self.i()
        if size < 0:
            return None
        padded = self.take((size + 3) & ~3)
        assert not any(padded[size:]), "padding"
        return padded[:size]

    def s(self):
        units = self.i()
        if units < 0:
            return None
        padded = self.take((2 * units + 2 + 3) & ~3)
        assert not any(padded[2 * units:]), "end of a string"
        return padded[:2 * units].decode("utf-16-le")

    def array(self, item):
        return [item(self) for _ in range(self.i())]


def uus(r):
    return (r.i(), r.i(), r.raw()) if r.i() else None


def data_calls(r):
    return r.i(), r.array(lambda p: p.ints(4) + [p.s() for _ in range(5)])


def cell_info(r):
    kind, registered, stamp = r.ints(3)
    when = r.q()
    return [kind, registered, stamp, when, r.ints({1: 6, 2: 10, 3: 11, 4: 7}[kind])]


FORMS = {
    "nothing": lambda r: None,
    "int": Reader.i,
    "string": Reader.s,
    "strings": lambda r: r.array(Reader.s),
    "ints": lambda r: r.array(Reader.i),
    "raw": Reader.raw,
    "card": lambda r: (r.ints(5), r.array(lambda p: p.ints(3) + [p.s(), p.s()] + p.ints(3))),
    "calls": lambda r: r.array(lambda p: p.ints(8) + [p.s(), p.i(), p.s(), p.i(), uus(p)]),
    "signal": lambda r: r.ints(12),
    "sms": lambda r: (r.i(), r.s(), r.i()),
    "data calls": data_calls,
    "sim io": lambda r: (r.i(), r.i(), r.s()),
    "forwards": lambda r: r.array(lambda p: p.ints(4) + [p.s(), p.i()]),
    "cells": lambda r: r.array(lambda p: (p.i(), p.s())),
    "configs": lambda r: r.array(lambda p: p.ints(5)),
    "cell infos": lambda r: r.array(cell_info),
    "notification": lambda r: r.ints(4) + [r.s()],
    "nitz": lambda r: (r.s(), r.q()),
}

UNSOL = {1000: "int", 1003: "string", 1005: "ints", 1006: "strings", 1008: "nitz", 1009: "signal", 1010: "data calls",
         1011: "notification", 1018: "nothing", 1028: "raw", 1034: "ints", 1036: "cell infos"}

C = "canned"
CALL = [0, -1, 5, 2, C, "", None, C, ""]
SIGNAL = [20, 99, -1, -2, -3, -4, -5, -6, 100, 10, 0x7FFFFFFF, 15]
BYTES = b"\x01\x02\x03\x04\xff"
STAMP = 0x500000006
CELLS = [[1, 1, 3, STAMP, list(range(10, 16))], [2, 0, 3, STAMP + 1, list(range(16, 26))],
         [3, 0, 3, STAMP + 2, list(range(26, 37))], [4, 0, 3, STAMP + 3, list(range(37, 44))]]

# Request, arguments, what the library gets, form of the response, its value.
REQUESTS = [
    (13, [], "null 0", "nothing", None),
    (12, [1, 5], "ints 5", "nothing", None),
    (18, [], "null 0", "ints", [7, -2]),
    (38, [], "null 0", "string", C),
    (20, [], "null 0", "strings", [C, None, ""]),
    (29, ["*100#\u00fc\U0001f600"], "'*100#\u00fc\U0001f600'", "nothing", None),
    (42, [3, "SC", "", None], "strings 'SC' '' n", "ints", [7, -2]),
    (59, [b"\x01\x02\xfe"], "x0102fe", "raw", BYTES),
    (1, [], "null 0", "card",
     ([1, 3, 0, -1, -1], [[2, 5, 0, C, None, 0, 3, 1], [5, 0, 0, None, None, 0, 0, 0]])),
    (9, [], "null 0", "calls", [[4, 1, 145, 0, 1, 0, 1, 0, C, 2, None, 3, (2, 3, BYTES)],
                                [0, 2, 129, 1, 0, 1, 1, 0, None, 0, "", 0, None]]),
    (10, ["+49", 1, 1, 2, 3, b"uus!"], "'+49' 1 uus 2 3 4 x75757321", "nothing", None),
    (19, [], "null 0", "signal", SIGNAL),
    (25, [2, None, "pdu"], "strings n 'pdu'", "sms", (42, C, -1)),
    (27, [1, "apn"], "strings 'apn'", "data calls", (9, [CALL])),
    (28, [176, 0x6F05, "3F00", 1, 2, 3, None, "pin", None], "176 28421 '3F00' 1 2 3 n 'pin' n", "sim io",
     (0x90, 0, C)),
    (33, [2, 0, 1, 129, "", 5], "2 0 1 129 n 5", "forwards", [[1, 2, 3, 145, C, 20]] * 2),
    (63, [1, "pdu", None], "1 'pdu' n", "ints", [7, -2]),
    (75, [], "null 0", "cells", [(31, C)]),
    (89, [], "null 0", "configs", [[1, 2, 3, 4, 1]]),
    (90, [1, 1, 2, 3, 4, 0], "configs 1 2 3 4 0", "nothing", None),
    (109, [], "null 0", "cell infos", CELLS),
]

UNSOLICITED = [(1000, 0), (1003, C), (1005, [7, -2]), (1006, [C, None, ""]), (1009, SIGNAL), (1010, (9, [CALL])),
               (1011, [1, 2, 3, 145, C]), (1018, None), (1028, BYTES), (1036, CELLS)]


def padded(data):
    return data + bytes(-len(data) % 4)


def item(value):
    if value is None:
        return struct.pack("<i", -1)
    if isinstance(value, int):
        return struct.pack("<i", value)
    if isinstance(value, bytes):
        return struct.pack("<i", len(value)) + padded(value)
    units = value.encode("utf-16-le")
    return struct.pack("<i", len(units) // 2) + padded(units + b"\0\0")


class Client:
    def __init__(self):
        self.serial = 1000
        deadline = time.monotonic() + PATIENCE
        while True:
            self.socket = socket.socket(socket.AF_UNIX)
            self.socket.settimeout(PATIENCE)
            try:
                self.socket.connect(SOCKET)
                return
            except OSError:
                self.socket.close()
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.01)

    def read(self, size):
        data = b""
        while len(data) < size:
            part = self.socket.recv(size - len(data))
            assert part, "rild hung up"
            data += part
        return data

    def message(self):
        (length,) = struct.unpack(">I", self.read(4))
        assert 8 <= length <= 8188, f"length {length}"
        return Reader(self.read(length))

    def unsol(self):
        reader = self.message()
        kind, number = reader.ints(2)
        assert kind == 1, kind
        value = FORMS[UNSOL[number]](reader)
        assert not reader.data, f"{len(reader.data)} bytes behind {number}"
        return number, value

    def ask(self, number, arguments, form):
        """Sends a request and gives the error and the data of its answer; skips what comes unasked in between."""
        self.serial += 1
        parcel = b"".join(item(value) for value in [number, self.serial, *arguments])
        self.socket.sendall(struct.pack(">I", len(parcel)) + parcel)
        while True:
            reader = self.message()
            kind, serial = reader.ints(2)
            if kind == 0:
                assert serial == self.serial, serial
                error = reader.i()
                value = FORMS[form](reader) if reader.data else None
                assert not reader.data, f"{len(reader.data)} bytes behind the answer to {number}"
                return error, value


def check(rild, library):
    ours, theirs = socket.socketpair()
    ours.settimeout(PATIENCE)
    lines = ours.makefile("rw", encoding="utf-8")
    process = subprocess.Popen([rild, "-l", library, "--", "-f", str(theirs.fileno())], pass_fds=[theirs.fileno()])
    theirs.close()
    try:
        assert lines.readline().startswith("init")
        client = Client()
        assert client.unsol() == (1034, [9])
        assert client.unsol() == (1000, 0)
        for number, arguments, got, form, value in REQUESTS:
            answer = client.ask(number, arguments, form)
            assert answer == (0, value), f"{number}: {answer}"
            line = lines.readline().rstrip("\n")
            assert line == f"request {number} {got}", line
        for number, value in UNSOLICITED:
            lines.write(f"unsol {number}\n")
            lines.flush()
            told = client.unsol()
            assert told == (number, value), told
    finally:
        process.terminate()
    assert process.wait(PATIENCE) == 0, process.returncode
    print(f"{len(REQUESTS)} requests, {len(UNSOLICITED)} unsolicited responses")


def watch():
    client = Client()
    print(client.unsol(), client.unsol())
    for name, number, form in [("SIM", 1, "card"), ("calls", 9, "calls"), ("IMEI", 38, "string"),
                               ("IMEISV", 39, "string"), ("operator", 22, "strings"), ("signal", 19, "signal")]:
        print(name, *client.ask(number, [], form))


if __name__ == "__main__":
    if len(sys.argv) == 3:
        check(*sys.argv[1:])
    else:
        watch()
