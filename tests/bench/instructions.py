#!/usr/bin/env python3
"""Instructions of each pull, counted by callgrind on this machine: from the call of
onPullAtom to its return, without what the driver and the services do for it; and those of a bare puller
that makes the same calls and gives the same answer. Prints a table in Markdown; the exit status is 1 if
a pull has become dearer than recorded by more than TOLERANCE.

usage: instructions.py PROGRAM [--record]

The counts are the same at every run with the same compiler and libraries, and only there: elsewhere than
where tests/bench/instructions.txt was recorded they are printed, not judged. --record writes that file.
"""

import argparse
import glob
import os
import re
import subprocess
import sys
import tempfile

import in_device

TOLERANCE = 0.05  # the heap's layout differs between builds: 3 % have been seen
RECORD = "tests/bench/instructions.txt"
PROFILE = "vdevice/profiles/qcom"
DISPATCH = 1  # a tag without a handler
NO_EVENT = {DISPATCH, 150014, 150015}
FILE_ATOMS = {150020, 150121}  # these read /sys

_PULL = "countedPull"
_DRIVER = "__wrap__ZN7android14IPCThreadState8transactEijRKNS_6ParcelEPS1_j"
# Variants of the C library's functions are chosen by what the processor can do.
_TUNABLES = "glibc.cpu.hwcaps=" + ",".join("-" + name for name in (
    "AVX2", "AVX2_Usable", "AVX512F", "AVX512VL", "AVX512BW", "AVX_Fast_Unaligned_Load", "BMI2",
    "ERMS", "FSRM", "LZCNT", "MOVBE", "RTM"))
# The profile's files stand for the kernel's where this user may mount.
_WITH_SYS = 'mount --bind "$0" /sys && exec "$@"'


def environment():
    """What the counts depend on."""
    def line(*command):
        return subprocess.check_output(command, text=True).splitlines()[0].strip()

    with open("/etc/os-release", encoding="utf-8") as file:
        system = re.search(r'^PRETTY_NAME="?([^"\n]*)', file.read(), re.M).group(1)
    packages = [line("dpkg-query", "-W", "-f", "${Package} ${Version}\n", name)
                for name in ("libc6", "libstdc++6")]
    return ", ".join([re.sub(r" \(.*", "", system), line("c++", "--version"), *packages])


def run(program, *arguments, under=()):
    """Runs the program; gives its lines' words, and whether it had the profile's /sys."""
    own = ["unshare", "-m", "sh", "-c", _WITH_SYS, os.path.abspath(PROFILE + "/root/sys")]
    sys_is_ours = subprocess.call(own + ["true"], stderr=subprocess.DEVNULL) == 0
    command = ["env", "-i", "LC_ALL=C", "GLIBC_TUNABLES=" + _TUNABLES, "PATH=/usr/bin:/bin",
               "setarch", "-R", *under, program, PROFILE, *arguments]
    result = subprocess.run((own if sys_is_ours else []) + command, capture_output=True, text=True,
                            check=False)
    if result.returncode != 0:
        sys.exit("%s ended with status %d:\n%s" % (program, result.returncode, result.stderr))
    return [line.split() for line in result.stdout.splitlines()], sys_is_ours


def own_nanos(program, pulls, repeats):
    """By tag, how much longer the daemon's pull takes than the bare one, in ns: the median of the
    repeats' medians."""
    lines, sys_is_ours = run(program, str(pulls), str(repeats))
    nanos = {}
    for _, tag, daemon, bare in (line for line in lines if line[0] == "time"):
        if sys_is_ours or int(tag) not in FILE_ATOMS:
            nanos.setdefault(int(tag), []).append(int(daemon) - int(bare))
    return {tag: in_device.median(values) for tag, values in nanos.items()}


def read_profile(path, names):
    """Instructions of one pull: all but those inside of the driver."""
    instructions, callee, at_call = 0, "", False
    with open(path, encoding="utf-8", errors="replace") as file:
        for line in file:
            if line.startswith("totals:"):
                instructions += int(line.split()[1])
            elif line.startswith(("fn=", "cfn=")):
                number, name = re.match(r"c?fn=\((\d+)\) ?(.*)", line).groups()
                if name:
                    names[number] = name
                callee = names.get(number, "")
            elif line.startswith("calls="):
                at_call = callee == _DRIVER
            elif at_call:  # what that call took, with all that it called
                instructions -= int(line.split()[1])
                at_call = False
    return instructions


def count(program):
    """The last round's counts by kind, daemon or bare, and tag."""
    with tempfile.TemporaryDirectory() as folder:
        callgrind = ["valgrind", "--tool=callgrind", "--callgrind-out-file=%s/out" % folder,
                     "--toggle-collect=" + _PULL, "--dump-after=" + _PULL]
        pulls, sys_is_ours = run(program, under=callgrind)
        dumps = sorted(glob.glob(folder + "/out.*"), key=lambda path: int(path.rsplit(".", 1)[1]))
        if len(dumps) != len(pulls):
            sys.exit("%d profiles of %d pulls" % (len(dumps), len(pulls)))
        names, counts = {}, {}
        for (kind, tag, events), dump in zip(pulls, dumps):
            tag = int(tag)
            counts[kind, tag] = read_profile(dump, names)
            if (events == "0") != (tag in NO_EVENT) and (sys_is_ours or tag not in FILE_ATOMS):
                sys.exit("a pull of %d gave %s events: its value is missing in %s, or it belongs to"
                         " NO_EVENT of this script" % (tag, events, PROFILE))
    for tag in () if sys_is_ours else FILE_ATOMS:
        del counts["daemon", tag], counts["bare", tag]
    return counts


def read_record():
    """The environment of the recording, and its counts."""
    with open(RECORD, encoding="utf-8") as file:
        lines = [line.strip() for line in file if not line.startswith("#")]
    return lines[0], {int(tag): int(number) for tag, number in (line.split() for line in lines[1:])}


def write_record(counts):
    with open(RECORD, "w", encoding="utf-8") as file:
        file.write("# Instructions of each pull, written by ./bench instructions --record, there:\n")
        file.write(environment() + "\n")
        for (kind, tag), instructions in sorted(counts.items()):
            if kind == "daemon":
                file.write("%d %d\n" % (tag, instructions))


def main():
    parser = argparse.ArgumentParser(prog="bench instructions")
    parser.add_argument("program")
    parser.add_argument("--record", action="store_true")
    options = parser.parse_args()
    counts = count(options.program)
    if options.record:
        write_record(counts)
    where, recorded = read_record()
    judged = where == environment()
    names = {**in_device.atom_names(), DISPATCH: "(a tag without a handler)"}
    rows, dearer = [], []
    for (kind, tag), instructions in sorted(counts.items()):
        if kind != "daemon":
            continue
        bare = counts.get(("bare", tag), 0)
        change = instructions / recorded.get(tag, instructions) - 1
        rows.append(["%d %s" % (tag, names[tag]), "%d" % instructions, "%d" % bare,
                     "%d" % (instructions - bare), "%+.1f %%" % (100 * change) if judged else "-"])
        if judged and change > TOLERANCE:
            dearer.append(str(tag))
    print("\n`./bench instructions`, %s\n" % environment())
    print(in_device.table(["atom", "instructions", "bare", "own", "since recorded"], rows))
    if not judged:
        print("\nNot judged: recorded with %s" % where)
        return 0
    print("\nDearer by more than %d %%: %s" % (100 * TOLERANCE, ", ".join(dearer) or "none"))
    return 1 if dearer else 0


if __name__ == "__main__":
    sys.exit(main())
