#!/usr/bin/env python3
"""Whether the daemon keeps its size under many pulls and subscriptions, in the virtual device. Prints a
text chart of each quantity; the exit status is 1 if one of them grew, or if an answer was wrong.

usage: soak.py [--short]

The criterion: a straight line is fitted to the samples from the 1,000th pull to the last (--short: the
4,000th). Memory may rise over these pulls by less than it would if one pull in ten (--short: each pull)
lost the smallest piece of memory that malloc gives out; the heap takes some ten thousand pulls to find
its size, and that has to have room. Counted quantities may rise by a half. One end of a pipe for each
accepted subscription is the daemon's to keep: those are counted apart, and have to be exactly as many
as there were subscriptions.
"""

import argparse
import sys

import in_device

SMALLEST_BYTES = 32
COLUMNS = 60
ROWS = 6
MEMORY = ("Rss", "Uss", "Anonymous", "Heap")

SCRIPT = """
# sample PULLS: the daemon's memory in kB, and its descriptors and threads.
sample() {
    awk -v pulls="$1" '
        /^[0-9a-f]+-/ { heap = $6 == "[heap]" }
        /^(Rss|Anonymous):/ { sum[$1] += $2; if (heap && $1 == "Rss:") sum["Heap:"] += $2 }
        /^Private_/ { sum["Uss:"] += $2 }
        END { for (key in sum) print "sample", pulls, substr(key, 1, length(key) - 1), sum[key] }
    ' /proc/$pid/smaps
    # One that is closed meanwhile is an error to ls.
    ls -l /proc/$pid/fd >/tmp/fds 2>/dev/null || true
    echo "sample $1 Pipes $(grep -c 'pipe:' /tmp/fds)"
    echo "sample $1 Descriptors $(grep -c -v 'pipe:\\|^total' /tmp/fds)"
    echo "sample $1 Threads $(ls /proc/$pid/task | wc -l)"
}
in_place_of_statsd soak %(pulls)d >/tmp/soak &
server=$!
has_said /tmp/soak published 1
as_daemon $DAEMON >/dev/null &
pid=$!
has_said /tmp/soak at 1
sample 0
pullbench subscribe %(subscriptions)d >/tmp/subscribed &
subscriber=$!
seen=0
while kill -0 $server 2>/dev/null; do
    last=$(sed -n 's/^at //p' /tmp/soak | tail -n 1)
    [ "$last" = "$seen" ] || sample "$last"
    seen=$last
    usleep 200000
done
wait $server || echo "the pulls ended with status $?" >&2
wait $subscriber || true
sleep 2
sample %(pulls)d
grep '^pulled ' /tmp/soak
cat /tmp/subscribed
"""


def fit(points):
    """The value where the line begins, and by how much it rises."""
    count = len(points)
    mean_x = sum(x for x, _ in points) / count
    mean_y = sum(y for _, y in points) / count
    square = sum((x - mean_x) ** 2 for x, _ in points)
    slope = sum((x - mean_x) * (y - mean_y) for x, y in points) / square
    first, last = points[0][0], points[-1][0]
    return mean_y + slope * (first - mean_x), slope * (last - first)


def chart(points):
    """ROWS lines; each column is the mean of what was sampled in its part of the pulls."""
    first, last = points[0][0], points[-1][0]
    columns = [[] for _ in range(COLUMNS)]
    for x, y in points:
        columns[min(COLUMNS - 1, int((x - first) * COLUMNS / (last - first)))].append(y)
    means = [sum(column) / len(column) if column else None for column in columns]
    low, high = min(y for _, y in points), max(y for _, y in points)
    step = max(high - low, 1) / (ROWS - 1)
    lines = []
    for row in reversed(range(ROWS)):
        marks = "".join(" " if mean is None else "*" if round((mean - low) / step) == row else
                        "." if row == 0 else " " for mean in means)
        lines.append("%9.0f |%s" % (low + row * step, marks.rstrip()))
    lines.append("%9s +%s" % ("", "-" * COLUMNS))
    lines.append("%9s  %-*d%d pulls" % ("", COLUMNS - len(str(last)), first, last))
    return "\n".join(lines)


def judge(name, points, allowed):
    """One paragraph; true if it rises by no more than `allowed`."""
    begin, rise = fit(points)
    flat = rise <= allowed
    unit = " KiB" if name in MEMORY else ""
    print("%s: from %.1f%s, rises by %.1f, allowed %.1f: %s\n%s\n" %
          (name, begin, unit, rise, allowed, "flat" if flat else "GROWS", chart(points)))
    return flat


def main():
    parser = argparse.ArgumentParser(prog="bench soak")
    parser.add_argument("--short", action="store_true")
    short = parser.parse_args().short
    numbers = {"pulls": 8000 if short else 100000, "subscriptions": 60 if short else 5000}
    lines = in_device.run(SCRIPT % numbers, 3600, "build/bench/soak.txt")
    samples = {}
    for _, pulls, name, value in (line for line in lines if line[0] == "sample"):
        samples.setdefault(name, []).append((int(pulls), int(value)))
    print("\n" + in_device.heading("./bench soak" + (" --short" if short else "")) + "\n\n```")
    pipes = samples.pop("Pipes")
    good, first = True, 4000 if short else 1000
    allowed = SMALLEST_BYTES * (numbers["pulls"] - first) / (1 if short else 10) / 1024
    for name, points in sorted(samples.items()):
        good &= judge(name, [point for point in points if point[0] >= first],
                      allowed if name in MEMORY else 0.5)
    (_, pulls, wrong, nanos), = (line for line in lines if line[0] == "pulled")
    (_, asked, refused), = (line for line in lines if line[0] == "subscribed")
    kept = pipes[-1][1] - pipes[0][1]
    print("%s pulls in %.0f s, %s of them not answered as at first" % (pulls, int(nanos) / 1e9, wrong))
    print("%s subscriptions, %s of them without data; %d ends of pipes kept" % (asked, refused, kept))
    print("```")
    return 0 if good and wrong == refused == "0" and kept == int(asked) else 1


sys.exit(main())
