"""For scripts that drive the phone's programs from outside: sockets at the phone's own paths, and clients of rild."""
import os
import socket
import struct
import subprocess
import time

CONTROL = "/dev/socket/modem_control"
PATIENCE = 20.0  # a script that runs into it has failed


def until(holds):
    deadline = time.monotonic() + PATIENCE
    while not holds():
        assert time.monotonic() < deadline, "it doesn't come"
        time.sleep(0.002)


def connect(path):
    """Once somebody listens there."""
    client = socket.socket(socket.AF_UNIX)
    client.settimeout(PATIENCE)
    until(lambda: client.connect_ex(path) == 0)
    return client


def listen(path):
    if os.path.exists(path):
        os.unlink(path)
    server = socket.socket(socket.AF_UNIX)
    server.settimeout(PATIENCE)
    server.bind(path)
    server.listen(5)
    return server


def accept(server):
    client = server.accept()[0]
    client.settimeout(PATIENCE)
    return client


def receive(connection, size):
    """Exactly so many bytes, fewer when the other side hangs up."""
    data = b""
    while len(data) < size:
        part = connection.recv(size - len(data))
        if not part:
            break
        data += part
    return data


class Lines:
    """A connection that speaks in lines."""

    def __init__(self, connection):
        self.stream = connection.makefile("rw", encoding="utf-8", newline="\n")

    def say(self, line):
        self.stream.write(line + "\n")
        self.stream.flush()

    def hear(self):
        return self.stream.readline().rstrip("\n")


class Control(Lines):
    """Of the simulated modem."""

    def __init__(self):
        super().__init__(connect(CONTROL))

    def __call__(self, command):
        """The answer up to "ok" or "error ..."."""
        self.say(command)
        lines = [self.hear()]
        while lines[-1] and lines[-1] != "ok" and not lines[-1].startswith("error "):
            lines.append(self.hear())
        return "\n".join(lines)

    def does(self, *commands):
        for command in commands:
            answer = self(command)
            assert answer == "ok", f"{command}: {answer}"


class Program:
    def __init__(self, *words, **options):
        self.process = subprocess.Popen([str(word) for word in words], **options)

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        if kind is None:
            self.end()
        else:
            self.process.kill()

    def end(self):
        """In order: a sanitizer that found something says so in the exit status."""
        self.process.terminate()
        assert self.status() == 0, self.process.returncode

    def status(self):
        return self.process.wait(PATIENCE)


def parcel(*values):
    """Integers; texts and bytes with their counts; None is the count -1."""
    data = b""
    for value in values:
        if value is None or isinstance(value, int):
            data += struct.pack("<i", -1 if value is None else value)
        elif isinstance(value, bytes):
            data += struct.pack("<i", len(value)) + value + bytes(-len(value) % 4)
        else:
            units = value.encode("utf-16-le")
            data += struct.pack("<i", len(units) // 2) + units + bytes(2) + bytes(-(len(units) + 2) % 4)
    return data


def framed(data):
    return struct.pack(">I", len(data)) + data


def request(number, serial, *values):
    return framed(parcel(number, serial, *values))


class Client:
    """Of rild's socket: integers and texts, one behind the other, and what a form takes off an answer."""

    def __init__(self, path="/dev/socket/rild"):
        self.serial = 0
        self.unasked = []  # number and data
        self.socket = connect(path)

    def message(self):
        """Nothing when rild has hung up."""
        length = receive(self.socket, 4)
        self.data = receive(self.socket, struct.unpack(">I", length)[0]) if len(length) == 4 else b""
        return self.data

    def integer(self):
        (value,) = struct.unpack_from("<i", self.data)
        self.data = self.data[4:]
        return value

    def text(self):
        units = self.integer()
        if units < 0:
            return None
        value, self.data = self.data[:2 * units].decode("utf-16-le"), self.data[(2 * units + 2 + 3) // 4 * 4:]
        return value

    def take(self, form):
        """i an integer, s a text, [...] a count and so many of what is in between."""
        values = []
        while form:
            if form[0] == "[":
                inner, form = form[1:form.rindex("]")], form[form.rindex("]") + 1:]
                values.append([self.take(inner) for _ in range(self.integer())])
            else:
                values.append(self.integer() if form[0] == "i" else self.text())
                form = form[1:]
        return values

    def is_unasked(self):
        """Of a message; one that is, is kept."""
        assert self.message(), "rild hung up"
        is_unasked = self.integer() == 1
        if is_unasked:
            self.unasked.append((self.integer(), self.data))
        return is_unasked

    def send(self, number, *arguments):
        self.serial += 1
        self.socket.sendall(request(number, self.serial, *arguments))

    def ask(self, number, arguments, form):
        """The error and the data of the answer."""
        self.send(number, *arguments)
        while self.is_unasked():
            pass
        assert self.integer() == self.serial
        error = self.integer()
        values = self.take(form) if self.data else None
        assert not self.data, f"{len(self.data)} bytes behind the answer to {number}"
        return error, values
