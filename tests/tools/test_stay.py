"""Devices that stay, with a stand-in for the emulator."""

import os
import pty
import shlex
import signal
import subprocess
import time
import unittest

from launcher_case import LauncherCase

# Answers a script by printing it, and ends with 3; "wait" goes on, and "off" is a power-off. Notes its
# process id and the signals that it is sent.
_DEVICE = """
import os
open("%(folder)s/emulator", "w").write(str(os.getpid()))
def reply(kind, session, data):
    port.sendall(struct.pack("<cHI", kind, session, len(data)) + data)
def take(count):
    data = b""
    while len(data) < count:
        part = port.recv(count - len(data))
        if not part: time.sleep(1000)  # the emulator goes on without its launcher
        data += part
    return data
frame(b"S", b"registered")
text = {}
while True:
    kind, session, length = struct.unpack("<cHI", take(7))
    data = take(length)
    if kind == b"T":
        text[session] = text.get(session, b"") + data
        reply(b"A", session, struct.pack("<I", length))
    elif kind == b"K":
        open("%(folder)s/signals", "a").write("%%d " %% struct.unpack("<I", data))
        if data[0] == 9: reply(b"X", session, struct.pack("<i", 137))
    elif kind == b"B" and text[session] == b"off":
        sys.exit()
    elif kind == b"B" and text[session] != b"wait":
        for at in range(0, len(text[session]), 10000): reply(b"O", session, text[session][at:at + 10000])
        del text[session]
        reply(b"X", session, struct.pack("<i", 3))
"""
_DIED = "vdev: the device died before the script ended"
_NONE = "vdev: there is no device '%s' (there are: %s)"
_NO_NAME = "is no name of a device (letters, digits, '-', '_' and '.')"


def _runs(process):
    try:
        with open("/proc/%d/cmdline" % process, "rb") as file:
            return file.read() != b""  # one that waits for its parent has none
    except (FileNotFoundError, ProcessLookupError):
        return False


