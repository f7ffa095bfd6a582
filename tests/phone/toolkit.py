"""Sessions of the card's toolkit as a random walk beside a model, over crashes of the modem.

    toolkit.py MODEM RILD LIBRARY [SEED]
"""
import random
import struct
import sys

from phone import SUCCESS, Phone
from programs import until

SEND_SMS, RADIO_POWER, ENVELOPE, TERMINAL_RESPONSE, CALL, SERVES = 25, 23, 69, 70, 71, 103
RADIO_STATE, SESSION_END, PROACTIVE, EVENT = 1000, 1012, 1013, 1014
MENU, TEXT, INPUT, LOCAL, REFRESH, SET_UP_CALL, MESSAGE = 0x25, 0x21, 0x23, 0x26, 0x01, 0x10, 0x13
APPLICATION = [[(TEXT, 0x80)], [(INPUT, 1), (TEXT, 0x80)], [(SET_UP_CALL, 0), (TEXT, 0x80)],
               [(MESSAGE, 0), (LOCAL, 1), (REFRESH, 4)], [(LOCAL, 3), (LOCAL, 0), (LOCAL, 9)],
               [(REFRESH, 0), (REFRESH, 255), (SET_UP_CALL, 0), (INPUT, 1)]]
DOWNLOAD = [(LOCAL, 8), (TEXT, 0x80)]
WORDS = {TEXT: 'text "A"', INPUT: 'input "B?"', LOCAL: "local %d", REFRESH: "refresh %d",
         SET_UP_CALL: 'call +4930117 "C"', MESSAGE: 'message +491715550000 "D"'}


class Toolkit:
    """The card's sessions (ETSI TS 102 223, 4.2, 6.1): who carries out a command, and who responds to it."""

    def __init__(self):
        self.left, self.open, self.number, self.told = [], None, 0, []
        self.commands = self.responses = self.strays = self.refreshes = self.messages = 0

    def go_on(self):
        while self.open is None and self.left:
            self.open = self.left.pop(0)
            self.number, self.commands = self.number % 255 + 1, self.commands + 1
            kind, qualifier = self.open
            is_answered = kind == REFRESH or kind == LOCAL and qualifier in (0, 1, 2, 5, 6, 8)
            is_told = is_answered or kind in (SET_UP_CALL, MESSAGE)
            self.told.append((EVENT if is_told else PROACTIVE, self.number, kind, qualifier))
            self.refreshes += kind == REFRESH
            self.responses += is_answered
            if is_answered or kind == MESSAGE:
                self.finish(True)

    def finish(self, is_done):
        self.open = None
        if not is_done:
            self.left = []
        if not self.left:
            self.told.append((SESSION_END,))
        self.go_on()

    def starts(self):
        self.left, self.open = [(MENU, 0)], None
        self.go_on()

    def selects(self, item):
        self.left = list(APPLICATION[item - 1])
        self.go_on()

    def takes_message(self):
        self.messages += 1
        self.left += DOWNLOAD
        self.go_on()

    def hears(self, command, is_done):
        """From Android."""
        if self.open is None or command != (self.number, *self.open) or self.open[0] == SET_UP_CALL:
            self.strays += 1
            return
        self.responses += 1
        self.finish(is_done)

    def counts(self):
        return (f"{self.commands} commands, {self.responses} responses, {self.strays} not asked for, "
                f"{self.refreshes} refreshes, {self.messages} messages")


def command_of(number, data):
    if number == SESSION_END:
        return (number,)
    octets = bytes.fromhex(data[4:4 + 2 * struct.unpack_from("<i", data)[0]].decode("utf-16-le"))
    return number, *octets[4:7]


def power_on(phone):
    """What comes of what was before is passed over."""
    while not any(number == RADIO_STATE and data[:4] == bytes(4) for number, data in phone.client.unasked):
        phone.client.is_unasked()
    assert phone.client.ask(RADIO_POWER, [1, 1], "")[0] == SUCCESS
    until(lambda: phone.client.ask(SEND_SMS, [2, None, "0100039121F3000003C1E010"], "isi")[0] == SUCCESS)
    phone.client.unasked.clear()


def use(phone, chance, seen, steps):
    """Until the modem crashes; what Android has seen before, it may answer late."""
    card = Toolkit()
    ask = lambda number, *arguments: phone.client.ask(number, arguments, "s" if number == ENVELOPE else "")[0]
    for step in range(steps):
        what = chance.choice(["start", "select", "select", "answer", "answer", "refuse", "again", "call", "message"])
        if what == "start":
            card.starts()
            told = ask(SERVES)
        elif what == "select":
            item = 1 + chance.randrange(len(APPLICATION))
            card.selects(item)
            told = ask(ENVELOPE, f"D3078202018190{1:02X}{item:02X}")
        elif what == "message":
            card.takes_message()
            phone.modem('sms from +49891 "For the card" pid 127 class 2')
            phone.modem("expect UtaMsSmsDataDownloadAck")  # else it comes again after a crash
            told = SUCCESS
        elif what == "call" and card.open and card.open[0] == SET_UP_CALL:
            agrees = chance.random() < 0.5
            card.finish(agrees)
            told = ask(CALL, 1, 0 if agrees else 1)
        elif what in ("answer", "refuse", "again") and seen:
            command = seen[-1] if what != "again" else chance.choice(seen)
            card.hears(command, what != "refuse")
            told = ask(TERMINAL_RESPONSE, "8103%02X%02X%02X" % command + "820282818301" + ("10" if what == "refuse" else "00"))
        else:
            continue
        assert told == SUCCESS, f"step {step}: {what}: {told}"
        if step == steps - 1:
            break  # with all of it under way
        unasked = lambda: [command_of(*it) for it in phone.client.unasked if it[0] in (SESSION_END, PROACTIVE, EVENT)]
        while len(unasked()) < len(card.told):
            phone.client.is_unasked()
        assert unasked() == card.told, f"step {step}: {what}: {unasked()}, wanted {card.told}"
        until(lambda: phone.modem_says(f'toolkit counts "{card.counts()}"') == "ok")
        seen += [command[1:] for command in card.told if command[0] == PROACTIVE]
        card.told.clear()
        phone.client.unasked.clear()
        until(lambda: all(phone.modem_says(f"call is {i} active") == f"error no such call: {i}" for i in (1, 2)))
    return card.commands


def main():
    seed = int(sys.argv[4]) if len(sys.argv) > 4 else random.randrange(1 << 31)
    print("seed", seed, flush=True)
    chance = random.Random(seed)
    phone = Phone(*sys.argv[1:4])
    with open("/data/walk.toolkit", "w", encoding="ascii") as stream:
        for title, commands in [("item X", item) for item in APPLICATION] + [("download", DOWNLOAD)]:
            stream.write(title + "\n" + "".join(
                WORDS[kind] % (qualifier if "%" in WORDS[kind] else ()) + "\n" for kind, qualifier in commands))
    phone.modem("toolkit load /data/walk.toolkit")
    commands, seen = 0, []
    for _ in range(20):
        power_on(phone)
        commands += use(phone, chance, seen, 1 + chance.randrange(60))
        phone.client.unasked.clear()
        phone.modem("modem crash")
    print(commands, "commands")
    phone.end()


main()
