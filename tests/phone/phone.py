"""The whole phone, rild with the shipped library and the simulated modem with its card, seen from rild's socket."""
import os
import sys

sys.path.append(os.path.join(os.path.dirname(__file__), "../harness"))
from programs import Client, Control, Program, until

SUCCESS, GET_SIM_STATUS = 0, 1


class Phone:
    def __init__(self, modem, rild, library):
        self.processes = [Program(modem, "--quiet", "--latency", "0")]
        until(lambda: os.path.exists("/data/rpcd/rpcd.txt"))
        self.modem_says = Control()
        self.modem = self.modem_says.does
        self.processes.append(Program(rild, "-l", library))
        self.client = Client()
        until(lambda: self.card_state() == 1)

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

    def end(self):
        for process in reversed(self.processes):
            process.end()
