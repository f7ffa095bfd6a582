"""The phone as oFono shows it at D-Bus, and the simulated network behind it."""

import contextlib
import socket
import time

import dbus
import pytest

SIMS = ("/ril_0", "/ril_1")
TIMEOUT = 30


def eventually(look, wanted=True, seconds=TIMEOUT):
    """Looks until it sees what is wanted: a value, or a function of what is seen."""
    deadline = time.monotonic() + seconds
    seen = None
    while time.monotonic() < deadline:
        with contextlib.suppress(dbus.DBusException):
            seen = look()
            if wanted(seen) if callable(wanted) else seen == wanted:
                return seen
        time.sleep(0.05)
    raise AssertionError(f"wanted {wanted}, saw {seen}")


class Network:
    """The modem's control socket: what the network does, and what it saw."""

    def __init__(self):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect("/dev/socket/modem_control")
        self._lines = self._socket.makefile("rw")

    def __call__(self, command):
        self._lines.write(command + "\n")
        self._lines.flush()
        said = []
        for line in self._lines:
            if line == "ok\n":
                return "".join(said)
            if line.startswith("error "):
                raise AssertionError(f"{command}: {line}")
            said.append(line)
        raise AssertionError("the modem has ended")

    def holds(self, command):
        with contextlib.suppress(AssertionError):
            self(command)
            return True
        return False


class Sim:
    """One of the two modems that oFono has."""

    def __init__(self, bus, path):
        self._bus, self.path = bus, path

    def __getattr__(self, name):
        return dbus.Interface(self._bus.get_object("org.ofono", self.path), "org.ofono." + name)

    def at(self, path, name):
        return dbus.Interface(self._bus.get_object("org.ofono", path), "org.ofono." + name)

    def see(self, interface, name):
        return getattr(self, interface).GetProperties().get(name)

    def set(self, interface, name, value):
        """Again while oFono is just being started again."""
        eventually(lambda: getattr(self, interface).SetProperty(name, value, timeout=60) is None)

    def online(self):
        def registered():
            for switch in ("Powered", "Online"):
                if not self.see("Modem", switch):
                    self.Modem.SetProperty(switch, dbus.Boolean(True), timeout=60)
            return self.see("NetworkRegistration", "Status")

        eventually(registered, "registered")
        return self

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
    from dbus.mainloop.glib import DBusGMainLoop
    from gi.repository import GLib
    import threading

    DBusGMainLoop(set_as_default=True)
    system = dbus.SystemBus()
    threading.Thread(target=GLib.MainLoop().run, daemon=True).start()
    return system


@pytest.fixture(scope="session")
def network():
    return Network()


@pytest.fixture
def sim(bus, network):
    return Sim(bus, SIMS[0]).online()


@pytest.fixture
def other(bus, network):
    return Sim(bus, SIMS[1]).online()
