"""What the measurements in the virtual device share: running a script there, and tables."""

import os
import re
import statistics
import subprocess
import sys
import time

_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# These functions take the shell's own place: they are to be run in the background.
_PROLOGUE = """
in_place_of_statsd() { exec asuid statsd runcon u:r:statsd:s0 pullbench "$@" 2>>/tmp/errors; }
trap 'cat /tmp/errors >&2' EXIT
touch /tmp/errors
as_daemon() { exec pullbench launch u:r:zstats_pullerd:s0 "$@"; }
DAEMON=/system_ext/bin/zstats_pullerd
BARE=/system/bin/pullbench
# has_said FILE WORD COUNT: waits for so many lines that begin with the word. The program that writes the
# file may not have been started yet.
said() { sed -n "/^$2/p" "$1" 2>/dev/null | wc -l; }
has_said() {
    tries=600
    while [ "$(said "$1" "$2")" -lt "$3" ]; do
        tries=$((tries - 1))
        [ $tries -gt 0 ] || { echo "no more than $(said "$1" "$2") lines of $2" >&2; exit 1; }
        usleep 100000
    done
}
# as_bare FILE: the bare puller with the daemon's answers, which the file has by then.
as_bare() { as_daemon $BARE puller $(sed -n 's/^event //p' "$1"); }
# What runs by itself would answer, and be pulled, too.
stop zstats_pullerd
stop statsd
while pidof zstats_pullerd statsd; do usleep 100000; done >&2
"""

# Refusals by the policy cost time, and show that the measured process could not do its work.
_EPILOGUE = """
{ dmesg; logcat -d; } | grep 'avc: *denied' >/tmp/denials || true
[ ! -s /tmp/denials ] || { head -n 3 /tmp/denials >&2; exit 1; }
"""


def run(script, seconds, keep):
    """Boots, runs the script with statsd and the daemon stopped, and gives the words of each line
    that it printed. The lines stay in the file `keep`."""
    os.makedirs(os.path.dirname(keep), exist_ok=True)
    command = [os.path.join(_ROOT, "vdev"), "exec", "--timeout", str(seconds), "--",
               "set -e\n%s\n%s\n%s" % (_PROLOGUE, script, _EPILOGUE)]
    with open(keep, "wb") as output:
        status = subprocess.call(command, stdout=output)
    if status != 0:
        sys.exit("the measurement ended with status %d; what it printed is in %s" % (status, keep))
    with open(keep, encoding="utf-8") as output:
        return [line.split() for line in output]


def table(head, rows):
    """A table as Markdown has it, aligned for the eye too. The first column is to the left."""
    cells = [head] + rows
    widths = [max(len(row[i]) for row in cells) for i in range(len(head))]

    def line(row):
        padded = [row[0].ljust(widths[0])]
        padded += [cell.rjust(width) for cell, width in zip(row[1:], widths[1:])]
        return "| " + " | ".join(padded) + " |"

    rule = ["-" * widths[0]] + ["-" * (width - 1) + ":" for width in widths[1:]]
    return "\n".join([line(head), "|" + "|".join(" %s " % r for r in rule) + "|"] +
                     [line(row) for row in rows])


def heading(command):
    """What every section begins with."""
    return "`%s`, %s, %d processors for the device" % (command, time.strftime("%Y-%m-%d"), 2)


def atom_names():
    """By tag, from the table that the daemon is built with."""
    with open(os.path.join(_ROOT, "daemon/AtomTable.h"), encoding="utf-8") as file:
        return {int(tag): name for tag, name in re.findall(r"(\d+), &ZStatsPullAtomCallback::handle(\w+)",
                                                           file.read())}


def us(nanos):
    return "%.0f" % (nanos / 1e3)


def median(values):
    return statistics.median(values)


def spread(values):
    return max(values) - min(values)
