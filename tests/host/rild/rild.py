"""rild with a library that does as it is told, and the console beside it, at their sockets.

    rild.py RILD LIBRARY CONSOLE
"""
import os
import select
import socket
import struct
import subprocess
import sys
import time

sys.path.append(os.path.join(os.path.dirname(__file__), "../../harness"))
from programs import Client, Lines, Program, accept, connect, framed, listen, parcel, receive, request

RILD, LIBRARY, CONSOLE = sys.argv[1:4]
FIRST, SECOND = "/dev/socket/rild", "/dev/socket/rild2"
LIMIT = 8192 - 4  # of a message


class Rild(Program):
    def __init__(self, *arguments):
        mine, its = socket.socketpair()
        super().__init__(RILD, "-l", LIBRARY, "--", *arguments, "-f", its.fileno(), pass_fds=[its.fileno()])
        its.close()
        mine.settimeout(20)
        self.lines = Lines(mine)
        self.hear("init" + "".join(f" {argument}" for argument in arguments))

    def hear(self, *lines):
        for line in lines:
            said = self.lines.hear()
            assert said == line or line.startswith("init") and said.startswith(line + " -f "), f"{said}, wanted {line}"

    def tell(self, *lines):
        """Which the library has obeyed then."""
        for line in lines:
            self.lines.say(line)
        self.lines.say("ping")
        self.hear("pong")


class RilClient(Client):
    def __init__(self, path=FIRST, is_greeted=True):
        super().__init__(path)
        if is_greeted:
            self.hears(*GREETING)

    def hears(self, *messages):
        for message in messages:
            seen = self.message()
            assert seen == message, f"{seen.hex()}, wanted {message.hex()}"

    def is_silent(self):
        return not select.select([self.socket], [], [], 0)[0]

    def is_served(self, rild):
        """And nothing else was on the way to it."""
        rild.tell("mode canned")
        self.socket.sendall(request(38, 4711))
        self.hears(answer(4711, 0, "canned"))
        rild.hear("request 38 0")


def answer(serial, error, *values):
    return parcel(0, serial, error, *values)


def unsol(number, *values):
    return parcel(1, number, *values)


GREETING = [unsol(1034, 1, 9), unsol(1000, 0)]

# --- rild ------------------------------------------------------------------------------------------------------------

# A request of each form.
GOOD = [(23, (1, 5)), (2, (3, "ab", None, "")), (24, ("abc",)), (59, (b"\1\2",)), (10, ("1", 2, 1, 4, 5, b"\xbe\xef")),
        (28, (176, 28589, "3F00", 1, 2, 10, "data", None, "aid")), (33, (2, 0, 1, 129, "12", 5)),
        (63, (1, "pdu", None)), (90, (2, 1, 2, 3, 4, 1, 5, 6, 7, 8, 0))]
LIES = [(23, (0x40000001, 1)), (2, (-2,)), (29, (4, 1, 1)), (59, (-0x80000000, 1)), (90, (-1,)),
        (10, ("1", 0, 1, 0, 0, 9, 1))]


def bad_messages_are_answered():
    with Rild() as rild:
        client = RilClient()
        refused = [(number, parcel(1, 1), 6) for number in (0, 58, 1000, -1)]
        for number, values in GOOD:
            whole = parcel(*values)
            refused += [(number, whole[:size], 2) for size in range(0, len(whole), 4)]  # cut short at every word
        refused += [(number, parcel(*values), 2) for number, values in LIES]
        for number, data, error in refused:
            client.socket.sendall(framed(parcel(number, 8) + data))
            client.hears(answer(8, error))
        client.socket.sendall(framed(b"") + framed(parcel(38)) + framed(parcel(38) + b"abc"))  # nothing to answer
        client.is_served(rild)
        rild.tell("unsol 999", "unsol 1006 no-pointers", "unsol 1010 short")  # without a form, and not in theirs
        rild.tell("mode twice")
        client.socket.sendall(request(38, 7))
        client.hears(answer(7, 0, "canned"))
        rild.hear("request 38 0")
        client.is_served(rild)


def texts_are_turned_into_utf8_and_back():
    with Rild() as rild:
        client = RilClient()
        for units, text in ("fc00ac20", "ü€"), ("3dd800de", "😀"), ("3dd86100", "\ufffda"):
            client.socket.sendall(framed(parcel(29, 1, 2) + bytes.fromhex(units) + bytes(4)))
            client.hears(answer(1, 0))
            rild.hear("request 29 " + text)
        rild.tell("unsol 1003 ü€😀")
        client.hears(unsol(1003, "ü€😀"))


