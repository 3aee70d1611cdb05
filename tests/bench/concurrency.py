#!/usr/bin/env python3
"""How many pulls a second the daemon answers to 1 to 8 callers at once, in the virtual device, beside a
bare puller with as many binder threads, which makes the same calls and gives the same answers. Prints the
tables in Markdown.

usage: concurrency.py [--short]

Each caller pulls an atom of its own, one pull after the other. Atoms differ in cost, so each caller's
rate is taken as a ratio to the rate at which the same atom is pulled by one caller alone; the sum of
these ratios says how many lone callers the throughput is worth.

Beside it, for eight callers, where the threads of the daemon and of the service behind it were when looked
at: those that wait for a lock tell where throughput is lost.
"""

import argparse

import in_device

LOADS = {"apart": "no shared source", "charger": "all behind the charger",
         "handlefactory": "all behind the handle factory"}

SCRIPT = """
in_place_of_statsd throughput %(millis)d %(repeats)d >/tmp/throughput &
server=$!
has_said /tmp/throughput published 1
as_daemon $DAEMON >/dev/null &
daemon=$!
has_said /tmp/throughput answered 1
as_bare /tmp/throughput >/dev/null &
bare=$!
wait $server
grep '^throughput ' /tmp/throughput
kill -9 $bare $daemon
wait $bare $daemon 2>/dev/null || true

# look LOAD PROCESS PID: the system call of each thread; "running" for one that is in none.
look() { cut -d ' ' -f 1 /proc/$3/task/*/syscall | sed "s/^/thread $1 $2 /"; }
for load in apart charger handlefactory; do
    rm -f /tmp/load
    in_place_of_statsd load $load %(look)d >/tmp/load &
    server=$!
    has_said /tmp/load published 1
    as_daemon $DAEMON >/dev/null &
    daemon=$!
    has_said /tmp/load pulling 1
    while kill -0 $server 2>/dev/null; do
        look $load zstats_pullerd $daemon
        [ $load = apart ] || look $load $load $(pidof $load)
        usleep 20000
    done
    wait $server
    kill -9 $daemon
    wait $daemon 2>/dev/null || true
done
"""

# The numbers of system calls on x86-64.
CALLS = {"16": "binder", "202": "lock"}


def read_rates(lines):
    """Pulls a second by load, kind, number of callers and atom: the median of the repeats."""
    samples = {}
    for _, load, kind, callers, tag, rate in lines:
        samples.setdefault((load, kind, int(callers), tag), []).append(float(rate))
    return {key: in_device.median(values) for key, values in samples.items()}


def worth(rates, load, kind, callers):
    """How many lone callers these are worth."""
    return sum(rate / rates[load, kind, 1, tag] for (a_load, a_kind, number, tag), rate
               in rates.items() if (a_load, a_kind, number) == (load, kind, callers)) \
        if callers > 1 else 1.0


def beside_bare(rates, load, callers):
    """The mean over the atoms of the daemon's rate to the bare program's."""
    ratios = [rate / rates[load, "bare", callers, tag]
              for (a_load, kind, number, tag), rate in rates.items()
              if (a_load, kind, number) == (load, "daemon", callers)]
    return sum(ratios) / len(ratios)


def print_load(rates, load):
    numbers = sorted({callers for a_load, _, callers, _ in rates if a_load == load})
    rows = [["%d" % callers, "%.2f" % worth(rates, load, "daemon", callers),
             "%.2f" % worth(rates, load, "bare", callers),
             "%.2f" % beside_bare(rates, load, callers)] for callers in numbers]
    print("\n%s:\n" % LOADS[load])
    print(in_device.table(["callers", "daemon, x one caller", "bare, x one caller",
                           "daemon / bare"], rows))


def print_threads(lines):
    """The mean number of threads of each process in each place."""
    seen = {}
    for _, load, process, call in lines:
        places = seen.setdefault((load, process), {})
        place = CALLS.get(call, "busy")
        places[place] = places.get(place, 0) + 1
    rows = [["%s: %s" % (LOADS[load], process)] +
            ["%.0f %%" % (100 * places.get(place, 0) / sum(places.values()))
             for place in ("binder", "busy", "lock")]
            for (load, process), places in seen.items()]
    print("\nThreads at eight callers:\n")
    print(in_device.table(["process", "in the binder driver", "busy", "wait for a lock"], rows))


def main():
    parser = argparse.ArgumentParser(prog="bench concurrency")
    parser.add_argument("--short", action="store_true")
    short = parser.parse_args().short
    numbers = {"millis": 100 if short else 1000, "repeats": 1 if short else 3,
               "look": 500 if short else 5000}
    lines = in_device.run(SCRIPT % numbers, 1800, "build/bench/concurrency.txt")
    rates = read_rates(line for line in lines if line[0] == "throughput")
    print("\n" + in_device.heading("./bench concurrency" + (" --short" if short else "")))
    for load in LOADS:
        print_load(rates, load)
    print_threads(line for line in lines if line[0] == "thread")


main()
