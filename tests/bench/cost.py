#!/usr/bin/env python3
"""What each atom's pull costs beside a bare puller's with the same answer: in the virtual device, in
instructions and in time on this machine; there too the start, the size, and what hourly pulls cost a
day. Prints tables in Markdown. The raw lines stay in build/bench.

usage: cost.py PROGRAM [--short] [--record]

PROGRAM is pull_once. --record puts the result into docs/measurements.md, between the two lines that
mark its place.
"""

import argparse

import in_device
import instructions

GOAL_PERCENT = 5
GOAL_NANOS = 2000
PAGE = "docs/measurements.md"
MARKS = ("<!-- ./bench device --record: begin -->\n", "<!-- ./bench device --record: end -->\n")
HOURS = 24

SCRIPT = """
# start NUMBER PROGRAM [ARGUMENT]: started, registered, measured at rest, ended.
start() {
    number=$1
    shift
    before=$(grep -c '^registered ' /tmp/registrations || true)
    as_daemon "$@" >/tmp/launched &
    has_said /tmp/registrations registered $((before + 1))
    sed "s,^launched,start ${1##*/} $number," /tmp/launched
    tail -n 1 /tmp/registrations
    sleep 2
    [ "$number" != 1 ] || size $! "${1##*/}"
    kill -9 $!
    wait $! 2>/dev/null || true
}
size() {
    sed -n "s/^\\\\(Pss\\\\|Private_Dirty\\\\|Private_Clean\\\\): *\\\\([0-9]*\\\\) kB/size $2 \\\\1 \\\\2/p" /proc/$1/smaps_rollup
    echo "size $2 Threads $(ls /proc/$1/task | wc -l)"
    echo "size $2 Binary $(wc -c </proc/$1/exe)"
}
# use WHEN PROGRAM PID: each thread's time on a processor in ns, and how often it has slept.
use() {
    for task in /proc/$3/task/*; do
        echo "use $1 $2 $(cut -d ' ' -f 1 $task/schedstat)" \\
            $(sed -n 's/^voluntary_ctxt_switches:[^0-9]*//p' $task/status)
    done
}
in_place_of_statsd registrations >/tmp/registrations &
registrar=$!
has_said /tmp/registrations published 1
for i in %(starts)s; do
    start $i $DAEMON
    start $i $BARE puller
done
kill -9 $registrar
wait $registrar 2>/dev/null || true

in_place_of_statsd latency %(rounds)d %(repeats)d >/tmp/latency &
server=$!
has_said /tmp/latency published 1
as_daemon $DAEMON >/dev/null &
daemon=$!
has_said /tmp/latency answered 1
as_bare /tmp/latency >/dev/null &
bare=$!
has_said /tmp/latency measuring 1
use before daemon $daemon
use before bare $bare
wait $server
use after daemon $daemon
use after bare $bare
grep '^latency ' /tmp/latency
"""


class Atom:
    """The figures of one atom."""

    def __init__(self, tag, repeats, counts, nanos):
        self.name = "%d %s" % (tag, in_device.atom_names()[tag])
        self.bare, self.own = (in_device.median(values) for values in list(zip(*repeats))[1:])
        self.spread = in_device.spread([own for _, _, own in repeats])
        self.apart = abs(self.own) > self.spread
        self.share = 100 * self.own / self.bare
        daemon, bare = counts.get(("daemon", tag)), counts.get(("bare", tag))
        self.own_count = daemon - bare if daemon else None
        self.count_share = 100 * self.own_count / bare if daemon else None
        self.nanos = nanos.get(tag)

    def row(self):
        unknown = ["-"] * 3
        return [self.name, in_device.us(self.bare), in_device.us(self.own), in_device.us(self.spread),
                "%+.1f %%" % self.share if self.apart else "within the spread",
                *(unknown if self.own_count is None else
                  ["%d" % self.own_count, "%+.1f %%" % self.count_share, "%.1f" % (self.nanos / 1e3)])]

    def misses(self):
        """Whether it is above a goal."""
        return (self.apart and self.share > GOAL_PERCENT) or (self.nanos or 0) > GOAL_NANOS


