"""The modem program at the phone's own paths, and clients that write and read its sockets byte by byte.

    modem.py MODEM
"""
import os
import re
import struct
import sys

sys.path.append(os.path.join(os.path.dirname(__file__), "../../harness"))
from programs import CONTROL, Control, Lines, Program, connect, receive, until

MODEM = sys.argv[1]
REG, SEND, RECV, MARKER = "/data/rpc_reg", "/data/rpc_send", "/data/rpc_recv", "/data/rpcd/rpcd.txt"
LINK, TAP = "/dev/socket/modemlink", "/dev/socket/uta_tap"
OWN_FILES = [REG, SEND, RECV, MARKER, CONTROL, LINK, TAP]

# The generator's version, which every modem answers: what comes back before it was sent earlier.
VERSION_CALL = "02 04 00000013 02 04 00000020 20000100 7F 20 00"
VERSION_RETURN = "020400000016 020400000408 20000100 0204000004E1"
# Opening the SIM of stack 0, and its return without the result.
OPEN = "02040000001A 020400000091 20000100 7F811106 020400000000"
OPENED = "020400000016 020400000479 20000100 0204"
# A mode request of stack 0, mode on, with the callback 0x08049ABC and the context 0x20000105; return, response.
SET_MODE = ("020400000035 0204000000E4 20000105 7F816421 7F06060204 20000105 020408049ABC 020400000000 020400000001"
            " 020400000000")
SET_MODE_RETURN = "020400000016 0204000004CC 20000105 020400000000"
SET_MODE_RESPONSE = ("02040000002F 0204000000E3 20000105 7F81631B 020400000000 7F06060204 20000105 020400000001"
                     " 020400000000")
SET_MODE_RESPONSE_ID, ACCEPTED, SET_MODE_TOLD, ALERTING = 0xE3, 0x2D, 0xE9, 0x25
RESPONSES = (SET_MODE_RESPONSE_ID, ACCEPTED)


class Modem(Program):
    """Up when its first client comes, unless the options say otherwise."""

    def __init__(self, *options, waits=True):
        super().__init__(MODEM, "--quiet", "--seed", "0", "--boot-delay", "0", *options)
        if waits:
            until(lambda: os.path.exists(MARKER))


class Client:
    """Of the RPC daemon."""

    def __init__(self, is_whole=True):
        self.sockets = []
        if is_whole:
            self.say_register()
            self.take_app_id()
            self.say_deregister()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for it in self.sockets:
            it.close()

    def connect(self, path):
        self.sockets.append(connect(path))
        return self.sockets[-1]

    def say_register(self):
        self.reg = self.connect(REG)
        self.reg.sendall(b"REGISTER")

    def take_app_id(self):
        self.app_id = self.reg.recv(50)[0]
        self.send = self.connect(SEND)
        assert self.send.recv(50)
        self.recv = self.connect(RECV)
        assert self.recv.recv(50)

    def say_deregister(self):
        self.send.sendall(b"DEREGISTER" + bytes([self.app_id]))

    def write(self, *packets):
        self.send.sendall(bytes.fromhex("".join(packets)))

    def packet(self, indication=None):
        """The next packet; of indications, which come when the modem likes, only that of the function."""
        while True:
            head = receive(self.recv, 12)
            packet = head + receive(self.recv, struct.unpack(">H", head[4:6])[0] - len(head))
            function = struct.unpack(">H", packet[10:12])[0]
            if function >= 0x3E8 or function in RESPONSES or function == indication:
                return packet

    def hears(self, *packets, indication=None):
        for wanted in packets:
            seen = self.packet(indication)
            assert seen == bytes.fromhex(wanted), f"{seen.hex()}, wanted {wanted}"

    def is_served(self):
        self.write(VERSION_CALL)
        self.hears(VERSION_RETURN)


def is_over(connection):
    """Waits for it."""
    try:
        return connection.recv(1) == b""
    except ConnectionError:
        return True


# --- Clients that come ----------------------------------------------------------------------------------------------


def files_come_and_go():
    with Modem():
        assert all(map(os.path.exists, OWN_FILES))
    assert not any(map(os.path.exists, OWN_FILES))
    first = Modem()
    first.process.kill()
    first.status()
    with Modem(waits=False), Client() as client:  # what a dead one left gives way
        client.is_served()


