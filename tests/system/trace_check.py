#!/usr/bin/env python3
"""Compares recorded traces with the scenario that was played: "ok NAME" or "not ok NAME: reason".

    trace_check.py TRACE LOG SHORT PROFILE PROGRAM ATOMS

LOG is the device's, in which the scenario's player says when it wrote which second's values; SHORT is
a second recording, which is joined to the first; PROGRAM is the player, asked for the values; ATOMS
are events of all atoms as JSON. All times are the device's own. How long a pull takes is not judged:
the order of the pulls, as the trace shows it, says what was read before and after what. Ends with
status 3, and nothing printed, when the device was too slow to pull each atom a few times.
"""

import bisect
import glob
import json
import os
import re
import subprocess
import sys
import tempfile

import trace_values

ROOT = "zstats_pullerd"
QUERIES = os.path.join(os.path.dirname(__file__), "..", "..", "docs", "trace-queries", "*.sql")
PLAYED = re.compile(r" scenario: second (\d+), written from ([\d.]+) s to ([\d.]+) s$")
LATE = re.compile(r" statsd: late answer to a pull of (\d+) ")
# Fewer values in each track are not enough to check.
LEAST_VALUES = 5
STATUS_TOO_SHORT = 3

# Time of the scenario's first step after its beginning, in s.
FIRST_STEP = 10

# A track, the place of its value in the scenario, and the conversion.
TRACKS = (
    ("battery_level real_level", "nodes/battery_level", int),
    ("battery_temperature milli_degrees", "charger getPsyBatteryTemp", lambda t: int(t) * 100),
    ("battery_voltage_now voltage", "charger getBatteryVoltageNow", int),
    ("battery_current_now current", "charger getPsyBatteryCurrentNow", int),
    ("thermal_status status", "calda status", int),
    ("shell_temperature temperature_1", "calda vector", lambda t: int(t.split()[3])),
    ("screen_panel_backlight panel0_level", "nodes/panel0_brightness_level_qcom", int),
    ("cpu_temperature temperature, index 0", "thermal", lambda t: int(float(t))),
    ("active_wake_up_source active_time, wlan_rx",
     "root/sys/class/wakeup/wakeup3/active_time_ms", int),
)


def scenario_values(program, scenario, second):
    """What holds at this second, by place; of several lines the first."""
    lines = subprocess.run([program, "--values", str(second), scenario], capture_output=True,
                           text=True, check=True).stdout.splitlines()
    values = {}
    for line in lines:
        words = line.split()
        place = words[0] if words[0] not in ("charger", "calda") else " ".join(words[:2])
        values[place] = line[len(place):].strip()
    return values


class Pulls:
    """When the atoms were pulled, as far as the tracks tell. All are pulled in turn, over and over:
    between two values of one track each other atom was pulled."""

    def __init__(self, tracks):
        self._times = [sorted({time for time, _ in points}) for points in tracks.values()]

    def most(self):
        """How many values the longest track has."""
        return max((len(each) for each in self._times), default=0)

    def earliest_read(self, time, failures):
        """The event of this time was read after that; so many pulls of its atom had no event."""
        rounds = 2 + failures
        before = [each[:bisect.bisect_left(each, time)] for each in self._times]
        return max((each[-rounds] for each in before if len(each) >= rounds), default=0)

    def round_within(self, begin, end, failures):
        """Whether an atom of which so many pulls had no event had one between the two."""
        return any(bisect.bisect_left(each, end) - bisect.bisect_right(each, begin) >= 2 + failures
                   for each in self._times)


def fault(points, values, played, pulls, failures):
    """What is wrong with the points of a track, or None. `values` are the scenario's by second."""
    if not points:
        return "no value"
    for time, value in points:
        earliest = pulls.earliest_read(time, failures)
        held = {values[second] for second, begun, replaced in played
                if second in values and begun <= time and replaced >= earliest}
        if value not in held:
            return "%d at %.1f s, where the scenario has %s" % (value, time, sorted(held))
    if any(before[1] == after[1] for before, after in zip(points, points[1:])):
        return "repeats a value"
    for (time, value), end in zip(points, [time for time, _ in points[1:]] + [float("inf")]):
        begun = time
        for second, begins, replaced in played:
            if values.get(second, value) == value:
                begun = max(time, replaced)
            elif pulls.round_within(max(begun, time), min(begins, end), failures + 1):
                return "%d from %.1f s on, where the scenario has others" % (value, time)
    return None


def first_values(tracks):
    """The fields of the first event of each atom and key, as (name of the track, time, value)."""
    for time, event in tracks[ROOT]:
        atom, *fields = event.split(" ")
        pairs = [field.split("=", 1) for field in fields if "=" in field]
        for name, value in pairs:
            for key in ("", ", %s" % pairs[0][1], ", %s %s" % tuple(pairs[0])):
                yield "%s %s%s" % (atom, name, key), time, value


