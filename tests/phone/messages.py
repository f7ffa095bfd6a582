"""Messages each way between the two SIMs: two rild with the library, and the modem with its message centre. All arrive
as they were, in order.

    messages.py MODEM RILD LIBRARY PROP COUNT [SEED]
"""
import os
import random
import select
import subprocess
import sys

sys.path.append(os.path.join(os.path.dirname(__file__), "../harness"))
from programs import Client, Program, until

SUCCESS, RADIO_POWER, SEND_SMS, ACKNOWLEDGE, NEW_SMS, RADIO_STATE = 0, 23, 25, 37, 1003, 1000
ON_THEIR_WAY = 8


def random_message(chance):
    """Whether a header begins the user data, their coding, length and octets (3GPP TS 23.040, 9.2.3.16 to 9.2.3.24)."""
    coding = chance.choice([0, 4, 8])
    length = chance.randint(8, 160 if coding == 0 else 140)
    bits = length * 7 if coding == 0 else length * 8
    octets = chance.getrandbits(bits).to_bytes((bits + 7) // 8, "little")
    has_header = chance.random() < 0.3
    return has_header, coding, length, bytes([5, 0, 3, 7, 2, 1]) + octets[6:] if has_header else octets


class Side:
    """One SIM's Android, which sends the other messages."""

    def __init__(self, path, to, sent, expected):
        self.client, self.to, self.sent, self.expected = Client(path), to, sent, expected
        self.asked = self.received = self.acknowledged = 0

    def switch_on(self):
        while (RADIO_STATE, bytes(4)) not in self.client.unasked:
            self.client.is_unasked()
        assert self.client.ask(RADIO_POWER, [1, 1], "")[0] == SUCCESS
        # A message to nobody goes out as soon as the stack is registered.
        until(lambda: self.client.ask(SEND_SMS, [2, None, "0100039121F3000003C1E010"], "isi")[0] == SUCCESS)
        self.client.unasked.clear()

    def is_over(self):
        return self.received == len(self.expected) and self.acknowledged == self.asked + self.received

    def send(self):
        while self.asked < len(self.sent) and self.asked + self.received - self.acknowledged < ON_THEIR_WAY:
            has_header, coding, length, octets = self.sent[self.asked]
            head = "4100" if has_header else "0100"
            self.client.send(SEND_SMS, 2, None, f"{head}0C91{self.to}00{coding:02X}{length:02X}{octets.hex()}".upper())
            self.asked += 1

    def take(self):
        if not self.client.is_unasked():
            assert self.client.take("ii")[1] == SUCCESS, f"{self.asked} sent, {self.received} received"
            self.acknowledged += 1
            return
        number, data = self.client.unasked.pop()
        if number == NEW_SMS:
            self.client.data = data
            octets = bytes.fromhex(self.client.text())
            tpdu = octets[1 + octets[0]:]
            at = 3 + (tpdu[1] + 1) // 2  # behind the originating address
            seen = (bool(tpdu[0] & 0x40), tpdu[at + 1], tpdu[at + 9], tpdu[at + 10:])
            assert seen == self.expected[self.received], f"message {self.received}: {octets.hex()}"
            self.received += 1
            self.client.send(ACKNOWLEDGE, 2, 1, 0)


def main():
    modem, rild, library, prop, count = sys.argv[1:6]
    seed = int(sys.argv[6]) if len(sys.argv) > 6 else random.randrange(1 << 31)
    print("seed", seed, flush=True)
    chance = random.Random(seed)
    first, second = ([random_message(chance) for _ in range(int(count))] for _ in range(2))
    subprocess.check_call([prop, "set", "persist.dual_sim", "ss"])
    with Program(modem, "--quiet", "--latency", "0"):
        with Program(rild, "-l", library), Program(rild, "-l", library, "--", "--client", "2"):
            sides = [Side("/dev/socket/rild", "947110325486", first, second),
                     Side("/dev/socket/rild2", "947110325476", second, first)]
            for side in sides:
                side.switch_on()
            while not all(side.is_over() for side in sides):
                for side in sides:
                    side.send()
                ready = select.select([side.client.socket for side in sides], [], [], 20)[0]
                assert ready, [(side.asked, side.received, side.acknowledged) for side in sides]
                for side in sides:
                    if side.client.socket in ready:
                        side.take()


main()