def a_second_modem_leaves_the_first_alone():
    capture = "/dev/socket/capture"
    with Modem("--capture", capture), Client() as client:
        with open(capture, encoding="ascii") as stream:
            captured = stream.read()
            assert captured
            assert Modem("--capture", capture, waits=False).status() == 1
            stream.seek(0)
            assert stream.read().startswith(captured)
        assert all(map(os.path.exists, OWN_FILES))
        client.is_served()


def attempts_that_fail_keep_nobody_out():
    def wrong_deregistration(it):
        it.say_register()
        it.take_app_id()
        it.send.sendall(b"DEREGISTER\x63")
        assert is_over(it.send)

    attempts = [
        lambda it: it.connect(REG), lambda it: it.connect(REG).sendall(b"REGIS"), lambda it: it.say_register(),
        lambda it: (it.say_register(), it.reg.recv(50), it.connect(SEND)),
        lambda it: (it.say_register(), it.take_app_id()), wrong_deregistration,
        lambda it: is_over(it.connect(RECV))]  # nobody waits for it
    with Modem():
        for attempt in attempts:
            with Client(False) as failing:
                attempt(failing)
            with Client() as client:
                assert client.app_id == 1
                client.is_served()
        with Client(False) as first, Client(False) as second:  # both of one process
            first.say_register()
            second.say_register()
            first.take_app_id()
            # What follows in the same write is a packet, and the next one comes in pieces.
            first.send.sendall(b"DEREGISTER\x01" + bytes.fromhex(VERSION_CALL) * 100)
            second.take_app_id()
            second.say_deregister()
            for piece in VERSION_CALL[:8], VERSION_CALL[8:]:
                second.write(piece)
                first.write(VERSION_CALL)
                first.hears(*[VERSION_RETURN] * (101 if piece == VERSION_CALL[:8] else 1))
            second.hears(VERSION_RETURN)
            assert (first.app_id, second.app_id) == (1, 2)


# --- Packets --------------------------------------------------------------------------------------------------------


def every_call_is_answered():
    with Modem() as modem, Client() as client:
        for call, answer in [
                # A function that nobody serves; a stack that there is not.
                ("020400000019 02040000005C 20000100 7F5C06 020400000001",
                 "020400000016 020400000444 20000100 020400000000"),
                ("02040000001A 020400000091 20000100 7F811106 020400000002", OPENED + "00000000"),
                # A function whose record is not known, an id that is no function's.
                ("020400000013 020400000063 20000155 7F6300", "020400000016 02040000044B 20000155 020400000000"),
                ("020400000010 0204000000EB 20000100", "020400000016 0204000004D3 20000100 020400000000"),
                # One that is cut short, one with something behind it.
                ("020400000018 020400000091 20000100 7F811106 02040000", OPENED + "FFFFFFFF"),
                ("02040000001C 020400000091 20000100 7F811108 020400000000 0500", OPENED + "00000000")]:
            client.write(call)
            client.hears(answer)
        # One-way, one that ends before its context id: not answered.
        for call in "02040000001A 020400000174 20000100 02020001 020400000001", "02040000000E 020400000091 2000":
            client.write(call)
            client.is_served()
        assert modem.process.poll() is None


def the_seed_orders_responses_and_indications():
    with Modem("--seed", "1", "--latency", "0"), Client() as client:
        overtakes = 0
        for i in range(40):
            client.write(SET_MODE[:-25] + f"02040000000{1 - i % 2} 020400000000")
            client.hears(SET_MODE_RETURN)
            kinds = [client.packet(SET_MODE_TOLD)[11] for _ in range(2)]
            assert sorted(kinds) == [SET_MODE_RESPONSE_ID, SET_MODE_TOLD], kinds
            overtakes += kinds[0] == SET_MODE_TOLD
        assert 5 < overtakes < 35, overtakes


def bad_clients_are_let_go():
    with Modem(), Client() as good:
        for bad in "474152424147452121212121", "02040000000B0204000000200000", "020400010000 020400000020 2000":
            with Client() as client:
                client.write(bad)
                assert is_over(client.recv) and is_over(client.send), bad
        for ended, other in ("send", "recv"), ("recv", "send"):
            with Client() as half, Client() as client:
                half.write("020400000029 0204000000")
                client.is_served()
                assert client.app_id == 3
                getattr(half, ended).close()
                assert is_over(getattr(half, other))
        good.is_served()


