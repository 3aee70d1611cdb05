"""Tests of the virtual device's launcher, with a stand-in for the emulator."""

import os
import signal
import stat
import subprocess
import tempfile
import time
import unittest

from machine import Machine

_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
_INSTALLED = 'for p in "${@:3}"; do echo "installed $p"; done'
_CMAKE = 'case $1 in -G) touch "$6/build.ninja" ;; esac'

# Connects like the emulator, sends the frames of `frames`, and waits until it is killed.
_EMULATOR = """#!/usr/bin/python3
import re, socket, struct, sys, time
port = socket.socket(socket.AF_UNIX)
port.connect(re.search("id=port,path=([^, ]*)", " ".join(sys.argv)).group(1))
def frame(kind, data=b""):
    port.sendall(struct.pack("<cHI", kind, 1, len(data)) + data)
%s
"""
_UP = 'frame(b"S", b"registered")\n'
_STAYS = 'open("%(folder)s/up", "w")\nwhile True: time.sleep(1)'
_ENDS = 'frame(b"X", struct.pack("<i", 0))'


class LauncherTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self._folder = folder.name
        self._machine = Machine(folder.name, dpkg_query=_INSTALLED, cmake=_CMAKE)
        for program in ("chmod", "cp", "cpio", "find", "python3"):
            os.symlink("/usr/bin/" + program, folder.name + "/bin/" + program)
        listed = subprocess.run(["sed", "-n", r"s/^readonly \(PACKAGE\|UPSTREAM\)=//p",
                                 "host/aosp/apt-private"], cwd=_ROOT, capture_output=True,
                                text=True, check=True).stdout.split()
        os.makedirs(folder.name + "/.cache/zstats_pullerd/" + "-".join(listed))
        for name, text in (("build/image/base.cpio", "x"), ("build/image/vmlinux", ""),
                           ("build/vdevice/launcher/profile_check", "#!/bin/sh\n"),
                           ("profile/build.prop", ""), ("profile/scenario.night", "")):
            self._write(name, text)

    def _write(self, name, text):
        path = os.path.join(self._folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(path, 0o755)

    def _read(self, name):
        with open(os.path.join(self._folder, name), encoding="utf-8") as file:
            return file.read()

    def _device(self, frames):
        for name in ("qemu-system-x86_64", "qemu-system-aarch64"):
            self._write("bin/" + name, _EMULATOR % (frames % {"folder": self._folder}))

    def _call(self, command, *words):
        return ["./vdev", command, "--build-dir", self._folder + "/build", *words]

    def _left_over(self):
        return os.listdir(self._folder + "/tmp")

    def _trace(self, *words):
        """Status, the last line of standard error, and the file after a trace to one that was there."""
        self._write("out/trace", "old")
        os.chmod(self._folder + "/out/trace", 0o640)
        status, lines = self._machine.run(*self._call("trace", "-o", self._folder + "/out/trace",
                                                      *words))
        self.assertEqual((["trace"], [], 0o640),
                         (os.listdir(self._folder + "/out"), self._left_over(),
                          stat.S_IMODE(os.stat(self._folder + "/out/trace").st_mode)))
        return status, lines[-1] if lines else "", self._read("out/trace")

    def test_a_trace_takes_its_place_when_something_was_recorded(self):
        more = 'frame(b"O", b"new")\n'
        for frames, words, expected in (
                (_UP + more + _ENDS, (), (0, "", "new")),
                (_UP + more, (), (125, "vdev: the device died before the script ended", "new")),
                (_UP, (), (125, "vdev: the device died before the script ended", "old")),
                (_UP + more + _STAYS, ("--timeout", "1"),
                 (124, "vdev: the script was not done after 1 s", "new")),
                (_UP + more + _STAYS, ("--timeout", "1", "--for", "5"),
                 (124, "vdev: the script was not done after 1 s", "new"))):
            self._device(frames)
            with self.subTest(frames=frames, words=words):
                self.assertEqual(expected, self._trace(*words))

    def test_a_wrong_trace_leaves_the_file_alone(self):
        there = "bare mtk qcom; or a folder)"
        for words, status, line in (
                (("--profile", "mkt"), 2,
                 "vdev trace: argument --profile: no such profile 'mkt' (there are: " + there),
                (("--for", "0.9"), 2, "vdev trace: argument --for: '0.9' is less than a second"),
                (("150005", "150999"), 2, "vdev trace: argument ID: no such atom: 150999"),
                (("--profile", self._folder + "/profile", "--scenario", "day"), 2,
                 "vdev: %s/profile/scenario.day: no such scenario (there are: night)" %
                 self._folder)):
            with self.subTest(words=words):
                self.assertEqual((status, line, "old"), self._trace(*words))
        self._write("build/vdevice/launcher/profile_check", "#!/bin/sh\necho wrong >&2\nexit 1\n")
        self.assertEqual((1, "vdev: wrong", "old"), self._trace())

    def test_a_trace_goes_to_standard_output(self):
        self._device(_UP + 'frame(b"O", b"new")\n' + _ENDS)
        status, lines, output = self._machine.outcome(*self._call("trace", "-o", "-"))
        self.assertEqual((0, [], "new"), (status, lines, output))

    def test_nothing_is_left_however_it_ends(self):
        for number in range(3000):
            os.makedirs("%s/profile/root/%d" % (self._folder, number))
        self._device(_UP + 'frame(b"O", b"new")\n' + _STAYS)
        for ending in (signal.SIGHUP, signal.SIGTERM, signal.SIGINT):
            process = self._machine.start(*self._call(
                "trace", "--profile", self._folder + "/profile", "-o", self._folder + "/t"))
            while not os.path.exists(self._folder + "/up") and process.poll() is None:
                time.sleep(0.02)
            os.unlink(self._folder + "/up")
            while process.poll() is None:  # as often as an impatient user can
                process.send_signal(ending)
                time.sleep(0.003)
            process.communicate()
            with self.subTest(ending=ending):
                self.assertEqual((130, [], "new"), (process.returncode, self._left_over(),
                                                    self._read("t")))

    def test_a_full_disk_is_one_line(self):
        for program, line in (("cp", "No space left"), ("cat", "No space left"),
                              ("cpio", "No space left"), ("chmod", "status 3")):
            path = "%s/bin/%s" % (self._folder, program)
            target = os.readlink(path)
            os.unlink(path)
            said = "echo No space left >&2\n" if "left" in line else ""
            self._write("bin/" + program, "#!/bin/bash\n%sexit 3\n" % said)
            status, lines = self._machine.run(*self._call("exec", "--", "true"))
            os.unlink(path)
            os.symlink(target, path)
            self.assertEqual((1, ["vdev: the RAM disk cannot be written: " + line], []),
                             (status, lines, self._left_over()), program)


if __name__ == "__main__":
    unittest.main()
