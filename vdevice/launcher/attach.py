"""Sessions on a device: the connection of a call of vdev to a keeper."""

import contextlib
import json
import os
import select
import signal
import sys
import termios
import time
import tty

from . import frames, places
from .device import STATUS_DIED, STATUS_TIMED_OUT
from .progress import Failure

_ANSWER_SECONDS = 60
_DIED = "the device died before the script ended"


def connect(name):
    """A connection to the keeper of the device `name`."""
    connection = places.connect(name)
    if connection is None:
        raise Failure("the device '%s' is not up yet" % name)
    return connection


def _write_all(descriptor, data):
    while data:
        data = data[os.write(descriptor, data):]


class Session:
    """A script or a shell on the device."""

    def __init__(self, connection, text="", kind=b"s", source=None):
        """`source` is a descriptor that is read for the session's input; `kind` one of SessionKind,
        and what follows it."""
        self._connection = connection
        self._text = text.encode("utf-8", "surrogateescape")
        self._kind = kind
        self._source = source
        self._room = frames.INPUT_WINDOW
        self._taken = 0
        self._reader = frames.Reader()
        self._status = None
        self.on_output = lambda data: _write_all(1, data)
        self.on_errors = lambda data: _write_all(2, data)
        self.on_turn = lambda: None

    def run(self, timeout=None):
        """The status. Raises Failure if the device ends first, or after `timeout` seconds."""
        until = None if timeout is None else time.monotonic() + timeout
        self._send_text()
        while self._status is None:
            sources = [self._connection]
            if self._source is not None and self._room > 0 and self._kind is None:
                sources.append(self._source)
            ready = select.select(sources, [], [], 0.2)[0]
            if self._connection in ready:
                self._take()
            if self._source in ready:
                self._send_input()
            self.on_turn()
            if until is not None and time.monotonic() > until and self._status is None:
                raise Failure("the script was not done after %g s" % timeout, STATUS_TIMED_OUT)
        return self._status

    def send(self, kind, payload=b""):
        try:
            self._connection.sendall(frames.pack(kind, payload))
        except OSError:
            pass  # the device has ended; the next read reports it

    def _send_text(self):
        """Sends as much of the text as the device accepts, then the request to begin."""
        while self._text and self._room > 0:
            part, self._text = self._text[:self._room], self._text[self._room:]
            self._room -= len(part)
            self.send(b"T", part)
        if not self._text and self._kind is not None:
            self.send(b"B", self._kind)
            self._kind = None

    def _send_input(self):
        data = os.read(self._source, self._room)
        self._room -= len(data)
        self.send(b"I", data)
        if not data:
            self._source = None

    def _take(self):
        try:
            data = self._connection.recv(65536)
        except ConnectionResetError:
            data = b""
        if not data:
            raise Failure(_DIED, STATUS_DIED)
        for kind, _, payload in self._reader.take(data):
            if kind == b"O":
                self.on_output(payload)
            elif kind == b"E":
                self.on_errors(payload)
            elif kind == b"A":
                self._room += frames.NUMBER.unpack(payload)[0]
                self._send_text()
            elif kind == b"X":
                self._status = frames.STATUS.unpack(payload)[0]
            elif kind == b"F":
                raise Failure(payload[1:].decode("utf-8", "replace"), payload[0])
            if kind in (b"O", b"E"):
                self._say_taken(len(payload))

    def _say_taken(self, count):
        self._taken += count
        if self._taken >= frames.OUTPUT_WINDOW // 4:
            self.send(b"A", frames.NUMBER.pack(self._taken))
            self._taken = 0


def want_terminal():
    if not (sys.stdin.isatty() and sys.stdout.isatty()):
        raise Failure("shell wants a terminal; use exec for a script", 2)


def _terminal_size():
    size = os.get_terminal_size(1)
    return frames.SIZE.pack(size.lines, size.columns)


def shell(connection):
    """Runs a shell of the device on this process's terminal; returns its status."""
    resized = []
    signal.signal(signal.SIGWINCH, lambda *_: resized.append(True))
    session = Session(connection, kind=b"t" + _terminal_size(), source=0)

    def follow():
        if resized:
            resized.clear()
            session.send(b"W", _terminal_size())

    session.on_turn = follow
    state = termios.tcgetattr(0)
    try:
        tty.setraw(0, termios.TCSADRAIN)  # what has been typed already is for the shell
        return session.run()
    finally:
        with contextlib.suppress(termios.error):  # the terminal was closed
            termios.tcsetattr(0, termios.TCSADRAIN, state)


def _ask(connection, kind):
    """A keeper's answer; None if it closes the connection without one."""
    reader = frames.Reader()
    connection.settimeout(_ANSWER_SECONDS)
    try:
        connection.sendall(frames.pack(kind))
        while True:
            data = connection.recv(65536)
            for answer, _, payload in reader.take(data):
                if answer == b"F":
                    raise Failure(payload[1:].decode("utf-8", "replace"), payload[0])
                return payload
            if not data:
                return None
    except (BrokenPipeError, ConnectionResetError):
        return None
    except TimeoutError:
        raise Failure("the device's keeper does not answer", STATUS_TIMED_OUT) from None


def _print_state(name):
    connection = places.connect(name)
    answer = _ask(connection, b"Q") if connection else None
    if answer is None:
        print("%s  not up yet" % name)
        return
    about = json.loads(answer)
    print("%s  profile %s, %s, up %d s, sessions: %d, process %d" %
          (name, about["profile"], about["arch"], about["seconds"], about["sessions"], about["pid"]))


def status(name):
    """Prints a line for the device, or for each device."""
    for there in [name] if name else places.names():
        _print_state(there)
    return 0


def stop(name):
    """Ends the device. Returns when its processes and files are gone."""
    _ask(connect(name), b"P")
    return 0
