"""Tests of the programs that read profiles and scenarios."""

import os
import subprocess
import tempfile
import unittest

_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
_PROGRAMS = os.path.join(_ROOT, "build", "device", "vdevice")
_RC = "service stats /bin/stats\n  interface aidl manager\n"


def _write(folder, files):
    """A content of None means that the file is missing."""
    for name, content in files.items():
        if content is None:
            continue
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())


def _run(*command):
    """Exit status and output, including standard error."""
    ended = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60,
                           check=False)
    return ended.returncode, ended.stdout.decode()


class ProfileCheckTest(unittest.TestCase):
    """profile_check reports the first mistake in a profile."""

    def _check(self, expected, files):
        with tempfile.TemporaryDirectory() as folder:
            _write(folder, {"f": _RC})
            _write(folder + "/profile", {"build.prop": "", **files})
            status, said = _run(os.path.join(_PROGRAMS, "launcher", "profile_check"),
                                folder + "/profile", folder + "/f")
            said = said.replace(folder + "/profile/", "").replace(folder + "/", "")
        with self.subTest(files=files):
            self.assertEqual((1, expected + "\n") if expected else (0, ""), (status, said))

    def test_accepts_what_the_format_allows(self):
        for files in (
                {"build.prop": "# a phone\n\nro.hardware=qcom\npersist.a=\nro.b=x=y\n"},
                {"build.prop": "a=" + 91 * "x"},
                {"nodes/a": b"\0\xff", "nodes/a.1": "", "nodes/a.2": ""},
                {"charger": "getPsyBatteryCC=fail\ngetUIsohValue=-2147483648\n"},
                {"absent": "stats\nmanager\n"},
                {"features": "feature=a.b off\nbpf=unsupported\nbpf_connect=-5\n"},
                {"faults": "stats=error\nmanager=disorder\n"},
                {"calda": "status=1\nvector=4 4 -1\nexception=-3\n"},
                {"thermal": "41.5\n-3\n.5\n"},
                {"audio": "any=text", "uah": "a,b\n!nontext\n", "touch": "\0"},
                {"audio": "status=-38"},
                {"scenario": "at 0 s\n node a 1\n", "scenario.b": ""},
                {"root/proc/meminfo": ""}):
            self._check("", files)

    def test_refuses_with_file_line_and_reason(self):
        for expected, files in (
                ("build.prop:2: 'foo' has no '='", {"build.prop": "a=b\nfoo\n"}),
                ("build.prop:3: 'a' is already set in line 1", {"build.prop": "a=b\n\na=c\n"}),
                ("build.prop:1: 'a b' is no property name", {"build.prop": "a b=c"}),
                ("build.prop:1: '' is no property name", {"build.prop": "=c"}),
                ("build.prop:1: 'ctl.stop' is a request to init, no property",
                 {"build.prop": "ctl.stop=x"}),
                ("build.prop:1: the value of 'a' is longer than 91 bytes",
                 {"build.prop": "a=" + 92 * "x"}),
                ("build.prop:1: is not UTF-8 text", {"build.prop": b"a=\xff"}),
                ("build.prop:1: holds a NUL character", {"build.prop": "a=\0"}),
                ("nodes/a b: is no key, nor KEY.N with N from 1", {"nodes/a b": ""}),
                ("nodes/a.1: there is no a before it", {"nodes/a.1": ""}),
                ("nodes/a.2: there is no a.1 before it", {"nodes/a": "", "nodes/a.2": ""}),
                ("nodes: is no folder", {"nodes": ""}),
                ("charger: is no file", {"charger/x": ""}),
                ("charger:1: the charger has no method 'getNothing'", {"charger": "getNothing=1"}),
                ("charger:1: '2147483648' is no 32-bit number for getUIsohValue",
                 {"charger": "getUIsohValue=2147483648"}),
                ("absent:1: there is no service 'audi' (there are: manager, stats)",
                 {"absent": "audi"}),
                ("calda:2: 'foo' is none of ambient, exception, status, transport_error, vector",
                 {"calda": "status=1\nfoo=1"}),
                ("calda:1: 'x' is no 32-bit number for vector", {"calda": "vector=1 x"}),
                ("thermal:1: 'warm' is no temperature", {"thermal": "warm"}),
                ("thermal:1: '1 2' is no temperature", {"thermal": "1 2"}),
                ("audio:1: 'no' is no 32-bit number for status", {"audio": "status=no"}),
                ("audio:1: '0x1' is no 32-bit number for status", {"audio": "status=0x1"}),
                ("uah:1: '!other' is neither '!nontext' nor '!fail'", {"uah": "!other"}),
                ("features:1: 'feature=a on' is neither 'feature=NAME off', 'bpf=unsupported' nor "
                 "one of bpf_btf, bpf_connect, bpf_enable, bpf_region with a number",
                 {"features": "feature=a on"}),
                ("faults:1: 'slow' is none of disorder, error, garbage, interface, megabytes, status",
                 {"faults": "stats=slow"}),
                ("scenario.b: line 1: a step, such as 'at 0 s', must stand before it",
                 {"scenario.b": "node a 1"}),
                ("extra: a profile has no such file", {"extra": ""}),
                ("root/profile: is the device's own", {"root/profile/x": ""}),
                ("build.prop: is missing", {"build.prop": None, "touch": ""}),
                ("profile: there is no such profile folder", {"build.prop": None})):
            self._check(expected, files)