class StayTest(LauncherCase):
    def setUp(self):
        super().setUp()
        self.device(_DEVICE)
        self.addCleanup(self._stop_all)

    def _stop_all(self):
        for name in self._names():
            self._vdev("stop", name)

    def _vdev(self, *words):
        return self.machine.outcome("./vdev", *words)

    def _start(self, *words):
        return self.machine.outcome(*self.call("start", *words))

    def _names(self):
        return [line.split()[0] for line in self._vdev("status")[2].splitlines()]

    def _wait_until(self, condition):
        until = time.time() + 60
        while not condition() and time.time() < until:
            time.sleep(0.05)
        self.assertTrue(condition())

    def _assert_gone(self):
        """Nothing is left of a device."""
        emulator = int(self.read("emulator"))
        self._wait_until(lambda: not _runs(emulator))
        self._wait_until(lambda: self.left_over() == [])

    def test_wrong_calls_are_one_line(self):
        self.assertEqual((0, []), self._start("--name", "a")[:2])
        for status, line, words in (
                (1, "vdev: there is a device 'a' already", self.call("start", "--name", "a")[1:]),
                (1, _NONE % ("default", "a"), ("stop",)),
                (1, _NONE % ("b", "a"), ("status", "b")),
                (1, _NONE % ("b", "a"), ("exec", "--attach", "b", "--", "true")),
                (1, _NONE % ("default", "a"), ("push", "vdev", "/tmp")),
                (1, _NONE % ("default", "a"), ("pull", "/tmp/x")),
                (1, "vdev: [Errno 2] No such file or directory: 'absent'",
                 ("push", "--name", "a", "absent", "/tmp")),
                (2, "vdev stop: argument NAME: '../a' " + _NO_NAME, ("stop", "../a")),
                (2, "vdev start: argument --name: '' " + _NO_NAME, ("start", "--name", "")),
                (2, "vdev: --profile goes with a boot, not with --attach",
                 ("exec", "--attach", "a", "--profile", "mtk", "--", "true")),
                (2, "vdev: shell wants a terminal; use exec for a script", ("shell", "--attach", "a"))):
            with self.subTest(words=words):
                self.assertEqual((status, [line], ""), self._vdev(*words))
        self.assertEqual((0, [], ""), self._vdev("stop", "a"))
        self.assertEqual((1, [_NONE % ("a", "none")], ""), self._vdev("stop", "a"))
        self._assert_gone()

    def test_several_stay_by_name(self):
        for words in ((), ("--name", "b-2")):
            self.assertEqual((0, [], ""), self._start(*words))
        self.assertEqual(["b-2", "default"], self._names())
        self.assertEqual((3, [], "one"), self._vdev("exec", "--attach", "--", "one"))
        self.assertEqual((3, [], "x" * 20000), self._vdev("exec", "--attach", "b-2", "--", "x" * 20000))
        self._vdev("stop", "b-2")
        self.assertEqual(["default"], self._names())
        self._vdev("stop")
        self._assert_gone()

    def test_a_killed_call_ends_its_script_alone(self):
        self._start()
        calls = [self.machine.start("./vdev", "exec", "--attach", "--", "wait") for _ in range(2)]
        self._wait_until(lambda: "sessions: 2" in self._vdev("status")[2])
        calls[0].kill()
        self._wait_until(lambda: os.path.exists(self.folder + "/signals"))
        self.assertEqual((3, [], "other"), self._vdev("exec", "--attach", "--", "other"))
        self._wait_until(lambda: self.read("signals") == "1 9 ")
        self.assertIsNone(calls[1].poll())
        self._vdev("stop")
        self.assertEqual(("", "vdev: the device was stopped\n", 125),
                         (*calls[1].communicate(timeout=60), calls[1].returncode))
        calls[0].communicate()

    def test_nothing_is_left_however_it_ends(self):
        def keeper():
            return int(self._vdev("status")[2].split()[-1])

        for ending in (lambda: os.kill(keeper(), signal.SIGTERM),
                       lambda: os.kill(keeper(), signal.SIGKILL),
                       lambda: os.kill(int(self.read("emulator")), signal.SIGKILL),
                       lambda: self.assertEqual((125, [_DIED], ""),
                                                self._vdev("exec", "--attach", "--", "off"))):
            self.assertEqual((0, [], ""), self._start("--log", self.folder + "/log"))
            ending()
            self._wait_until(lambda: self._names() == [])
            self._assert_gone()

    def test_it_ends_with_its_session(self):
        start = " ".join(shlex.quote(word) for word in self.call("start"))
        for script, stays in ((start, False), ("trap '' HUP; " + start, True)):
            ours, theirs = pty.openpty()
            terminal = self.machine.start(
                "bash", "-c", "exec 0<>\"$1\"; %s; touch %s/there; read" % (script, self.folder),
                "bash", os.ttyname(theirs), stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            os.close(theirs)
            self._wait_until(lambda: os.path.exists(self.folder + "/there"))
            os.unlink(self.folder + "/there")
            self.assertEqual(["default"], self._names())
            os.close(ours)
            terminal.kill()
            terminal.communicate()
            with self.subTest(stays=stays):
                if stays:
                    time.sleep(2)  # as long as it takes otherwise
                    self.assertEqual((0, [], ""), self._vdev("stop"))
                self._assert_gone()

    def test_a_boot_that_fails_leaves_the_name_free(self):
        path = self.folder + "/bin/cp"
        target = os.readlink(path)
        os.unlink(path)
        self.write("bin/cp", "#!/bin/bash\necho No space left >&2\nexit 3\n")
        self.assertEqual((1, ["vdev: the RAM disk cannot be written: No space left"], ""), self._start())
        self.assertEqual([], self.left_over())
        os.unlink(path)
        os.symlink(target, path)
        self.device('open("%(folder)s/emulator", "w").write(str(__import__("os").getpid()))\n'
                    "time.sleep(1000)")
        call = self.machine.start(*self.call("start"))
        self._wait_until(lambda: os.path.exists(self.folder + "/emulator"))
        self.assertEqual("default  not up yet\n", self._vdev("status")[2])
        call.send_signal(signal.SIGINT)
        call.communicate(timeout=60)
        self.assertEqual(130, call.returncode)
        self._assert_gone()


if __name__ == "__main__":
    unittest.main()
