"""The whole phone, rild with the shipped library and the simulated modem, and its card, seen from rild's socket.

    card.py MODEM RILD LIBRARY files CARD    reads every file of a card as Android does, and compares it with its text
    card.py MODEM RILD LIBRARY pin [SEED]    the life of a PIN as a random walk beside a model
"""
import os
import random
import re
import sys

sys.path.append(os.path.join(os.path.dirname(__file__), "../harness"))
from programs import Client, Lines, Program, connect, until

SUCCESS, GENERIC_FAILURE, PASSWORD_INCORRECT = 0, 2, 3
GET_SIM_STATUS, ENTER_PIN, ENTER_PUK, CHANGE_PIN, SIM_IO, QUERY_LOCK, SET_LOCK = 1, 2, 3, 6, 28, 42, 43


class Phone:
    def __init__(self, modem, rild, library):
        self.processes = [Program(modem, "--quiet", "--latency", "0")]
        until(lambda: os.path.exists("/data/rpcd/rpcd.txt"))
        self.control = Lines(connect("/dev/socket/modem_control"))
        self.processes.append(Program(rild, "-l", library))
        self.client = Client()
        until(lambda: self.card_state() == 1)

    def modem(self, command):
        self.control.say(command)
        answer = self.control.hear()
        assert answer == "ok", f"{command}: {answer}"

    def card_state(self):
        error, value = self.client.ask(GET_SIM_STATUS, [], "iiiii[iiissiii]")
        return value[0] if error == SUCCESS else None

    def pin1(self):
        applications = self.client.ask(GET_SIM_STATUS, [], "iiiii[iiissiii]")[1][5]
        return applications[0][6] if applications else None

    def put_in(self, card):
        self.modem("card remove")
        until(lambda: self.card_state() == 0)
        self.modem("card insert " + card)
        until(lambda: self.card_state() == 1)

    def sim_io(self, command, file, path, p1, p2, p3, data=None):
        error, value = self.client.ask(SIM_IO, [command, file, path, p1, p2, p3, data, None, None], "iis")
        assert error == SUCCESS, error
        return value[0] << 8 | value[1], value[2]

    def end(self):
        for process in reversed(self.processes):
            process.end()


# --- Files -----------------------------------------------------------------------------------------------------------


def parts_of(line):
    """The bytes of a line of content."""
    content = b""
    for text, digits, sign, number in re.findall(r'(?:"([^"]*)"|([0-9A-Fa-f]+))(?:([*:])(\d+))?', line):
        part = bytes.fromhex(digits) if digits else text.encode()
        content += {"*": lambda: part * int(number), ":": lambda: part.ljust(int(number), b"\xff"),
                    "": lambda: part}[sign]()
    return content


def files_of(text):
    """(path, structure, records) of each file; a transparent one has a single record."""
    files = []
    for line in text.replace("\\\n", " ").splitlines():
        words = line.split()
        if line.startswith("ef "):
            count, _, size = words[3].rpartition("x")
            files.append((words[1], words[2], int(count or 1), int(size), []))
        elif line.startswith(" ") and words:
            files[-1][4].append(b"" if words == ["-"] else parts_of(line))
    for path, structure, count, size, lines in files:
        records = [b"".join(lines)] if structure == "transparent" else lines + [b""] * (count - len(lines))
        yield path, structure, [record.ljust(size, b"\xff") for record in records]


def read_files(phone, name):
    with open(name, encoding="ascii") as stream:
        text = stream.read()
    usim = "\ncard 3g" in text
    phone.put_in(name)
    count = 0
    for path, structure, records in files_of(text):
        *directories, file = path.split("/")
        where, number = "3F00" + "".join(directories), int(file, 16)
        words, header = phone.sim_io(0xC0, number, where, 0, 0, 15)
        header = bytes.fromhex(header or "")
        size, length = len(b"".join(records)), 0 if structure == "transparent" else len(records[0])
        kind = {"transparent": 0, "linear": 1, "cyclic": 3}[structure]
        assert words == 0x9000, f"{path}: {words:04X}"
        assert (header[2:5] + header[5:7] + header[11:12] + header[13:15] ==
                size.to_bytes(2, "big") + number.to_bytes(2, "big") + bytes([4, 1, kind, length])), f"{path}: {header.hex()}"
        for i, record in enumerate(records):
            for at in range(0, len(record), 255):
                part = record[at:at + 255]
                told = (phone.sim_io(0xB0, number, where, at >> 8, at & 255, len(part)) if kind == 0 else
                        phone.sim_io(0xB2, number, where, i + 1, 4, len(part)))
                assert told == (0x9000, part.hex().upper()), f"{path} record {i + 1}: {told}"
        count += 1
    here = "3F007FFF" if usim else "3F007F20"
    for command, wanted in [((0xC0, 0x6F99, here, 0, 0, 15), 0x6A82 if usim else 0x9404),
                            ((0xB0, 0x6F99, here, 0, 0, 1), 0x6A82 if usim else 0x9404),
                            ((0xB0, 0x6F07, here, 0, 0, 10), 0x6C09 if usim else 0x6709),
                            ((0xB0, 0x6F07, here, 0, 9, 1), 0x6B00 if usim else 0x9402),
                            ((0xB2, 0x6F07, here, 1, 4, 9), 0x6981 if usim else 0x9408),
                            ((0xB2, 0x6FC7, here, 2, 4, 28), 0x6A83 if usim else 0x9402)]:
        told = phone.sim_io(*command)
        assert told == (wanted, None), f"{command}: {told}"
    print(f"{count} files")
    assert count > 30


