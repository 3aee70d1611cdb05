#!/usr/bin/env python3
"""Holds a recorded trace against the scenario that was played: "ok NAME" or "not ok NAME: reason".

    trace_check.py TRACE LOG SCENARIO PROGRAM ATOMS

ATOMS are events of all atoms as JSON; LOG is the device's, in which the scenario's player says when it wrote which second's values; PROGRAM
is the player, asked for the values. All times are the device's own. How long a pull takes is not
judged: the order of the pulls, as the trace shows it, says what was read before and after what. Ends
with status 3, and nothing printed, when the device was too slow to pull each atom a few times.
"""

import bisect
import json
import re
import subprocess
import sys

import trace_values

# A value that does not change is written again after this many seconds, at the next pull.
REPEAT = 10
PLAYED = re.compile(r" scenario: second (\d+), written from ([\d.]+) s to ([\d.]+) s$")
LATE = re.compile(r" statsd: late answer to a pull of (\d+) ")
# A trace with fewer values in each of its tracks says too little.
LEAST_VALUES = 5
STATUS_TOO_SHORT = 3

# A track, where the scenario has its value, and how the value becomes the track's.
TRACKS = (
    ("battery_level real_level", "nodes/battery_level", int),
    ("battery_temperature milli_degrees", "charger getPsyBatteryTemp", lambda t: int(t) * 100),
    ("battery_voltage_now voltage", "charger getBatteryVoltageNow", int),
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
    before = 0 - REPEAT
    for time, value in points:
        earliest = pulls.earliest_read(time, failures)
        held = {values[second] for second, begun, replaced in played
                if second in values and begun <= time and replaced >= earliest}
        if value not in held:
            return "%d at %.1f s, where the scenario has %s" % (value, time, sorted(held))
        if pulls.round_within(before + REPEAT, time, failures):
            return "no value between %.1f s and %.1f s" % (before, time)
        before = time
    if not points:
        return "no value"
    if pulls.round_within(before + REPEAT, float("inf"), failures):
        return "no value after %.1f s" % before
    return None


def seconds_played(log):
    """For each second when its values were begun to be written, and when they had been replaced."""
    lines = [PLAYED.search(line) for line in log]
    found = [(int(each[1]), float(each[2]), float(each[3])) for each in lines if each]
    ends = [end for _, _, end in found[1:]] + [float("inf")]
    return [(second, begun, end) for (second, begun, _), end in zip(found, ends)]


def main(trace, log, scenario, program, atoms):
    tracks = {}
    for time, name, value, _unit in trace_values.values(trace):
        tracks.setdefault(name, []).append((time, value))
    with open(log, encoding="utf-8", errors="replace") as file:
        lines = file.read().splitlines()
    played = seconds_played(lines)
    if not played:
        sys.exit("trace_check: the log does not say what was played")
    pulls = Pulls(tracks)
    if pulls.most() < LEAST_VALUES:
        sys.exit(STATUS_TOO_SHORT)
    late = [int(each[1]) for each in map(LATE.search, lines) if each]
    with open(atoms, encoding="utf-8") as file:
        tags = {event["name"]: event["atom"] for event in map(json.loads, file)}
    values = {second: scenario_values(program, scenario, second) for second, _, _ in played}
    for name, place, convert in TRACKS:
        points = [(time, int(value)) for time, value in tracks.get(name, [])]
        of_place = {second: convert(held[place]) for second, held in values.items() if place in held}
        reason = fault(points, of_place, played, pulls, late.count(tags[name.split()[0]]))
        print("not ok trace/%s: %s" % (name, reason) if reason else "ok trace/%s" % name)


if __name__ == "__main__":
    main(*sys.argv[1:])
