#!/usr/bin/env python3
"""Prints a table of a benchmark run.

usage: report.py RUN.json

RUN.json is what Google Benchmark writes with --benchmark_format=json. A benchmark "NAME/SIZE" is a
subject; "NAME_floor/SIZE" and "NAME_result/SIZE" are what it is measured against. With repetitions
the median counts. The exponent is the slope of a least-squares line through the logarithms of size
and time: 1 is linear.
"""
import json
import math
import sys

UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def fail(message):
    sys.exit(f"report.py: {message}")


def read_times(path):
    """CPU time in ns by name and size."""
    try:
        with open(path, encoding="utf-8") as file:
            entries = json.load(file)["benchmarks"]
    except (OSError, ValueError, KeyError) as error:
        fail(f"{path} holds no benchmark run: {error}")
    aggregated = any(entry.get("run_type") == "aggregate" for entry in entries)
    times = {}
    for entry in entries:
        if entry.get("error_occurred"):
            fail(f"{entry['name']} failed: {entry.get('error_message', '')}")
        if aggregated and entry.get("aggregate_name") != "median":
            continue
        name, size = entry["run_name"].split("/")[:2]
        times.setdefault(name, {})[int(size)] = entry["cpu_time"] * UNITS[entry["time_unit"]]
    return times


def exponent(times):
    """Slope of log(time) over log(size); None for a single size."""
    if len(times) < 2:
        return None
    points = [(math.log(size), math.log(time)) for size, time in times.items()]
    mean_x = sum(x for x, _ in points) / len(points)
    mean_y = sum(y for _, y in points) / len(points)
    spread = sum((x - mean_x) ** 2 for x, _ in points)
    return sum((x - mean_x) * (y - mean_y) for x, y in points) / spread


def human(ns):
    for unit, factor in (("ms", 1e6), ("us", 1e3)):
        if ns >= factor:
            return f"{ns / factor:.2f} {unit}"
    return f"{ns:.1f} ns"


def rows(times):
    subjects = [name for name in times if not name.endswith(("_floor", "_result"))]
    for name in subjects:
        floor = times.get(name + "_floor") or fail(f"{name} has no floor in this run")
        result = times.get(name + "_result", {})
        slope = exponent(times[name])
        for number, (size, time) in enumerate(sorted(times[name].items())):
            yield (
                name if number == 0 else "",
                str(size),
                human(time),
                human(floor[size]),
                f"{time / floor[size]:.2f}",
                human(result[size]) if size in result else "-",
                f"{time / (floor[size] + result[size]):.2f}" if size in result else "-",
                f"{slope:.2f}" if slope is not None and number == 0 else ("-" if number == 0 else ""),
            )


def main():
    if len(sys.argv) != 2:
        fail("usage: report.py RUN.json")
    heads = ("subject", "size", "time", "floor", "/floor", "result", "/both", "exponent")
    table = [heads, *rows(read_times(sys.argv[1]))]
    widths = [max(len(row[column]) for row in table) for column in range(len(heads))]
    for row in table:
        print("  ".join([row[0].ljust(widths[0]),
                         *(cell.rjust(width) for cell, width in zip(row[1:], widths[1:]))]))


if __name__ == "__main__":
    main()