def cost_table(lines, counts, nanos):
    repeats = {}
    for _, _, tag, daemon, bare, own in (line for line in lines if line[0] == "latency"):
        repeats.setdefault(int(tag), []).append((int(daemon), int(bare), int(own)))
    atoms = [Atom(tag, values, counts, nanos) for tag, values in sorted(repeats.items())]
    rows = [atom.row() for atom in atoms]
    total = sum(atom.bare for atom in atoms), sum(atom.own for atom in atoms)
    known = [atom for atom in atoms if atom.nanos is not None]
    return "\n\n".join([
        "All atoms together: %s us bare, %s us own, %+.1f %%. Own time on the PC: %.1f us in the median, "
        "%.1f us at most." % (in_device.us(total[0]), in_device.us(total[1]), 100 * total[1] / total[0],
                              in_device.median([atom.nanos for atom in known]) / 1e3,
                              max(atom.nanos for atom in known) / 1e3),
        in_device.table(["atom", "bare, us", "own, us", "spread", "own share", "own instructions",
                         "of the bare ones", "own on the PC, us"], rows),
        "Above a goal: %s" % (", ".join(atom.name for atom in atoms if atom.misses()) or "none")])


def start_table(lines):
    times, program, launched = {}, None, 0
    for line in lines:
        if line[0] == "start":
            program, launched = line[1], int(line[4])
        elif line[0] == "registered":
            times.setdefault(program, []).append(int(line[1]) - launched)
    return {name: "%.0f +- %.0f" % (in_device.median(values) / 1e6, in_device.spread(values) / 2e6)
            for name, values in times.items()}


def sizes(lines):
    result = {}
    for _, program, what, value in (line for line in lines if line[0] == "size"):
        result.setdefault(program, {})[what] = int(value)
    return result


def use_a_day(lines, rounds):
    """Seconds on a processor and sleeps a day of either program, at a round of pulls an hour."""
    result = {}
    for _, when, program, nanos, sleeps in (line for line in lines if line[0] == "use"):
        sign = 1 if when == "after" else -1
        total = result.setdefault(program, [0, 0])
        total[0] += sign * int(nanos) / 1e9 * HOURS / rounds
        total[1] += sign * int(sleeps) * HOURS / rounds
    return result


def program_table(lines, rounds):
    starts, size, use = start_table(lines), sizes(lines), use_a_day(lines, rounds)
    rows = [[program, "%.2f" % use[kind][0], "%.0f" % use[kind][1], starts[program],
             "%d" % (size[program]["Binary"] // 1024), "%d" % size[program]["Pss"],
             "%d" % (size[program]["Private_Clean"] + size[program]["Private_Dirty"]),
             "%d" % size[program]["Threads"]]
            for program, kind in (("zstats_pullerd", "daemon"), ("pullbench", "bare"))]
    return in_device.table(["program", "CPU s a day", "wake-ups a day", "start, ms", "binary, KiB",
                            "PSS, KiB", "USS, KiB", "threads"], rows)


def record(text):
    with open(PAGE, encoding="utf-8") as file:
        before, rest = file.read().split(MARKS[0])
    with open(PAGE, "w", encoding="utf-8") as file:
        file.write(before + MARKS[0] + text + "\n" + MARKS[1] + rest.split(MARKS[1])[1])


def main():
    parser = argparse.ArgumentParser(prog="bench device")
    parser.add_argument("program")
    parser.add_argument("--short", action="store_true")
    parser.add_argument("--record", action="store_true")
    options = parser.parse_args()
    numbers = {"starts": "1" if options.short else "1 2 3 4 5", "rounds": 5 if options.short else 100,
               "repeats": 2 if options.short else 5}
    counts = instructions.count(options.program)
    nanos = instructions.own_nanos(options.program, *((20, 1) if options.short else (300, 5)))
    lines = in_device.run(SCRIPT % numbers, 1800, "build/bench/device.txt")
    lines = [line for line in lines if line]
    text = "\n\n".join([in_device.heading("./bench device" + (" --short" if options.short else "")),
                        cost_table(lines, counts, nanos),
                        program_table(lines, numbers["rounds"] * numbers["repeats"])])
    print("\n" + text)
    if options.record:
        record(text)


if __name__ == "__main__":
    main()
