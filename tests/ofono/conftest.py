"""The phone as oFono shows it at D-Bus, and the simulated network behind it."""

import contextlib
import os
import signal
import sys
import time

import dbus
import pytest
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

sys.path.append(os.path.join(os.path.dirname(__file__), "../harness"))
from programs import Control

SIMS = ("/ril_0", "/ril_1")
TIMEOUT = 30


def eventually(look, wanted=True, seconds=TIMEOUT):
    """Looks until it sees what is wanted: a value, or a function of what is seen. Signals come in meanwhile."""
    deadline = time.monotonic() + seconds
    seen = None
    while time.monotonic() < deadline:
        while GLib.MainContext.default().iteration(False):
            pass
        with contextlib.suppress(dbus.DBusException):
            seen = look()
            if wanted(seen) if callable(wanted) else seen == wanted:
                return seen
        time.sleep(0.05)
    raise AssertionError(f"wanted {wanted}, saw {seen}")


def variant(value):
    kind = dbus.Boolean if isinstance(value, bool) else dbus.String
    return kind(value, variant_level=1)


class Network(Control):
    """What it does, and what it saw."""

    def holds(self, command):
        return self(command).endswith("ok")


class Sim:
    """One of the two modems that oFono has."""

    def __init__(self, bus, path):
        self._bus, self.path = bus, path

    def at(self, path, name):
        return dbus.Interface(self._bus.get_object("org.ofono", path, introspect=False), "org.ofono." + name)

    def __getattr__(self, name):
        return self.at(self.path, name)

    def see(self, interface, name):
        return getattr(self, interface).GetProperties().get(name)

    def set(self, interface, name, value, *more):
        getattr(self, interface).SetProperty(name, variant(value), *more, timeout=60)

    def switch_on(self, *switches):
        for switch in switches:
            if not self.see("Modem", switch):
                self.set("Modem", switch, True)

    def is_registered(self):
        with contextlib.suppress(dbus.DBusException):
            return self.see("NetworkRegistration", "Status") == "registered"
        return False

    def online(self):
        """Until oFono shows everything: the last of its interfaces is that of packet data."""
        def all_there():
            self.switch_on("Powered", "Online")
            return self.is_registered() and "org.ofono.ConnectionManager" in self.see("Modem", "Interfaces")

        eventually(all_there)
        return self

    def _process(self):
        return self._bus.call_blocking("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                       "GetConnectionUnixProcessID", "s", ("org.ofono",))

    def start_again(self):
        """Ends oFono, which turns the radio off before and is started again."""
        process = self._process()
        os.kill(process, signal.SIGTERM)
        eventually(self._process, lambda now: now != process)

    def pin_required(self):
        self.switch_on("Powered")
        return self.see("SimManager", "PinRequired")

    def calls(self):
        return sorted((str(call["LineIdentification"]), str(call["State"])) for _, call in self.VoiceCallManager.GetCalls())

    def messages(self):
        """A list that grows as messages come."""
        came = []
        self._bus.add_signal_receiver(
            lambda text, info: came.append((str(info["Sender"]), str(text))),
            "IncomingMessage", "org.ofono.MessageManager", "org.ofono", self.path)
        return came


@pytest.fixture(scope="session")
def bus():
    return dbus.SystemBus(mainloop=DBusGMainLoop())


@pytest.fixture(scope="session")
def network():
    return Network()


@pytest.fixture
def sim(bus, network):
    return Sim(bus, SIMS[0]).online()


@pytest.fixture
def other(bus, network):
    return Sim(bus, SIMS[1]).online()