def clients_that_read_late_lose_nothing_and_deaf_ones_are_let_go():
    with Modem(), Client() as late, Client() as deaf:
        control = Control()
        for i in range(1000):
            control.does(f"send 1 UtaMsCallCsAlertingIndCb sim_id={i}")
        for i in range(1000):
            assert late.packet(ALERTING)[-4:] == struct.pack(">I", i)
        answer = "ok"
        for _ in range(10000):
            if answer == "ok":
                answer = control("send 2 UtaMsCallCsIncomingCallIndCb number=1234")
        assert answer == "error no such client: 2"
        late.is_served()
        # What was sent before can still be read, in whole packets, and never more at a time than a buffer takes.
        unread = deaf.recv.recv(65536)
        assert 6 < len(unread) < 32768 and len(unread) % struct.unpack(">H", unread[4:6])[0] == 0, len(unread)


# --- Power ----------------------------------------------------------------------------------------------------------

DOWN, UP, RESET, SHUTDOWN = 0xB1000000, 0xB2000000, 0xB3000000, 0xB4000000
POWER_FILE = "/sys/devices/platform/tqz_boot/state"


class Listener:
    def __init__(self):
        self.socket = connect(LINK)
        self.request(0xB7000000)

    def request(self, code):
        self.socket.sendall(struct.pack("<I", code))

    def hears(self, *events):
        for event in events:
            heard = struct.unpack("<I", receive(self.socket, 4))[0]
            assert heard == event, f"{heard:08X}, wanted {event:08X}"


def power_is_told():
    with Modem(), Client() as client:
        control, listener = Control(), Listener()
        listener.hears(UP)
        for command, events in [("crash", [DOWN, UP]), ("reset", [RESET, DOWN, UP]), ("down", [DOWN]), ("up", [UP]),
                                ("hang", []), ("shutdown", [SHUTDOWN, DOWN])]:
            control.does("modem " + command)
            listener.hears(*events)
        with open(POWER_FILE, encoding="ascii") as stream:
            assert stream.read() == "OFF"
        control.does("event 12345678")
        listener.hears(0x12345678)
        late = Listener()  # hears nothing before the modem is up again
        control.does("modem up")
        listener.hears(UP)
        late.hears(UP)
        listener.request(0xA1000000)
        listener.hears(RESET, DOWN, UP)
        for state, events in ("OFF", [SHUTDOWN, DOWN]), ("ON", [UP]):
            with open(POWER_FILE, "w", encoding="ascii") as stream:
                stream.write(state)
            listener.hears(*events)
        # UtaMsSysShutdown is answered before the power goes.
        client.write("02040000001A 0204000000C4 20000100 7F814406 020400000000")
        client.hears("020400000016 0204000004AC 20000100 020400000000")
        listener.hears(SHUTDOWN, DOWN)


# --- Scenarios ------------------------------------------------------------------------------------------------------


def functions_refuse_are_late_and_drop():
    with Modem("--latency", "0"), Client() as client:
        control = Control()
        for command, result in [("refuse UtaMsSimOpenReq", "FFFFFFFF"), ("refuse 145 -2 once", "FFFFFFFE"),
                                ("latency 0", "00000000"), ("refuse * 3", "00000003"), ("normal *", "00000000")]:
            control.does(command)
            client.write(OPEN)
            client.hears(OPENED + result)
        control.does("refuse UtaMsCpsSetModeReq 5 once")
        client.write(SET_MODE)
        client.hears("020400000016 0204000004CC 20000105 020400000005")  # and no response
        # Both calls are in one write, so that the modem has both when it answers the first.
        control.does("late UtaMsCpsSetModeRsp 50 once")
        client.write(SET_MODE, SET_MODE.replace("0105", "0106"))
        client.hears(*[it.replace("0105", context) for it, context in [
            (SET_MODE_RETURN, "0105"), (SET_MODE_RETURN, "0106"), (SET_MODE_RESPONSE, "0106"),
            (SET_MODE_RESPONSE, "0105")]])
        # What is on its way at a crash never comes.
        control.does("late UtaMsCpsSetModeRsp 50 once")
        client.write(SET_MODE)
        client.hears(SET_MODE_RETURN)
        control.does("modem crash", "late UtaMsCpsSetModeRsp 100 once")
        client.write(VERSION_CALL)
        while client.packet() != bytes.fromhex(VERSION_RETURN):
            pass  # the response, had the crash been late
        client.write(SET_MODE.replace("0105", "0106"))
        client.hears(SET_MODE_RETURN.replace("0105", "0106"), SET_MODE_RESPONSE.replace("0105", "0106"))
        control.does("drop UtaMsSimOpenReq", "drop UtaMsCpsSetModeRsp once")  # not even refused
        client.write(OPEN, SET_MODE)
        client.hears(SET_MODE_RETURN)
        control.does("silent responses")
        client.write(SET_MODE)
        client.hears(SET_MODE_RETURN)
        control.does("silent off", "version 1300")
        client.write(VERSION_CALL)
        client.hears(VERSION_RETURN[:-4] + "0514")


