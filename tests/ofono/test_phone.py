"""What an unmodified oFono makes of the phone, and what the simulated network saw of it."""

import socket
import subprocess

import dbus
import pytest
from conftest import eventually, variant

NUMBERS = ("+491701234567", "+491701234568")


def hang_up(sim, network):
    sim.VoiceCallManager.HangupAll()
    eventually(sim.calls, [])
    eventually(lambda: "no calls" in network("status"))


def test_both_sims_are_registered_with_name_and_strength(sim, other, network):
    for modem in (sim, other):
        eventually(lambda: modem.see("NetworkRegistration", "MobileCountryCode"), "262")
        eventually(lambda: modem.see("NetworkRegistration", "Name"), lambda name: name)
        eventually(lambda: modem.see("NetworkRegistration", "Strength"), lambda strength: 0 < strength <= 100)
        assert modem.see("SimManager", "Present")
    assert sim.see("SimManager", "SubscriberIdentity") != other.see("SimManager", "SubscriberIdentity")
    network.does("signal 8")
    weak = eventually(lambda: sim.see("NetworkRegistration", "Strength"), lambda strength: strength < 20)
    network.does("signal 60")
    eventually(lambda: sim.see("NetworkRegistration", "Strength"), lambda strength: strength > weak)


def dial(sim, network):
    sim.VoiceCallManager.Dial("5550199", "default")
    eventually(sim.calls, [("5550199", "alerting")])
    network.does("call answer 1")
    eventually(sim.calls, [("5550199", "active")])


def test_a_call_out_with_tones(sim, network):
    dial(sim, network)
    sim.VoiceCallManager.SendTones("12#", timeout=60)
    eventually(lambda: network.holds("heard 12#"))
    hang_up(sim, network)


def test_calls_in_waiting_swapped_and_in_conference(sim, network):
    network.does("call incoming +4989555001")
    eventually(sim.calls, [("+4989555001", "incoming")])
    path = sim.VoiceCallManager.GetCalls()[0][0]
    sim.at(path, "VoiceCall").Answer()
    eventually(sim.calls, [("+4989555001", "active")])
    network.does("call incoming +4989555002")
    eventually(sim.calls, [("+4989555001", "active"), ("+4989555002", "waiting")])
    sim.VoiceCallManager.HoldAndAnswer()
    eventually(sim.calls, [("+4989555001", "held"), ("+4989555002", "active")])
    sim.VoiceCallManager.SwapCalls()
    eventually(sim.calls, [("+4989555001", "active"), ("+4989555002", "held")])
    assert network.holds("call is 2 held")
    sim.VoiceCallManager.CreateMultiparty()
    eventually(sim.calls, [("+4989555001", "active"), ("+4989555002", "active")])
    assert network.holds("call is 1 member") and network.holds("call is 2 member")
    hang_up(sim, network)


@pytest.mark.parametrize("text", ["Short and simple", "Grüße €", "A long message in parts. " * 12])
def test_messages_between_the_sims(sim, other, text):
    came = other.messages()
    sim.MessageManager.SendMessage(NUMBERS[1], text)
    eventually(lambda: [said for _, said in came], [text])


def test_a_message_from_outside(sim, network):
    came = sim.messages()
    network.does('sms from +4989555001 "Hello from outside"')
    eventually(lambda: came, [("+4989555001", "Hello from outside")])
    sim.MessageManager.SendMessage("+49891234", "Back to you")
    eventually(lambda: network.holds('sms sent +49891234 "Back to you"'))


def test_a_pin_is_entered_when_ofono_starts_then_changed_blocked_and_unblocked(sim, network):
    network.does("card remove")
    eventually(lambda: sim.see("SimManager", "Present"), False)
    network.does("card insert pin")
    sim.start_again()
    eventually(sim.pin_required, "pin")
    with pytest.raises(dbus.DBusException):
        sim.SimManager.EnterPin("pin", "0000")
    eventually(lambda: sim.see("SimManager", "Retries")["pin"], 2)
    sim.SimManager.EnterPin("pin", "1234")
    sim.online()
    assert "PIN1 verified" in network("status")
    sim.SimManager.ChangePin("pin", "1234", "2468")
    sim.SimManager.UnlockPin("pin", "2468")
    eventually(lambda: "pin" not in sim.see("SimManager", "LockedPins"))
    sim.SimManager.LockPin("pin", "2468")
    eventually(lambda: "pin" in sim.see("SimManager", "LockedPins"))
    for _ in range(3):
        with pytest.raises(dbus.DBusException):
            sim.SimManager.ChangePin("pin", "0000", "1111")
    assert "PIN1 blocked" in network("status")
    eventually(sim.pin_required, "puk")
    sim.SimManager.ResetPin("puk", "12345678", "1234")
    sim.online()
    sim.SimManager.UnlockPin("pin", "1234")
    assert "PIN1 off" in network("status")


