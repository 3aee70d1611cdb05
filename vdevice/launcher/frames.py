"""Frames between the launcher and a device, and between calls of vdev and the keeper of a device.

vdevice/lib/Frames.h has their list. A keeper passes a session's frames on, and answers two more:
"Q" asks for its state, "P" ends the device. Its own "F" holds an exit status (8 bits) and a reason.
"""

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
