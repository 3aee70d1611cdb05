#!/usr/bin/env python3
"""Whether the daemon keeps its size under many pulls and subscriptions, in the virtual device, while services
and statsd die and return. Prints a text chart of each quantity; the exit status is 1 if one of them grew, or if
an answer was wrong.

usage: soak.py [--short | --long]

Every hundred pulls (--short: 400), a service is killed and started; then each atom is pulled until it is
answered as at first, within 20 s. What stands in statsd's place is killed 20 times (--short: twice), after its
last pull.

The criterion: a straight line is fitted to the samples from the 1,000th pull to the last (--short: the
4,000th). Memory may rise over these pulls by less than it would if one pull in ten (--short: each pull)
lost the smallest piece of memory that malloc gives out; counted quantities may rise by a half. Two things are
the daemon's to keep. The death recipient of each connection to charger and handle factory, half of the services
that die, is added to what memory may rise by. One end of a pipe for each accepted subscription is counted apart,
and there have to be exactly as many as there were subscriptions.

malloc has a heap for each thread, which keeps the size that the longest list needed. So the first
subscriptions all have long lists, until each thread has taken one. Uss is not judged, because pages of
libraries count to it while the services that share them are dead.
"""

import argparse
import sys

import in_device

SMALLEST_BYTES = 32
RECIPIENT_BYTES = 400  # with what it refers to; measured over 3,200 of them
COLUMNS = 60
ROWS = 6
# By kind. "pause" and "restarts" divide "pulls" without a rest; "first" comes before "subscriptions".
NUMBERS = {
    "": {"pulls": 100000, "pause": 100, "restarts": 20, "first": 60, "subscriptions": 5000,
         "seconds": 7200},
    "short": {"pulls": 8000, "pause": 400, "restarts": 2, "first": 24, "subscriptions": 60,
              "seconds": 3600},
    "long": {"pulls": 1000000, "pause": 100, "restarts": 20, "first": 60, "subscriptions": 5000,
             "seconds": 43200},
}
MEMORY = ("Rss", "Anonymous", "Heap")

SCRIPT = """
# sample PULLS: the daemon's memory in kB, and its descriptors and threads.
sample() {
    awk -v pulls="$1" '
        /^[0-9a-f]+-/ { heap = $6 == "[heap]" }
        /^(Rss|Anonymous):/ { sum[$1] += $2; if (heap && $1 == "Rss:") sum["Heap:"] += $2 }
        END { for (key in sum) print "sample", pulls, substr(key, 1, length(key) - 1), sum[key] }
    ' /proc/$pid/smaps
    # One that is closed meanwhile is an error to ls.
    ls -l /proc/$pid/fd >/tmp/fds 2>/dev/null || true
    echo "sample $1 Pipes $(grep -c 'pipe:' /tmp/fds)"
    echo "sample $1 Descriptors $(grep -c -v 'pipe:\\|^total' /tmp/fds)"
    echo "sample $1 Threads $(ls /proc/$pid/task 2>/dev/null | wc -l)"
}
# next_dies: one of the services that the daemon looks up again is killed and started, each in turn.
services="charger handlefactory audio calda"
next_dies() {
    services="${services#* } ${services%%%% *}"
    victim=$(pidof "${services##* }")
    kill -9 "$victim"
    while [ -d "/proc/$victim" ]; do usleep 10000; done
    start "${services##* }"
}
# heard WORD: waits for the pulling program's line that begins with it.
heard() {
    while read -r -t 60 line; do
        [ "${line%%%% *}" != "$1" ] || return 0
    done <&3
    echo "no '$1' within a minute, after $pulls pulls" >&2
    exit 1
}
mkfifo /tmp/said /tmp/told
exec 3<>/tmp/said 4<>/tmp/told
pulls=0
for segment in $(seq %(restarts)d); do
    in_place_of_statsd soak $((%(pulls)d / %(restarts)d)) %(pause)d >/tmp/said </tmp/told &
    server=$!
    heard published
    if [ $segment -eq 1 ]; then
        as_daemon $DAEMON >/dev/null 3>&- 4>&- &
        pid=$!
    fi
    heard pulling
    if [ $segment -eq 1 ]; then
        sample 0
        pullbench subscribe %(first)d 1 >>/tmp/subscribed
    fi
    pullbench subscribe $((%(subscriptions)d / %(restarts)d)) 50 >>/tmp/subscribed &
    subscriber=$!
    for pause in $(seq $((%(pulls)d / %(restarts)d / %(pause)d))); do
        heard paused
        pulls=$((pulls + %(pause)d))
        [ $((pulls %% (%(pulls)d / 100))) -ne 0 ] || sample $pulls
        [ $((pulls %% (%(pulls)d / 10))) -ne 0 ] || echo "$pulls of %(pulls)d pulls" >&2
        next_dies
        echo >&4
    done
    wait $subscriber || true
    heard pulled
    echo "$line"
    kill -9 $server
    wait $server 2>/dev/null || true  # the shell says how it ended
done
sleep 2
sample $pulls
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
    kinds = parser.add_mutually_exclusive_group()
    kinds.add_argument("--short", action="store_true")
    kinds.add_argument("--long", action="store_true")
    words = parser.parse_args()
    kind = "short" if words.short else "long" if words.long else ""
    short = words.short
    numbers = dict(NUMBERS[kind])
    lines = in_device.run(SCRIPT % numbers, numbers.pop("seconds"), "build/bench/soak.txt")
    samples = {}
    for _, pulls, name, value in (line for line in lines if line[0] == "sample"):
        samples.setdefault(name, []).append((int(pulls), int(value)))
    print("\n" + in_device.heading("./bench soak" + (" --" + kind if kind else "")) + "\n\n```")
    pipes = samples.pop("Pipes")
    good, first = True, 4000 if short else 1000
    judged = numbers["pulls"] - first
    allowed = (SMALLEST_BYTES * judged / (1 if short else 10) +
               RECIPIENT_BYTES * judged / numbers["pause"] / 2) / 1024
    for name, points in sorted(samples.items()):
        good &= judge(name, [point for point in points if point[0] >= first],
                      allowed if name in MEMORY else 0.5)
    pulled = [[int(word) for word in line[1:]] for line in lines if line[0] == "pulled"]
    subscribed = [[int(word) for word in line[1:]] for line in lines if line[0] == "subscribed"]
    pulls, wrong, nanos, _ = (sum(column) for column in zip(*pulled))
    asked, refused = (sum(column) for column in zip(*subscribed))
    kept = pipes[-1][1] - pipes[0][1]
    print("%d pulls in %.0f s, %d of them not answered as at first" % (pulls, nanos / 1e9, wrong))
    print("%d times a service died, %d times statsd" % (pulls / numbers["pause"], len(pulled)))
    print("%d subscriptions, %d of them without data; %d ends of pipes kept" % (asked, refused, kept))
    good &= len({events for _, _, _, events in pulled}) == 1
    good &= (pulls, asked) == (numbers["pulls"], numbers["first"] + numbers["subscriptions"])
    print("```")
    return 0 if good and wrong == refused == 0 and kept == asked else 1


sys.exit(main())
