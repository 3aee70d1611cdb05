"""Tests of the virtual device's launcher, with a stand-in for the emulator."""

import os
import signal
import stat
import time
import unittest

from launcher_case import LauncherCase

_UP = 'frame(b"S", b"registered")\n'
_STAYS = "while True: time.sleep(1)"
_ENDS = 'frame(b"X", struct.pack("<i", 0))'


class LauncherTest(LauncherCase):
    def _trace(self, *words):
        """Status, the last line of standard error, and the file after a trace to one that was there."""
        self.write("out/trace", "old")
        os.chmod(self.folder + "/out/trace", 0o640)
        status, lines = self.machine.run(*self.call("trace", "-o", self.folder + "/out/trace",
                                                    *words))
        self.assertEqual((["trace"], [], 0o640),
                         (os.listdir(self.folder + "/out"), self.left_over(),
                          stat.S_IMODE(os.stat(self.folder + "/out/trace").st_mode)))
        return status, lines[-1] if lines else "", self.read("out/trace")

    def _recorded(self, name):
        """The contents of the recordings that are to become the file."""
        return [self.read(file) for file in os.listdir(self.folder) if file.startswith(".%s." % name)]

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
            self.device(frames)
            with self.subTest(frames=frames, words=words):
                self.assertEqual(expected, self._trace(*words))

    def test_a_wrong_trace_leaves_the_file_alone(self):
        there = "bare mtk qcom; or a folder)"
        for words, status, line in (
                (("--profile", "mkt"), 2,
                 "vdev trace: argument --profile: no such profile 'mkt' (there are: " + there),
                (("--for", "0.9"), 2, "vdev trace: argument --for: '0.9' is less than a second"),
                (("150005", "150999"), 2, "vdev trace: argument ID: no such atom: 150999"),
                (("--profile", self.folder + "/profile", "--scenario", "day"), 2,
                 "vdev: %s/profile/scenario.day: no such scenario (there are: night)" %
                 self.folder)):
            with self.subTest(words=words):
                self.assertEqual((status, line, "old"), self._trace(*words))
        self.write("build/vdevice/launcher/profile_check", "#!/bin/sh\necho wrong >&2\nexit 1\n")
        self.assertEqual((1, "vdev: wrong", "old"), self._trace())

    def test_a_trace_goes_to_standard_output(self):
        self.device(_UP + 'frame(b"O", b"new")\n' + _ENDS)
        status, lines, output = self.machine.outcome(*self.call("trace", "-o", "-"))
        self.assertEqual((0, [], "new"), (status, lines, output))

    def test_nothing_is_left_however_it_ends(self):
        for number in range(3000):
            os.makedirs("%s/profile/root/%d" % (self.folder, number))
        self.device(_UP + 'frame(b"O", b"new")\n' + _STAYS)
        for ending in (signal.SIGHUP, signal.SIGTERM, signal.SIGINT):
            process = self.machine.start(*self.call(
                "trace", "--profile", self.folder + "/profile", "-o", self.folder + "/t"))
            while "new" not in self._recorded("t") and process.poll() is None:
                time.sleep(0.02)
            while process.poll() is None:  # as often as an impatient user can
                process.send_signal(ending)
                time.sleep(0.003)
            process.communicate()
            with self.subTest(ending=ending):
                self.assertEqual((130, [], "new"), (process.returncode, self.left_over(),
                                                    self.read("t")))

    def test_a_device_that_hangs_shows_its_console(self):
        self.device('print("stuck", flush=True)\n' + _UP + _STAYS)
        self.assertEqual((124, ["  console: stuck", "vdev: the script was not done after 1 s"]),
                         self.machine.run(*self.call("exec", "--timeout", "1", "--", "true")))

    def test_a_full_disk_is_one_line(self):
        for program, line in (("cp", "No space left"), ("cat", "No space left"),
                              ("cpio", "No space left"), ("chmod", "status 3")):
            path = "%s/bin/%s" % (self.folder, program)
            target = os.readlink(path)
            os.unlink(path)
            said = "echo No space left >&2\n" if "left" in line else ""
            self.write("bin/" + program, "#!/bin/bash\n%sexit 3\n" % said)
            status, lines = self.machine.run(*self.call("exec", "--", "true"))
            os.unlink(path)
            os.symlink(target, path)
            self.assertEqual((1, ["vdev: the RAM disk cannot be written: " + line], []),
                             (status, lines, self.left_over()), program)


if __name__ == "__main__":
    unittest.main()