def a_message_has_its_limit():
    with Rild() as rild:
        client = RilClient()
        head = parcel(38, 1)
        client.socket.sendall(b"".join(framed(head.ljust(size, b"x")) for size in (LIMIT, LIMIT + 1, 100_000)))
        client.hears(answer(1, 0, "canned"), answer(1, 2), answer(1, 2))
        rild.hear("request 38 0")
        # 12 bytes of head, the count and 4,086 units are the most.
        for letters, said in [(4085, answer(2, 0, "a" * 4085)), (4086, answer(2, 2))]:
            rild.tell(f"mode text {letters}")
            client.socket.sendall(request(38, 2))
            client.hears(said)
            rild.hear("request 38 0")
        rild.tell("unsol 1003 " + "a" * 4087, "unsol 1003 " + "a" * 4088)
        client.hears(unsol(1003, "a" * 4087))
        client.is_served(rild)
        # A length that nothing can have: answered, and the rest of the stream belongs to it.
        client.socket.sendall(b"\xff" * 4 + head)
        client.hears(answer(1, 2))
        client.socket.sendall(request(38, 5))
        rild.tell("unsol 1018")
        client.hears(unsol(1018))
        client.socket.close()
        RilClient().is_served(rild)


def messages_are_put_together_and_taken_apart():
    with Rild() as rild:
        client = RilClient()
        for byte in request(38, 1):
            client.socket.sendall(bytes([byte]))
        client.hears(answer(1, 0, "canned"))
        client.socket.sendall(b"".join(request(38, serial) for serial in range(301))[:-6])  # the last one is a half
        rild.hear(*["request 38 0"] * 301)
        client.hears(*[answer(serial, 0, "canned") for serial in range(300)])
        client.socket.close()
        RilClient().is_served(rild)


def one_client_is_served_at_a_time():
    with Rild() as rild:
        first, second, third = RilClient(), RilClient(is_greeted=False), RilClient(is_greeted=False)
        rild.tell("mode hold")
        first.socket.sendall(request(38, 1) + request(39, 2))
        rild.hear("request 38 0", "request 39 0")
        assert second.is_silent()
        third.socket.close()  # still in the queue
        first.socket.close()
        second.hears(*GREETING)
        second.socket.sendall(request(38, 3))
        rild.hear("request 38 0")
        rild.tell("release")
        second.hears(answer(3, 0, "canned"))  # and not the answers to the first
        second.is_served(rild)
        second.socket.close()
        RilClient().is_served(rild)


def now():
    return time.clock_gettime_ns(time.CLOCK_BOOTTIME) // 1_000_000


def the_time_waits_for_a_client():
    with Rild() as rild:
        start = now()
        rild.tell("unsol 1008 older", "unsol 1008 12/11/24", "unsol 1018")  # the last is of no use to the next client
        kept = now()
        client = RilClient()
        for text, earliest, latest in [("12/11/24", start, lambda: kept), ("newer", kept, now)]:
            message, head = client.message(), unsol(1008, text)
            assert message[:-8] == head, message.hex()
            assert earliest <= struct.unpack("<q", message[-8:])[0] <= latest()
            rild.tell("unsol 1008 newer")
        client.message()
        client.is_served(rild)
        client.socket.close()
        RilClient().is_served(rild)


def clients_are_greeted_once_the_library_is_there():
    with Rild("-b") as rild:
        rild.hear("timer init")  # callbacks run while RIL_Init waits
        client = RilClient(is_greeted=False)
        client.socket.sendall(request(38, 1))
        rild.tell("unsol 1018", "state 10")
        assert client.is_silent()
        rild.lines.say("go")
        client.hears(unsol(1034, 1, 9), unsol(1000, 10), answer(1, 0, "canned"))
        rild.hear("request 38 0")
    with Rild("-b") as rild:
        rild.hear("timer init")  # and ends in order meanwhile


def callbacks_run_in_due_order_between_requests():
    with Rild() as rild:
        client = RilClient()
        rild.tell("mode park")
        client.socket.sendall(request(13, 2) + request(14, 3))
        rild.hear("request 13 0")
        # While a request is in the library, callbacks wait, and so do requests.
        rild.tell("timer 0 a", "timer 400 e", "timer 300 d", "timer 0 b")
        rild.lines.say("go")
        rild.hear("returns", "timer a", "timer b", "request 14 0", "returns", "timer d", "timer e")
        client.hears(answer(2, 0), answer(3, 0))


def a_client_that_reads_nothing_holds_nobody_up():
    with Rild() as rild:
        client = RilClient()
        rild.tell("burst 100")  # more than the kernel holds, less than rild's bound
        for _ in range(100):
            assert len(client.message()) == 4012
        client.is_served(rild)
        rild.tell("burst 1000")
        RilClient().is_served(rild)  # while the slow one still has its end open
        messages = 0
        while client.message():
            messages += 1
        assert messages < 1000


