#!/usr/bin/env python3
"""Holds a recorded trace against the scenario that was played: "ok NAME" or "not ok NAME: reason".

    trace_check.py TRACE SCENARIO PROGRAM      PROGRAM is the scenario player, asked for its values
"""

import subprocess
import sys

import trace_values

# Longest time in s from the moment that the scenario sets a value to that of the event with it: a
# second of the pull's interval, the pull itself, and a machine that is busy with other work.
SLACK = 6
# A value that does not change is written again after this many seconds, at the next pull.
REPEAT = 10

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


def fault(points, place, convert, values):
    """What is wrong with the points of a track, or None."""
    if len(points) < 2:
        return "only %d values" % len(points)
    before = None
    for time, value in points:
        seconds = range(max(0, int(time) - SLACK), int(time) + 1)
        held = {convert(values[second][place]) for second in seconds if place in values[second]}
        if value not in held:
            return "%d at %.1f s, where the scenario has %s" % (value, time, sorted(held))
        if before is not None and not 0 < time - before <= REPEAT + SLACK:
            return "no value between %.1f s and %.1f s" % (before, time)
        before = time
    return None


def main(trace, scenario, program):
    tracks = {}
    for time, name, value, _unit in trace_values.values(trace):
        tracks.setdefault(name, []).append((time, value))
    last = max(int(time) for points in tracks.values() for time, _ in points)
    values = [scenario_values(program, scenario, second) for second in range(last + 1)]
    for name, place, convert in TRACKS:
        points = [(time, int(value)) for time, value in tracks.get(name, [])]
        reason = fault(points, place, convert, values)
        print("not ok trace/%s: %s" % (name, reason) if reason else "ok trace/%s" % name)


if __name__ == "__main__":
    main(*sys.argv[1:])