def battery_fault(tracks):
    """What is wrong with Android's own tracks of the battery, or None."""
    for own, name, factor in (("batt.current_ua", "battery_current_now current", -1000),
                              ("batt.voltage_uv", "battery_voltage_now voltage", 1000)):
        values = [int(value) for _, value in tracks.get(own, [])]
        changes = [value for before, value in zip([None] + values, values) if value != before]
        expected = [int(value) * factor for _, value in tracks.get(name, [])]
        if changes != (expected or changes[:1]) or not changes:
            return "%s is %s for %s" % (own, changes, expected)
    return None


def beginning_fault(trace, tracks, played, profile):
    """What is wrong with the time and the device that the trace begins with, or None."""
    with open(os.path.join(profile, "build.prop"), encoding="utf-8") as file:
        properties = dict(line.rstrip("\n").split("=", 1) for line in file if "=" in line)
    build, device = properties["ro.build.fingerprint"], properties["ro.product.device"]
    begins, said = tracks[ROOT][0]
    if played[0][0] != 0 or any(second >= FIRST_STEP and begun <= begins
                                for second, begun, _ in played):
        return "at %.1f s, where the scenario had %s" % (begins, played[:FIRST_STEP + 1])
    said = re.sub("=[0-9a-f-]+(?= |$)", "=ID", said)
    if said != "recording device=%s fingerprint=%s daemon=ID boot_id=ID" % (device, build):
        return said
    return None if trace_values.fingerprint(trace) == build else trace_values.fingerprint(trace)


def join_fault(trace, short):
    """What is wrong with the two traces in one file, or None."""
    with tempfile.NamedTemporaryFile() as joined:
        for path in (trace, short):
            with open(path, "rb") as file:
                joined.write(file.read())
        joined.flush()
        parts = [list(trace_values.values(path)) for path in (trace, short)]
        try:
            both = list(trace_values.values(joined.name))
        except ValueError as error:
            return str(error)
    common = [{name for _, name, _, _ in part if " " in name} for part in parts]
    if not common[0] & common[1]:
        return "they have no track in common"
    wrong = [(got, expected) for got, expected in zip(both, parts[0] + parts[1]) if got != expected]
    return "%s for %s" % wrong[0] if wrong else None


def query_fault(tracks):
    """A name in the queries that the trace does not have, or None."""
    known = set(tracks) | {name for name, _, _ in first_values(tracks)}
    known |= {event.split(" ")[0] for _, event in tracks[ROOT]}
    for path in sorted(glob.glob(QUERIES)):
        with open(path, encoding="utf-8") as file:
            for name in re.findall(r"\bname = '([^']*)'", file.read()):
                if name not in known:
                    return "%s has %s" % (os.path.basename(path), name)
    return None


def seconds_played(log):
    """For each second when its values were begun to be written, and when they had been replaced."""
    lines = [PLAYED.search(line) for line in log]
    found = [(int(each[1]), float(each[2]), float(each[3])) for each in lines if each]
    ends = [end for _, _, end in found[1:]] + [float("inf")]
    return [(second, begun, end) for (second, begun, _), end in zip(found, ends)]


def main(trace, log, short, profile, program, atoms):
    tracks = {}
    for time, name, value, _unit in trace_values.values(trace):
        tracks.setdefault(name, []).append((time, value))
    with open(log, encoding="utf-8", errors="replace") as file:
        lines = file.read().splitlines()
    played = seconds_played(lines)
    if not played:
        sys.exit("trace_check: the log does not say what was played")
    # The other tracks hold events of several atoms.
    pulls = Pulls({name: points for name, points in tracks.items() if " " in name})
    if pulls.most() < LEAST_VALUES:
        sys.exit(STATUS_TOO_SHORT)
    late = [int(each[1]) for each in map(LATE.search, lines) if each]
    with open(atoms, encoding="utf-8") as file:
        tags = {event["name"]: event["atom"] for event in map(json.loads, file)}
    scenario = os.path.join(profile, "scenario")
    values = {second: scenario_values(program, scenario, second) for second, _, _ in played}
    first = {}
    for name, time, value in first_values(tracks):
        first.setdefault(name, (time, value))
    reasons = {}
    for name, place, convert in TRACKS:
        points = tracks.get(name) or ([first[name]] if name in first else [])
        points = [(time, int(value)) for time, value in points]
        of_place = {second: convert(held[place]) for second, held in values.items() if place in held}
        reasons[name] = fault(points, of_place, played, pulls, late.count(tags[name.split()[0]]))
    reasons["battery"] = battery_fault(tracks)
    reasons["beginning"] = beginning_fault(trace, tracks, played, profile)
    reasons["joined"] = join_fault(trace, short)
    reasons["queries"] = query_fault(tracks)
    for name, reason in reasons.items():
        print("not ok trace/%s: %s" % (name, reason) if reason else "ok trace/%s" % name)


if __name__ == "__main__":
    main(*sys.argv[1:])