class ScenarioTest(unittest.TestCase):
    """scenario reports the values at a second."""

    def _values(self, text, second):
        with tempfile.TemporaryDirectory() as folder:
            _write(folder, {"f": text})
            status, said = _run(os.path.join(_PROGRAMS, "scenario"), "--values", str(second),
                                folder + "/f")
        return status, said.replace(folder + "/", "")

    def test_holds_what_the_latest_step_has_set(self):
        text = """# a comment
            at 2 s
              node gpu 10 -20 to 20 20 until 7 s
              thermal 30.0 31.5 to 40.0 31.5 until 4 s
              charger getPsyBatteryTemp 305
              audio two words

            at 5 s
              charger getPsyBatteryTemp 300
              wakeup wakeup3 active_time_ms 1
              node lines a: 1\\nb: 2
            """
        later = ("nodes/lines a: 1\nb: 2\nroot/sys/class/wakeup/wakeup3/active_time_ms 1\n"
                 "thermal 40.0\n31.5\n")
        for second, temperature, rest in (
                (2, 305, "nodes/gpu 10 -20\nthermal 30.0\n31.5\n"),
                (3, 305, "nodes/gpu 12 -12\nthermal 35.0\n31.5\n"),
                (5, 300, "nodes/gpu 16 4\n" + later),
                (7, 300, "nodes/gpu 20 20\n" + later),
                (8, 300, "nodes/gpu 20 20\n" + later)):
            with self.subTest(second=second):
                self.assertEqual(
                    (0, "audio two words\ncharger getPsyBatteryTemp %d\n" % temperature + rest),
                    self._values(text, second))
        self.assertEqual((0, ""), self._values(text, 1))

    def test_says_which_line_is_wrong_and_why(self):
        step = "a time not before the last step's, such as '20 s', must follow 'at'"
        end = "a time later than 5 s, such as '90 s', must follow 'until'"
        shape = "the texts before and behind 'to' differ in more than their numbers"
        for text, reason in (
                ("node a 1", "line 1: a step, such as 'at 0 s', must stand before it"),
                ("at 5", "line 1: " + step),
                ("at 5 s\n\nat 4 s", "line 3: " + step),
                ("at 0 s\nnod a 1", "line 2: 'nod' is nothing that can be set"),
                ("at 0 s\nnode a", "line 2: 'node' wants a value"),
                ("at 0 s\nnode ../a 1", "line 2: '../a' is no plain name"),
                ("at 5 s\nnode a 1 to 2 until 5 s", "line 2: " + end),
                ("at 5 s\nnode a 1 to 2 until 9", "line 2: " + end),
                ("at 0 s\nnode a 1 to 2 3 until 9 s", "line 2: " + shape),
                ("at 0 s\nnode a x to y until 9 s", "line 2: " + shape)):
            with self.subTest(text=text):
                self.assertEqual((1, "scenario: f: %s\n" % reason), self._values(text, 0))


if __name__ == "__main__":
    unittest.main()
