"""Frames between the launcher and a device, and between calls of vdev and the keeper of a device.

vdevice/lib/Frames.h has their list. A keeper passes a session's frames on, and answers two more:
"Q" asks for its state, "P" ends the device. Its own "F" holds an exit status (8 bits) and a reason.
"""

import contextlib
import selectors
import struct

from .progress import Failure

HEAD = struct.Struct("<cHI")  # type, session, length
SIZE = struct.Struct("<HH")  # lines and columns
NUMBER = struct.Struct("<I")
STATUS = struct.Struct("<i")
# Bytes of a session that may be in transit, and the maximum size of a frame.
OUTPUT_WINDOW = 65536
INPUT_WINDOW = 4096
MOST_BYTES = 16384


def pack(kind, payload=b"", session=0):
    return HEAD.pack(kind, session, len(payload)) + payload


class Reader:
    """Splits received bytes into frames."""

    def __init__(self):
        self._pending = bytearray()

    def take(self, data):
        """The frames that `data` completes: type, session and bytes."""
        self._pending.extend(data)
        while len(self._pending) >= HEAD.size:
            kind, session, length = HEAD.unpack_from(self._pending)
            if length > MOST_BYTES:
                raise Failure("a frame of %d bytes" % length)
            if len(self._pending) < HEAD.size + length:
                return
            payload = bytes(self._pending[HEAD.size:HEAD.size + length])
            del self._pending[:HEAD.size + length]
            yield kind, session, payload


class Link:
    """A connection that takes and sends frames without blocking, on a selector."""

    def __init__(self, connection, selector, on_frames):
        """`on_frames` gets an iterator of the frames that have arrived, or None at the end. The
        iterator raises Failure for bytes that are no frame."""
        connection.setblocking(False)
        self.connection = connection
        self._selector = selector
        self._on_frames = on_frames
        self._reader = Reader()
        self._outgoing = bytearray()
        selector.register(connection, selectors.EVENT_READ, self._on_ready)

    def send(self, frame):
        """Sends it now, or when the other end can receive it."""
        self._outgoing.extend(frame)
        self._write()

    def send_last(self, frame, seconds):
        """Sends it with what is left, within this time, when the selector is not in use any more."""
        self.connection.settimeout(seconds)
        with contextlib.suppress(OSError):
            self.connection.sendall(self._outgoing + frame)

    def close(self):
        self._selector.unregister(self.connection)
        self.connection.close()

    def _write(self):
        try:
            del self._outgoing[:self.connection.send(self._outgoing)]
        except BlockingIOError:
            pass
        except OSError:  # the other end is closed; the next read reports it
            self._outgoing.clear()
        write = selectors.EVENT_WRITE if self._outgoing else 0
        self._selector.modify(self.connection, selectors.EVENT_READ | write, self._on_ready)

    def _on_ready(self, events):
        if events & selectors.EVENT_WRITE:
            self._write()
        if not events & selectors.EVENT_READ:
            return
        try:
            data = self.connection.recv(65536)
        except BlockingIOError:
            return
        except OSError:
            data = b""
        self._on_frames(self._reader.take(data) if data else None)
