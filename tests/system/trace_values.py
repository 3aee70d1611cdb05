#!/usr/bin/env python3
"""Lists what a trace holds, read by field numbers alone.

    trace_values.py TRACE        a line a value: seconds since boot, track, value, unit

The numbers are those that the trace format publishes; nothing of the program that wrote the trace
is used. Instant events are listed with their name and arguments in place of a value, the battery's
packets as tracks "batt.NAME".
"""

import struct
import sys

PACKET, TIMESTAMP, EVENT, BATTERY, SYSTEM, TRACK = 1, 8, 11, 38, 45, 60
TRACK_UUID, TRACK_NAME, TRACK_COUNTER, COUNTER_UNIT = 1, 2, 8, 6
EVENT_ARGUMENT, EVENT_TRACK, EVENT_NAME, EVENT_INTEGER, EVENT_REAL = 4, 11, 23, 30, 44
ARGUMENT_NAME, ARGUMENT_VALUES = 10, (2, 4, 5, 6)
BATTERY_TRACKS = {3: "batt.current_ua", 7: "batt.voltage_uv"}
SYSTEM_FINGERPRINT = 2
VARINT, FIXED64, BYTES = 0, 1, 2


def varint(data, at):
    """The number there, and where it ends."""
    number = shift = 0
    while True:
        byte = data[at]
        number |= (byte & 0x7f) << shift
        at, shift = at + 1, shift + 7
        if byte < 0x80:
            return number, at


def decoded(data):
    """The message as a list of (number, value): an integer, a real, or bytes."""
    fields, at = [], 0
    while at < len(data):
        key, at = varint(data, at)
        if key & 7 == VARINT:
            value, at = varint(data, at)
            value -= 2**64 if value >= 2**63 else 0
        elif key & 7 == FIXED64:
            value, at = struct.unpack_from("<d", data, at)[0], at + 8
        elif key & 7 == BYTES:
            size, at = varint(data, at)
            value, at = data[at:at + size], at + size
            assert len(value) == size, "the file ends in a field"
        else:
            raise ValueError("wire type %d" % (key & 7))
        fields.append((key >> 3, value))
    return fields


def packets(path):
    """The fields of each packet."""
    with open(path, "rb") as file:
        for key, packet in decoded(file.read()):
            assert key == PACKET, key
            yield dict(decoded(packet))


def arguments(event):
    """An event's arguments as NAME=VALUE."""
    for key, value in event:
        if key == EVENT_ARGUMENT:
            fields = dict(decoded(value))
            held = next(fields[each] for each in ARGUMENT_VALUES if each in fields)
            held = held.decode() if isinstance(held, bytes) else str(held)
            yield "%s=%s" % (fields[ARGUMENT_NAME].decode(), held)


def fingerprint(path):
    """The build that the first packet about the system names."""
    systems = (fields[SYSTEM] for fields in packets(path) if SYSTEM in fields)
    return dict(decoded(next(systems)))[SYSTEM_FINGERPRINT].decode()


def values(path):
    """Yields seconds since boot, track, value (or an instant event's name and arguments) and unit.
    Of a track that is described twice the first description holds; a different one is an error."""
    tracks = {}
    for fields in packets(path):
        time = fields.get(TIMESTAMP, 0) / 1e9
        if TRACK in fields:
            track = dict(decoded(fields[TRACK]))
            if tracks.setdefault(track[TRACK_UUID], track) != track:
                raise ValueError("track %d is described in two ways" % track[TRACK_UUID])
        elif BATTERY in fields:
            for number, value in decoded(fields[BATTERY]):
                yield time, BATTERY_TRACKS[number], "%d" % value, ""
        elif EVENT in fields:
            event = decoded(fields[EVENT])
            first = dict(event)
            track = tracks[first[EVENT_TRACK]]
            unit = dict(decoded(track.get(TRACK_COUNTER, b""))).get(COUNTER_UNIT, b"").decode()
            if EVENT_NAME in first:
                value = " ".join([first[EVENT_NAME].decode(), *arguments(event)])
            elif EVENT_REAL in first:
                value = "%g" % first[EVENT_REAL]
            else:
                value = "%d" % first[EVENT_INTEGER]
            yield time, track[TRACK_NAME].decode(), value, unit


if __name__ == "__main__":
    for line in values(sys.argv[1]):
        print("%.3f\t%s\t%s\t%s" % line)