def test_roaming_flight_mode_and_the_card_taken_out(sim, network):
    network.does("network 310260")
    eventually(lambda: sim.see("NetworkRegistration", "Status"), "roaming")
    eventually(lambda: sim.see("NetworkRegistration", "MobileCountryCode"), "310")
    network.does("network 26201")
    eventually(sim.is_registered)
    sim.set("Modem", "Online", False)
    eventually(lambda: "stack 0 not registered" in network("status"))
    sim.set("Modem", "Online", True)
    eventually(sim.is_registered)
    network.does("card remove")
    eventually(lambda: sim.see("SimManager", "Present"), False)
    network.does("card insert")
    sim.online()


def test_forwarding_and_barring(sim, network):
    sim.set("CallForwarding", "VoiceBusy", "03012345")
    eventually(lambda: sim.see("CallForwarding", "VoiceBusy"), "03012345")
    dial(sim, network)
    hang_up(sim, network)
    sim.CallForwarding.DisableAll("all", timeout=60)
    eventually(lambda: sim.see("CallForwarding", "VoiceBusy"), "")
    with pytest.raises(dbus.DBusException):
        sim.set("CallBarring", "VoiceOutgoing", "all", "9999")
    sim.set("CallBarring", "VoiceOutgoing", "all", "0000")
    eventually(lambda: sim.see("CallBarring", "VoiceOutgoing"), "all")
    sim.set("CallBarring", "VoiceOutgoing", "disabled", "0000")
    eventually(lambda: sim.see("CallBarring", "VoiceOutgoing"), "disabled")


def test_a_ussd_menu(sim, network):
    answer = sim.SupplementaryServices.Initiate("*100#", timeout=30)
    assert answer[0] == "USSD" and answer[1]
    eventually(lambda: sim.see("SupplementaryServices", "State"), "user-response")
    assert sim.SupplementaryServices.Respond("2", timeout=30)
    eventually(lambda: sim.see("SupplementaryServices", "State"), "user-response")
    sim.SupplementaryServices.Respond("4711", timeout=30)
    assert network.holds("ussd answered 4711")
    eventually(lambda: sim.see("SupplementaryServices", "State"), "idle")


def test_packets_over_a_data_context(sim, network):
    sim.set("ConnectionManager", "Powered", True)
    eventually(lambda: sim.see("ConnectionManager", "Attached"), True)
    context = sim.at(sim.ConnectionManager.AddContext("internet"), "ConnectionContext")
    context.SetProperty("AccessPointName", variant("internet"))
    context.SetProperty("Protocol", variant("ip"))
    context.SetProperty("Active", variant(True), timeout=60)
    settings = context.GetProperties()["Settings"]
    assert settings["Interface"] == "veth0"
    assert settings["Address"] in subprocess.check_output(["ip", "-o", "-4", "addr", "show", "veth0"], text=True)
    # What a connection manager does with these settings.
    subprocess.check_call(["ip", "-4", "route", "replace", "default", "dev", "veth0"])
    with socket.create_connection(("10.20.0.1", 80), timeout=10) as server:
        server.sendall(b"GET /\n")
        assert b"greets" in server.makefile("rb").read()
    context.SetProperty("Active", variant(False), timeout=60)
    eventually(lambda: "UP" not in subprocess.check_output(["ip", "-br", "link", "show", "veth0"], text=True).split("<")[1])


def test_the_modem_crashes_in_a_call(sim, network):
    dial(sim, network)
    network.does("modem crash")
    eventually(sim.is_registered, False)
    sim.online()
    eventually(sim.calls, [])
    dial(sim, network)
    hang_up(sim, network)
