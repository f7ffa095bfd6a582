"""The life of a PIN as a random walk beside a model.

    pin_life.py MODEM RILD LIBRARY [SEED]
"""
import random
import sys

from phone import SUCCESS, Phone

GENERIC_FAILURE, PASSWORD_INCORRECT = 2, 3
ENTER_PIN, ENTER_PUK, CHANGE_PIN, QUERY_LOCK, SET_LOCK = 2, 3, 6, 42, 43
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


def main():
    seed = int(sys.argv[4]) if len(sys.argv) > 4 else random.randrange(1 << 31)
    print("seed", seed, flush=True)
    chance = random.Random(seed)
    phone = Phone(*sys.argv[1:4])
    deaths = sum(live(phone, chance, 60) for _ in range(60))
    print(deaths, "cards dead")
    assert deaths > 0
    phone.end()


main()
