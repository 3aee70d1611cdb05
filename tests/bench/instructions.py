#!/usr/bin/env python3
"""Instructions and heap allocations of each pull, counted by callgrind on this machine: from the call of
onPullAtom to its return, without what the driver and the services do for it. Prints a table in
Markdown; the exit status is 1 if a pull has become dearer than recorded by more than TOLERANCE.

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

import cost
import in_device

TOLERANCE = 0.02
RECORD = "tests/bench/instructions.txt"
PROFILE = "vdevice/profiles/qcom"
DISPATCH = 1  # a tag without a handler
NO_EVENT = {DISPATCH, 150014, 150015}
FILE_ATOMS = {150020, 150121}  # these read /sys

_PULL = "zstats::onPullAtom(int, AStatsEventList*, void*)"
_DRIVER = "__wrap__ZN7android14IPCThreadState8transactEijRKNS_6ParcelEPS1_j"
_ALLOCATORS = ("malloc", "calloc", "realloc", "aligned_alloc", "posix_memalign")
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


def call(program, folder):
    """Runs the program under callgrind; gives its tags, and whether it had the profile's /sys."""
    command = ["env", "-i", "LC_ALL=C", "GLIBC_TUNABLES=" + _TUNABLES, "PATH=/usr/bin:/bin",
               "setarch", "-R", "valgrind", "--tool=callgrind",
               "--callgrind-out-file=%s/out" % folder, "--toggle-collect=" + _PULL,
               "--dump-after=" + _PULL, "--toggle-collect=" + _DRIVER, program, PROFILE]
    own = ["unshare", "-m", "sh", "-c", _WITH_SYS, os.path.abspath(PROFILE + "/root/sys")]
    sys_is_ours = subprocess.call(own + ["true"], stderr=subprocess.DEVNULL) == 0
    result = subprocess.run((own if sys_is_ours else []) + command, capture_output=True, text=True,
                            check=False)
    if result.returncode != 0:
        sys.exit("callgrind ended with status %d:\n%s" % (result.returncode, result.stderr))
    return [[int(word) for word in line.split()] for line in result.stdout.splitlines()], sys_is_ours


def read_profile(path, names):
    """Instructions and allocations of one pull."""
    instructions, allocations, callee = 0, 0, ""
    with open(path, encoding="utf-8", errors="replace") as file:
        for line in file:
            if line.startswith("totals:"):
                instructions = int(line.split()[1])
            elif line.startswith(("fn=", "cfn=")):
                number, name = re.match(r"c?fn=\((\d+)\) ?(.*)", line).groups()
                if name:
                    names[number] = name
                callee = names.get(number, "")
            elif line.startswith("calls=") and callee.split("'")[0] in _ALLOCATORS:
                allocations += int(line[6:].split()[0])
    return instructions, allocations


def count(program):
    """Instructions and allocations by tag, of the last round."""
    with tempfile.TemporaryDirectory() as folder:
        pulls, sys_is_ours = call(program, folder)
        dumps = sorted(glob.glob(folder + "/out.*"), key=lambda path: int(path.rsplit(".", 1)[1]))
        if len(dumps) != len(pulls) or len(pulls) % 2:
            sys.exit("%d profiles of %d pulls" % (len(dumps), len(pulls)))
        names, counts = {}, {}
        for (tag, events), dump in zip(pulls, dumps):
            counts[tag] = read_profile(dump, names)
            if (events == 0) != (tag in NO_EVENT) and (sys_is_ours or tag not in FILE_ATOMS):
                sys.exit("a pull of %d gave %d events: its value is missing in %s, or it belongs to"
                         " NO_EVENT of this script" % (tag, events, PROFILE))
    for tag in () if sys_is_ours else FILE_ATOMS:
        del counts[tag]
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
        for tag, (instructions, _) in sorted(counts.items()):
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
    names = {**cost.atom_names(), DISPATCH: "(a tag without a handler)"}
    rows, dearer = [], []
    for tag, (instructions, allocations) in sorted(counts.items()):
        change = instructions / recorded.get(tag, instructions) - 1
        rows.append(["%d %s" % (tag, names[tag]), "%d" % instructions, "%d" % allocations,
                     "%+.1f %%" % (100 * change) if judged else "-"])
        if judged and change > TOLERANCE:
            dearer.append(str(tag))
    print("\n`./bench instructions`, %s\n" % environment())
    print(in_device.table(["atom", "instructions", "allocations", "since recorded"], rows))
    if not judged:
        print("\nNot judged: recorded with %s" % where)
        return 0
    print("\nDearer by more than %d %%: %s" % (100 * TOLERANCE, ", ".join(dearer) or "none"))
    return 1 if dearer else 0


if __name__ == "__main__":
    sys.exit(main())
