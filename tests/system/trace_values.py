#!/usr/bin/env python3
"""Lists what a trace holds, read by field numbers alone from `protoc --decode_raw`.

    trace_values.py TRACE        a line a value: seconds since boot, track, value, unit

The numbers are those that the trace format publishes; nothing of the program that wrote the trace
is used. Instant events are listed with their arguments in place of a value.
"""

import re
import struct
import subprocess
import sys

PACKET, TIMESTAMP, EVENT, TRACK = "1", "8", "11", "60"
TRACK_UUID, TRACK_NAME, TRACK_COUNTER, COUNTER_UNIT = "1", "2", "8", "6"
EVENT_ARGUMENT, EVENT_TRACK, EVENT_NAME, EVENT_INTEGER, EVENT_REAL = "4", "11", "23", "30", "44"
ARGUMENT_NAME, ARGUMENT_VALUES = "10", ("2", "4", "5", "6")


def decoded(path):
    """The message as a list of (number, value); a value is a text or such a list."""
    with open(path, "rb") as file:
        lines = subprocess.run(["protoc", "--decode_raw"], stdin=file, capture_output=True,
                               text=True, check=True).stdout.splitlines()
    stack = [[]]
    for line in lines:
        line = line.strip()
        if line == "}":
            stack.pop()
        elif line.endswith("{"):
            inner = []
            stack[-1].append((line[:-1].strip(), inner))
            stack.append(inner)
        else:
            number, _, value = line.partition(": ")
            stack[-1].append((number, value))
    return stack[0]


def text(value):
    """A string as it was written: decode_raw quotes it, with octal escapes for other bytes."""
    raw = re.sub(rb"\\([0-7]{3})", lambda match: bytes([int(match[1], 8)]), value[1:-1].encode())
    return raw.decode()


def integer(value):
    number = int(value, 0)
    return number - 2**64 if number >= 2**63 else number


def number_of(event):
    if EVENT_REAL in event:
        return "%g" % struct.unpack("<d", struct.pack("<Q", int(event[EVENT_REAL], 0)))[0]
    return str(integer(event[EVENT_INTEGER]))


def arguments(event):
    for key, value in event:
        if key == EVENT_ARGUMENT:
            fields = dict(value)
            held = next(fields[each] for each in ARGUMENT_VALUES if each in fields)
            yield "%s=%s" % (text(fields[ARGUMENT_NAME]),
                             text(held) if held.startswith('"') else integer(held))


def values(path):
    """Yields seconds since boot, track, value (or an instant event's arguments) and unit."""
    names, units = {}, {}
    for key, packet in decoded(path):
        assert key == PACKET, key
        fields = dict(packet)
        if TRACK in fields:
            track = dict(fields[TRACK])
            names[track[TRACK_UUID]] = text(track[TRACK_NAME])
            if isinstance(track.get(TRACK_COUNTER), list):
                units[track[TRACK_UUID]] = text(dict(track[TRACK_COUNTER])[COUNTER_UNIT])
        elif EVENT in fields:
            event = dict(fields[EVENT])
            track = event[EVENT_TRACK]
            what = " ".join(arguments(fields[EVENT])) if EVENT_NAME in event else number_of(event)
            yield int(fields[TIMESTAMP]) / 1e9, names[track], what, units.get(track, "")


if __name__ == "__main__":
    for line in values(sys.argv[1]):
        print("%.3f\t%s\t%s\t%s" % line)