def the_socket_is_that_of_the_sim():
    for arguments, path in (["--client"], FIRST), (["--", "2nd"], SECOND), (["-c", "2"], FIRST):
        for socket_path in (FIRST, SECOND):
            if os.path.exists(socket_path):
                os.unlink(socket_path)
        with Rild(*arguments):
            RilClient(path)
            assert os.path.exists(FIRST) == (path == FIRST), arguments
    with Rild() as first, Rild("--client", "2") as second:
        client, other = RilClient(), RilClient("/dev/socket/rild1")  # the second's other name
        assert Program(RILD, "-l", LIBRARY).status() == 1  # nobody takes the first's
        client.is_served(first)
        other.is_served(second)
    for words in ["-x"], ["-l", "/no/such.so"], ["-l", "libc.so.6"]:
        assert Program(RILD, *words).status() == 1, words


# --- The console -----------------------------------------------------------------------------------------------------


class Script:
    """A console that carries out a script."""

    def __init__(self, lines, *options):
        with open("/tmp/script", "w", encoding="utf-8") as stream:
            stream.write(lines)
        self.process = subprocess.Popen([CONSOLE, *options, "/tmp/script"], stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True)

    def ends(self, status, *texts):
        said = self.process.communicate(timeout=60)[0]
        assert self.process.returncode == status, said
        for text in texts:
            assert text in said, f"no {text} in:\n{said}"


def scripts_are_held_to_their_expectations():
    with Program(RILD, "-l", LIBRARY):
        connect(FIRST).close()  # the console's first words find a rild that listens
        for lines, status, text in [
                ("imei\nexpect GET_IMEI ok 5 004*|c?nned", 0, "1 steps held"),
                ("imei\nexpect GET_IMEI GENERIC_FAILURE", 1, "it was SUCCESS"),
                ("imei\nexpect completion ok\nfails expect completion ok 0", 0, ""),
                ("imei\nexpect GET_IMEI ok 5 other", 1, "it was canned"),
                ("expect GET_IMEI ok 0.1", 1, "it wasn't completed"),
                ("expect unsol RADIO_STATE_CHANGED 5 on|off\nexpect unsol 1034", 0, "2 steps held"),
                ("expect unsol RADIO_STATE_CHANGED 0.1 on", 1, "it didn't come"),
                ("wait connected\nfails expect no unsol RIL_CONNECTED 0.1\nforget\n"
                 "expect no unsol RIL_CONNECTED 0.1", 0, ""),
                ("fails imei", 1, "it didn't"), ("nonsense", 1, "no such command"), ("dial", 1, "don't suit"),
                ("modem crash", 1, "no modem listens"), ("sim2 imei", 1, "not connected"),
                ("# a comment\n\n  quit\nnonsense", 0, "0 steps held"),
                ("shell echo from the shell; exit 3", 1, "from the shell\n")]:
            Script(lines).ends(status, text)
        Script("nonsense\nnonsense\n", "-k").ends(1, "2 failed")


def wrong_answers_are_told_and_rild_is_found_again():
    server = listen(FIRST)
    script = Script("imei\nimei\nexpect GET_IMEI ok\nexpect GET_IMEI ok\nexpect unsol NEW_SMS\nwait CALL_RING\n")
    client = accept(server)
    receive(client, 24)
    client.sendall(b"".join(map(framed, [answer(2, 0, "ab"), answer(1, 0, 5, 6), answer(1, 0, "ab"), answer(3, 0),
                                         unsol(1003, "x", 7), parcel(2, 3)]))
                   + b"\0\0\x1f\xfd")  # more than 8,192 bytes
    client.close()
    accept(server).sendall(framed(unsol(1018)))
    script.ends(1, "< GET_IMEI SUCCESS ab (", "< GET_IMEI SUCCESS  !! too short",
                "!! an answer to nothing that is open, serial 1\n", "serial 3\n", "* NEW_SMS x !! 4 bytes more\n",
                "!! a message of kind 2\n", "a message of 8189 bytes: hung up")


def traffic_shows_what_is_missing():
    for what in "missing", "twice", "lost":
        server = listen(FIRST)
        script = Script("wait connected\ntraffic on 60000 OPERATOR\nwait CALL_RING\nexpect traffic-balanced 0.2\n")
        client = accept(server)
        client.sendall(framed(unsol(1034, 1, 9)))
        assert receive(client, 12) == request(22, 1)
        if what == "lost":
            client.close()
            client = accept(server)
        client.sendall(framed(answer(1, 0)) * (2 if what == "twice" else 0) + framed(unsol(1018)))
        script.ends(1)


for test in (bad_messages_are_answered, texts_are_turned_into_utf8_and_back, a_message_has_its_limit,
             messages_are_put_together_and_taken_apart, one_client_is_served_at_a_time, the_time_waits_for_a_client,
             clients_are_greeted_once_the_library_is_there, callbacks_run_in_due_order_between_requests,
             a_client_that_reads_nothing_holds_nobody_up,
             the_socket_is_that_of_the_sim, scripts_are_held_to_their_expectations,
             wrong_answers_are_told_and_rild_is_found_again, traffic_shows_what_is_missing):
    print(test.__name__, flush=True)
    test()