# --- The PIN ---------------------------------------------------------------------------------------------------------

NEEDED, OFF, BLOCKED, DEAD, VERIFIED = 1, 2, 3, 4, 5


class Model:
    """The card's side (ETSI TS 102 221, 9.5), and what Android is told of it."""

    def __init__(self):
        self.pin, self.left, self.unblock_left, self.on = "1234", 3, 10, True
        self.told = NEEDED

    def present(self, code):
        right = self.left > 0 and code == self.pin
        self.left = 3 if right else max(self.left - 1, 0)
        return right

    def wrong(self):
        if self.left == 0 and self.unblock_left > 0:
            self.told = BLOCKED
        return PASSWORD_INCORRECT, [self.left]

    def enter(self, code):
        if self.told in (OFF, BLOCKED):
            return GENERIC_FAILURE, None
        if not self.present(code):
            if self.unblock_left == 0:  # a PIN without a PUK is given up at its first mistake
                self.told = DEAD
            return self.wrong()
        self.told = VERIFIED
        return SUCCESS, [3]

    def change(self, code, new):
        if self.told in (OFF, BLOCKED):
            return GENERIC_FAILURE, None
        if not self.present(code):
            return self.wrong()
        self.pin = new
        return SUCCESS, [3]

    def switch(self, code, on):
        if self.told in ((NEEDED, BLOCKED) if on else (OFF, BLOCKED, DEAD)):
            return GENERIC_FAILURE, None
        if self.on == on:  # nothing is compared, and nothing counted
            return PASSWORD_INCORRECT, [self.left]
        if not self.present(code):
            return self.wrong()
        self.on = on
        self.told = VERIFIED if on else OFF
        return SUCCESS, [3]

    def unblock(self, code, new):
        if self.told == DEAD:
            return GENERIC_FAILURE, None
        if code != "12345678" or self.unblock_left == 0:
            self.unblock_left = max(self.unblock_left - 1, 0)
            if self.left == 0:
                self.told = DEAD if self.unblock_left == 0 else BLOCKED
            return PASSWORD_INCORRECT, [self.unblock_left]
        self.__init__()
        self.pin, self.told = new, VERIFIED
        return SUCCESS, [10]

    def pin1(self):
        return {NEEDED: 1, OFF: 3, VERIFIED: 3, BLOCKED: 4, DEAD: None}[self.told]


def live(phone, chance, steps):
    phone.put_in("3g pin")
    model = Model()
    for step in range(steps):
        code = model.pin if chance.random() < 0.3 else chance.choice(["9999", "1234", "00000000"])
        new = chance.choice(["1111", "12345678", "2222"])
        puk = "12345678" if chance.random() < 0.1 else "99999999"
        on = chance.random() < 0.5
        what, arguments, wanted = chance.choice([
            lambda: (ENTER_PIN, [code, None], model.enter(code)),
            lambda: (CHANGE_PIN, [code, new, None], model.change(code, new)),
            lambda: (SET_LOCK, ["SC", "1" if on else "0", code, "7", None], model.switch(code, on)),
            lambda: (ENTER_PUK, [puk, new, None], model.unblock(puk, new)),
            lambda: (QUERY_LOCK, ["SC", "", "7", None], (SUCCESS, [1 if model.told in (NEEDED, VERIFIED) else 0])),
        ])()
        told = phone.client.ask(what, [len(arguments), *arguments], "[i]")
        told = told[0], told[1] and [count for [count] in told[1][0]]
        assert told == wanted, f"step {step}: {what} {arguments}: {told}, wanted {wanted}"
        assert phone.pin1() == model.pin1(), f"step {step}: {what} {arguments}: {phone.pin1()}, wanted {model.pin1()}"
    return model.told == DEAD


def walk(phone, seed):
    print("seed", seed, flush=True)
    chance = random.Random(seed)
    deaths = sum(live(phone, chance, 60) for _ in range(60))
    print(deaths, "cards dead")
    assert deaths > 0


def main():
    phone = Phone(*sys.argv[1:4])
    if sys.argv[4] == "files":
        read_files(phone, sys.argv[5])
    else:
        walk(phone, int(sys.argv[5]) if len(sys.argv) > 5 else random.randrange(1 << 31))
    phone.end()


main()