def mistakes_are_told():
    with Modem():
        control = Control()
        for line in ["dance", "modem sideways", "modem up now", "refuse Nobody", "refuse UtaMsSimOpenReq 0",
                     "late UtaMsSimOpenReq -1", "version x", "event 123", "send 9 UtaMsSimFullAccessIndCb",
                     "send * UtaMsSimFullAccessIndCb nothing=1", "raw * 0", "stack 2 on", 'send * "unclosed']:
            answer = control(line)
            assert answer.startswith("error "), f"{line}: {answer}"
        control.does("", "# nothing")


def scripts_play_and_end_the_modem():
    def script(text):
        with open("/data/script", "w", encoding="ascii") as stream:
            stream.write(text)
        return Modem("--script", "/data/script", waits=False)

    modem = script("# a comment\n0 refuse UtaMsCallCsAcceptCallReq 1\n0 expect UtaMsCallCsAcceptCallReq\n"
                   "+10 send 1 UtaMsCallCsAcceptCallRspCb call_id=1\n+0 raw * 0102 03\n100 expect UtaMsSimOpenReq\n"
                    "+0 quit\n")
    with Client() as client:
        client.write("020400000029 02040000002C 20000105 7F2C16 7F06060204 20000105 7F810003020101 020400000000")
        client.hears("020400000016 020400000414 20000105 020400000001",
                     "020400000039 02040000002D 20000105 7F2D26 7F06060204 20000105 7F811913 020400000000 020400000000"
                     " 7F810003020101 020400000000")
        assert receive(client.recv, 3) == b"\1\2\3"
        client.write(OPEN)
        client.hears(OPENED + "00000000")
        assert modem.status() == 0
    for text, status in ("0 expect UtaMsSimOpenReq 10\n", 1), ("0 dance\n", 2), ("-1 quit", 2):
        assert script(text).status() == status, text
        assert not os.path.exists(MARKER)


def all_is_captured():
    wanted = ["# uta capture 1: time client socket direction bytes", "0 event < B2000000", "1 reg > 5245474953544552",
              "1 reg < 01", "1 send < 48454C4C4F", "1 recv < 48454C4C4F", "1 send > 4445524547495354455201",
              "1 send > " + VERSION_CALL.replace(" ", ""), "1 recv < " + VERSION_RETURN.replace(" ", "")]
    without_time = lambda line: re.sub(r"^\d+\.\d{9} ", "", line)
    with Modem("--capture", "/data/capture", "--no-boot"):
        tap = Lines(connect(TAP))
        heard = [tap.hear()]
        Control().does("modem up")
        with Client() as client:
            client.is_served()
            heard += [without_time(tap.hear()) for _ in wanted[1:]]
    assert heard == wanted, heard
    with open("/data/capture", encoding="ascii") as stream:
        assert [without_time(line) for line in stream.read().splitlines()] == wanted


for test in (files_come_and_go, a_second_modem_leaves_the_first_alone, attempts_that_fail_keep_nobody_out,
             every_call_is_answered, the_seed_orders_responses_and_indications, bad_clients_are_let_go,
             clients_that_read_late_lose_nothing_and_deaf_ones_are_let_go, power_is_told,
             functions_refuse_are_late_and_drop, mistakes_are_told, scripts_play_and_end_the_modem, all_is_captured):
    print(test.__name__, flush=True)
    test()
