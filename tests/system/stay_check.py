"""Calls on a device that stays. Prints "ok NAME" or "not ok NAME: reason" a check.

usage: stay_check.py SLOWNESS FOLDER ARGUMENT...

SLOWNESS is how many times the limits, FOLDER is for files, the arguments are those of `./vdev start`.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import time

from shell_check import PROMPT, Terminal

_NAME = "stay-%d" % os.getpid()
_ALL_BYTES = bytes(range(256))
_SECONDS = 120
_DIED = "vdev: the device died before the script ended\n"


class Device:
    def __init__(self, slowness, folder):
        self._seconds = _SECONDS * slowness
        self._folder = folder

    def start(self, *words):
        return subprocess.Popen(["./vdev", *words], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE)

    def call(self, *words):
        """Status, output and errors."""
        return self.ended(self.start(*words))

    def ended(self, process):
        output, errors = process.communicate(timeout=self._seconds)
        return process.returncode, output, errors

    def begin(self, script):
        return self.start("exec", "--attach", _NAME, "--", script)

    def run(self, script):
        return self.ended(self.begin(script))

    def wait_for(self, condition):
        until = time.time() + self._seconds
        while time.time() < until:
            if self.run(condition)[0] == 0:
                return True
        return False

    def scripts_side_by_side(self):
        long = self.begin("echo begun; until [ -e /tmp/go ]; do usleep 100000; done; echo long; exit 4")
        yield "long_begins", (b"begun\n", None), (long.stdout.readline(), long.poll())
        yield "short_ends", (0, b"short\n", b""), self.run("echo short; touch /tmp/go")
        yield "long_ends", (4, b"long\n", b""), self.ended(long)

    def output_is_exact(self):
        octal = "".join("\\%03o" % byte for byte in _ALL_BYTES)
        yield ("bytes_and_status", (255, _ALL_BYTES, b"e\0\n"),
               self.run("printf '%s'; printf 'e\\0\\n' >&2; exit 255" % octal))
        yield "input", (0, b"", b""), self.run("cat")
        yield "own_name", (0, b"/script/main\n", b""), self.run('echo "$0"')
        status, output, errors = self.run("while :; do echo x; done & exit 4")
        yield "ends_with_its_own_process", (4, set(), b""), (status, set(output) - set(b"x\n"), errors)
        yield "signal", (137, b"", b""), self.run("kill -9 $$")

    def slow_reader_holds_up_itself(self):
        slow = self.begin("head -c 300000 /dev/zero; echo end >&2")
        first = os.read(slow.stdout.fileno(), 1)
        yield "others_go_on", (0, b"other\n", b""), self.run("echo other")
        status, rest, errors = self.ended(slow)
        yield "nothing_lost", (0, bytes(300000), b"end\n"), (status, first + rest, errors)

    def killed_call_ends_its_script(self):
        other = self.begin("echo begun; until [ -e /tmp/gone ]; do usleep 100000; done")
        killed = self.begin("echo $$; sleep 10000")
        script = killed.stdout.readline().strip().decode()
        other.stdout.readline()
        killed.kill()
        killed.communicate()
        yield "script_ends", True, self.wait_for("! ls /proc/%s && ! pidof sleep" % script)
        self.run("touch /tmp/gone")
        yield "others_go_on", (0, b"", b""), self.ended(other)

    def files_go_and_come(self):
        there, back = self._folder + "/there", self._folder + "/back"
        for name, data, mode in (("all", _ALL_BYTES, 0o750), ("empty", b"", 0o604),
                                 ("long", _ALL_BYTES * 100, 0o444)):
            with open(there, "wb") as file:
                file.write(data)
            os.chmod(there, mode)
            steps = [self.call("push", "--name", _NAME, there, "/data/" + name),
                     self.call("pull", "--name", _NAME, "/data/" + name, back)]
            with open(back, "rb") as file:
                yield (name, ([(0, b"", b"")] * 2, data, mode),
                       (steps, file.read(), os.stat(back).st_mode & 0o7777))
            os.unlink(there)
            os.unlink(back)
        self.run("ln -s all /data/link")
        yield "through_a_link", (0, b"", b""), self._push_bytes("/data/link")
        yield "link_stays", (0, b"all\n", b""), self.run("readlink /data/link; cmp /data/all /data/link")
        yield ("no_folder", (1, b"", b"vdev: the device says: can't create /none/x: nonexistent directory\n"),
               self._push_bytes("/none/x"))
        yield ("no_file", (1, b"", b"vdev: the device says: can't open /none: no such file\n"),
               self.call("pull", "--name", _NAME, "/none", back))
        yield "nothing_arrives", [], os.listdir(self._folder)

    def _push_bytes(self, target):
        """More than is in transit at a time, so that it hangs if input without a reader is kept."""
        there = self._folder + "/x"
        with open(there, "wb") as file:
            file.write(_ALL_BYTES * 100)
        result = self.call("push", "--name", _NAME, there, target)
        os.unlink(there)
        return result

    def folders_go_and_come(self):
        there, back = self._folder + "/there", self._folder + "/back"
        os.makedirs(there + "/inner")
        with open(there + "/inner/a file", "wb") as file:
            file.write(_ALL_BYTES)
        os.symlink("inner", there + "/link")
        steps = [self.call("push", "--name", _NAME, there, "/data/"),
                 self.call("pull", "--name", _NAME, "/data/there", back)]
        yield "calls", [(0, b"", b"")] * 2, steps
        yield "same", 0, subprocess.call(["diff", "--no-dereference", "-r", there, back])
        line = "vdev: %s/there: is there already\n" % os.path.realpath(back)
        yield ("not_replaced", [(0, b"", b""), (1, b"", line.encode())],
               [self.call("pull", "--name", _NAME, "/data/there", back) for _ in range(2)])

    def shells_side_by_side(self):
        shells = [Terminal(["./vdev", "shell", "--attach", _NAME]) for _ in range(2)]
        try:
            for number, shell in enumerate(shells):
                yield "prompt", True, shell.wait_for(PROMPT, self._seconds) is not None
                shell.resize(20 + number, 70)
                yield "size", True, shell.size_becomes(20 + number, 70)
            shells[0].type(b"exit 3\r")
            shells[0].wait_for(rb"\0", self._seconds)  # all that it says
            yield "status", 3, shells[0].process.wait(self._seconds)
            yield "other_goes_on", True, shells[1].size_becomes(21, 70)
        finally:
            for shell in shells:
                shell.process.kill()
                shell.process.wait()

    def powers_off(self):
        other = self.begin("echo begun; sleep 10000")
        other.stdout.readline()
        yield "call", (125, b"", _DIED.encode()), self.run("poweroff -f")
        yield "other", (125, b"", _DIED.encode()), self.ended(other)
        yield ("gone", (1, b"", b"vdev: there is no device '%s' (there are: none)\n" % _NAME.encode()),
               self.call("stop", _NAME))


def check(group):
    for name, expected, actual in group():
        name = "stay/%s/%s" % (group.__name__, name)
        print("ok " + name if expected == actual else
              "not ok %s: expected %.300r, got %.300r" % (name, expected, actual), flush=True)


def main(slowness, folder, *arguments):
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    device = Device(int(slowness), folder)
    if subprocess.call(["./vdev", "start", "--name", _NAME, *arguments]) != 0:
        print("not ok stay/start: it failed")
        return
    try:
        for group in (device.scripts_side_by_side, device.output_is_exact,
                      device.slow_reader_holds_up_itself, device.killed_call_ends_its_script,
                      device.files_go_and_come, device.folders_go_and_come,
                      device.shells_side_by_side, device.powers_off):
            check(group)
            shutil.rmtree(folder)
            os.makedirs(folder)
    finally:
        subprocess.call(["./vdev", "stop", _NAME], stderr=subprocess.DEVNULL)


if __name__ == "__main__":
    os.chdir(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
    # Where no other device is.
    with tempfile.TemporaryDirectory() as runtime:
        os.environ["XDG_RUNTIME_DIR"] = runtime
        main(*sys.argv[1:])
