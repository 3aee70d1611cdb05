"""Keeps a device running, and passes frames of its sessions between the device and calls of vdev."""

import contextlib
import json
import os
import select
import selectors
import signal
import time

from . import frames
from .progress import Failure

_MOST_SESSIONS = 16
_HANG_UP_SECONDS = 2
_TELL_SECONDS = 1
_NUMBERS = 1 << 16
_OF_A_SESSION = (b"T", b"B", b"I", b"W", b"A")


def refusal(failure):
    return frames.pack(b"F", bytes([failure.status]) + str(failure).encode("utf-8", "replace"))


class Watch:
    """Tells when the terminal or the session of this process has ended. If its parent, which is about
    to end, leads the session, that is the end of the terminal alone. Nothing is told without a
    terminal then, nor to a process that ignores a hang-up."""

    def __init__(self):
        self._poll = select.poll()
        self._held = []
        if signal.getsignal(signal.SIGHUP) is signal.SIG_IGN:
            return
        leader = os.getsid(0)
        if leader != os.getppid():
            self._hold(lambda: os.pidfd_open(leader), select.POLLIN)
        self._hold(lambda: os.open("/dev/tty", os.O_RDONLY | os.O_NOCTTY), 0)

    def _hold(self, opener, events):
        try:
            self._held.append(opener())
        except OSError:
            return
        self._poll.register(self._held[-1], events)

    @property
    def descriptors(self):
        return list(self._held)

    def has_ended(self):
        return bool(self._poll.poll(0))


class _Client:
    """A call of vdev, with its session if it has begun one."""

    def __init__(self, connection, selector, on_frames):
        """`on_frames` gets the client, too."""
        self.link = frames.Link(connection, selector, lambda some: on_frames(self, some))
        self.session = None
        self.on_its_way = 0  # bytes of text and input


class Keeper:
    """The owner of a device that stays. It ends the device when it is asked to, when the watch says
    so, and when `only`, the connection of the one call that it is for, is closed."""

    def __init__(self, device, about, on_up, watch=None, place=None, only=None, log=None):
        """`about` is what a call learns that asks; `on_up` is called when the device is up."""
        self._device = device
        self._about = about
        self._call_when_up = on_up
        self._watch = watch
        self._place = place
        self._only = only
        self._log = log
        self._log_failure = None
        self._since = time.monotonic()
        self._clients = {}  # by session
        self._hung_up = {}  # by session, when its processes are killed
        self._number = 0

    def on_up(self):
        self._since = time.monotonic()
        if self._only is not None:
            self._add(self._only)
        if self._place is not None:
            listener = self._place.listen()
            self._device.selector.register(listener, selectors.EVENT_READ,
                                           lambda _: self._accept(listener))
        self._call_when_up()

    def on_log(self, data):
        if self._log is None:
            return
        try:
            self._log.write(data)
        except OSError as error:
            self._log, self._log_failure = None, Failure("the log is not whole: %s" % error)

    def on_turn(self):
        if self._watch is not None and self._watch.has_ended():
            self._device.end(0, powers_off=False)
        for session, until in list(self._hung_up.items()):
            if until is not None and time.monotonic() > until:
                self._signal(session, signal.SIGKILL)
                self._hung_up[session] = None

    def on_frame(self, kind, session, payload):
        client = self._clients.get(session)
        if kind == b"X":
            self._clients.pop(session, None)
            self._hung_up.pop(session, None)
        if client is None:
            return
        if kind == b"X":
            client.session = None
        elif kind == b"A":
            client.on_its_way -= frames.NUMBER.unpack(payload)[0]
        client.link.send(frames.pack(kind, payload))

    def tell(self, failure):
        """Sends all sessions the reason for the device's end."""
        for client in self._clients.values():
            client.link.send_last(refusal(failure), _TELL_SECONDS)

    def _accept(self, listener):
        with contextlib.suppress(OSError):  # the call has ended, or there are too many
            self._add(listener.accept()[0])

    def _add(self, connection):
        _Client(connection, self._device.selector, self._on_frames)

    def _on_frames(self, client, some):
        try:
            requests = None if some is None else list(some)
        except Failure:  # its bytes are no frames
            requests = None
        if requests is None or not all(self._on_request(client, kind, payload)
                                       for kind, _, payload in requests):
            self._remove(client)

    def _on_request(self, client, kind, payload):
        """False for one that is none."""
        if kind == b"Q":
            about = dict(self._about, sessions=len(self._clients),
                         seconds=time.monotonic() - self._since)
            client.link.send(frames.pack(b"S", json.dumps(about).encode()))
        elif kind == b"P":
            if self._log_failure is not None:
                client.link.send(refusal(self._log_failure))
            self._device.end(0, powers_off=False)
        elif kind in _OF_A_SESSION:
            return self._pass_on(client, kind, payload)
        else:
            return False
        return True

    def _pass_on(self, client, kind, payload):
        if client.session is None:
            if kind not in (b"T", b"B"):
                return True  # the session has ended
            if len(self._clients) + len(self._hung_up) == _MOST_SESSIONS:
                client.link.send(refusal(Failure("the device has %d sessions already" %
                                                 _MOST_SESSIONS)))
                return True
            self._begin(client)
        if kind in (b"T", b"I"):
            client.on_its_way += len(payload)
        if client.on_its_way > frames.INPUT_WINDOW:
            return False
        self._device.send(kind, payload, client.session)
        return True

    def _begin(self, client):
        taken = {0, self._number, *self._clients, *self._hung_up}
        self._number = next(number for number in range(self._number, self._number + _NUMBERS)
                            if number % _NUMBERS not in taken) % _NUMBERS
        client.session = self._number
        self._clients[client.session] = client
        client.on_its_way = 0

    def _remove(self, client):
        """Sends SIGHUP to the processes of a session whose call has ended."""
        client.link.close()
        if client.session is not None:
            del self._clients[client.session]
            self._signal(client.session, signal.SIGHUP)
            self._hung_up[client.session] = time.monotonic() + _HANG_UP_SECONDS
        if client.link.connection is self._only:
            self._device.end(0, powers_off=False)

    def _signal(self, session, number):
        self._device.send(b"K", frames.NUMBER.pack(number), session)
