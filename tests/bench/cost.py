#!/usr/bin/env python3
"""What the daemon costs in the virtual device: the latency of each atom's pull beside its floors, its
start beside that of a bare program, its size. Prints the tables in Markdown.

usage: cost.py [--short]

The floors are pulls, too, answered by a bare program that runs as the daemon does: it answers at once
(the round trip), or makes the calls and reads the files of the atom's sources before it answers (the
round trip, and the calls and reads). The daemon's own share is its pull less that second floor.
"""

import argparse
import re

import in_device

KINDS = ("daemon", "empty", "calls")
GOAL_PERCENT = 10

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
as_daemon $BARE puller --calls >/dev/null &
as_daemon $DAEMON >/dev/null &
wait $server
grep '^latency ' /tmp/latency
"""


def own_shares(times, tag):
    """The daemon's pull less the floors, of each repeat."""
    return [pull - floor for pull, floor in zip(times[tag, "daemon"], times[tag, "calls"])]


def latency_row(times, best, worst, tag, name):
    pull, empty, floors = (in_device.median(times[tag, kind]) for kind in KINDS)
    shares = own_shares(times, tag)
    share = in_device.median(shares)
    apart = abs(share) > in_device.spread(shares)
    verdict = "%+.0f %%" % (100 * share / floors) if apart else "not distinguishable"
    row = ["%d %s" % (tag, name), in_device.us(pull), in_device.us(in_device.median(worst[tag])),
           in_device.us(empty), in_device.us(max(floors - empty, 0)), in_device.us(share),
           in_device.us(in_device.spread(shares)), verdict,
           "%+.0f %%" % (100 * best[tag, "daemon"] / best[tag, "calls"] - 100)]
    return row, apart and 100 * share > GOAL_PERCENT * floors


def print_latency(lines, names):
    times, best, worst = {}, {}, {}
    for _, _, tag, kind, first, middle, last in (line for line in lines if line[0] == "latency"):
        times.setdefault((int(tag), kind), []).append(int(middle))
        best[int(tag), kind] = min(int(first), best.get((int(tag), kind), int(first)))
        if kind == "daemon":
            worst.setdefault(int(tag), []).append(int(last))
    rows, above = [], []
    for tag in sorted(worst):
        row, beyond = latency_row(times, best, worst, tag, names.get(tag, ""))
        rows.append(row)
        if beyond:
            above.append(str(tag))
    print(in_device.table(["atom", "pull, us", "99th", "round trip", "calls, reads", "own share",
                           "spread", "of the floors", "of the fastest"], rows))
    print("\nAbove the goal of %d %%: %s" % (GOAL_PERCENT, ", ".join(above) or "none"))


def print_starts(lines):
    times, program, launched = {}, None, 0
    for line in lines:
        if line[0] == "start":
            program, launched = line[1], int(line[4])
        elif line[0] == "registered":
            times.setdefault(program, []).append(int(line[1]) - launched)
    bare = in_device.median(times["pullbench"])
    rows = [[name, "%.1f" % (in_device.median(values) / 1e6),
             "%.1f" % (in_device.spread(values) / 1e6), "%.2f" % (in_device.median(values) / bare)]
            for name, values in times.items()]
    print(in_device.table(["from exec to the last registration", "ms", "spread", "/bare"], rows))


def print_sizes(lines):
    sizes = {}
    for _, program, what, value in (line for line in lines if line[0] == "size"):
        sizes.setdefault(program, {})[what] = int(value)
    rows = [[program, "%d" % (size["Binary"] // 1024), "%d" % size["Pss"],
             "%d" % (size["Private_Clean"] + size["Private_Dirty"]), "%d" % size["Threads"]]
            for program, size in sizes.items()]
    print(in_device.table(["at rest", "stripped binary, KiB", "PSS, KiB", "USS, KiB", "threads"],
                          rows))


def atom_names():
    """By tag, from the table that the daemon is built with."""
    with open("daemon/AtomTable.h", encoding="utf-8") as file:
        return {int(tag): name for tag, name in re.findall(r"(\d+), &ZStatsPullAtomCallback::handle(\w+)",
                                                           file.read())}


def main():
    parser = argparse.ArgumentParser(prog="bench device")
    parser.add_argument("--short", action="store_true")
    short = parser.parse_args().short
    numbers = {"starts": "1" if short else "1 2 3 4 5", "rounds": 5 if short else 100,
               "repeats": 2 if short else 5}
    lines = in_device.run(SCRIPT % numbers, 1800, "build/bench/device.txt")
    lines = [line for line in lines if line]
    print("\n" + in_device.heading("./bench device" + (" --short" if short else "")) + "\n")
    print_latency(lines, atom_names())
    print()
    print_starts(lines)
    print()
    print_sizes(lines)


if __name__ == "__main__":
    main()
