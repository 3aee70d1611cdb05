"""Tests of the system tests' verdicts: failing cases and devices, and the reports about them."""

import contextlib
import importlib.machinery
import importlib.util
import io
import os
import shutil
import subprocess
import tempfile
import types
import unittest
import unittest.mock

_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# Substitutes for a device's programs. The files are its logs; no time passes.
_DEVICE = """
dmesg() { cat "$TMPDIR/kernel"; }
logcat() { cat "$TMPDIR/log"; }
usleep() { :; }
"""
_INIT = "11-22 02:52:25.087     0     1     1 I init: "


def _said(text):
    """A case's command that appends the text to the log."""
    return 'echo "%s" >>"$TMPDIR/log"\n' % text


def _signal(program, pid, number):
    return _said(_INIT + "Service '%s' (pid %d) received signal %d" % (program, pid, number))


# The head and the check of a case that makes one.
_ONE = "# checks: 1\nok first\n"

# Name, text, output.
_CASES = (
    ("passes", "# checks: 2\nok first\nok second\n",
     ["ok passes/first", "ok passes/second", "ok passes/ended"]),
    ("wrong", "# checks: 2\nok first\nis second a b\n",
     ["ok wrong/first", "not ok wrong/second: expected 'a', got 'b'", "ok wrong/ended"]),
    ("status", "ok first\nexit 7\n",
     ["ok status/first", "not ok status/ended: ended with status 7"]),
    ("early", "ok first\nexit 0\nok second\n",
     ["ok early/first", "not ok early/ended: ended before its last line"]),
    ("terminated", "ok first\nkill -TERM $$\n",
     ["ok terminated/first", "not ok terminated/ended: ended with status 143"]),
    ("unclosed_if", "ok first\nif true; then\n",
     ["ok unclosed_if/first",
      "not ok unclosed_if/ended: ended with status 2"]),
    ("unclosed_text", "ok first\ncat <<END\n",
     ["ok unclosed_text/first", ": >unclosed_text.end",
      "not ok unclosed_text/ended: ended before its last line"]),
    ("silent", "true\n", ["not ok silent/ended: printed no result"]),
    ("no_rounds", "# checks: 3\nok first\nfor each in; do ok $each; done\n",
     ["ok no_rounds/first", "not ok no_rounds/ended: made 1 checks, and its head says 3"]),
    ("no_number", "ok first\n",
     ["ok no_number/first", "not ok no_number/ended: made 1 checks, and its head says nothing"]),
    ("leaves_a_process", "sleep 1000 &\n" + _ONE,
     ["ok leaves_a_process/first", "ok leaves_a_process/ended"]),
    ("crash", _ONE + _signal("statsd", 60, 11),
     ["ok crash/first", "not ok crash/crashes: +statsd 11", "ok crash/ended"]),
    ("named_crash", "# crash: statsd 9\n" + _ONE + _signal("statsd", 61, 9),
     ["ok named_crash/first", "ok named_crash/ended"]),
    ("another_crash", "# crash: statsd 9\n" + _ONE + _signal("zstats_pullerd", 62, 6),
     ["ok another_crash/first", "not ok another_crash/crashes: -statsd 9",
      "not ok another_crash/crashes: +zstats_pullerd 6", "ok another_crash/ended"]),
    ("stopped_by_init",
     _ONE + _said(_INIT + "Sending signal 9 to service 'calda' (pid 63) process group...") +
     _signal("calda", 63, 9), ["ok stopped_by_init/first", "ok stopped_by_init/ended"]),
    ("abort_in_the_log",
     _ONE + _said("11-22 02:52:25.087     0    64    65 F calda: Check failed: false"),
     ["ok abort_in_the_log/first", "not ok abort_in_the_log/crashes: +calda 6",
      "ok abort_in_the_log/ended"]),
    ("by_no_service",
     _ONE + _said("[    7.1] potentially unexpected fatal signal 11.") +
     _said("[    7.1] CPU: 1 PID: 66 Comm: statsctl Not tainted 6.1.0 #1") +
     _said("[    7.2] busybox: cmd: potentially unexpected fatal signal 6.") +
     _said("[    7.2] CPU: 0 UID: 0 PID: 67 Comm: cmd Not tainted 6.12.0 #1"),
     ["ok by_no_service/first", "not ok by_no_service/crashes: +cmd 6",
      "not ok by_no_service/crashes: +statsctl 11", "ok by_no_service/ended"]),
    ("a_thread",
     _ONE + _signal("zstats_pullerd", 70, 11) +
     _said("[    7.1] potentially unexpected fatal signal 11.") +
     _said("[    7.1] CPU: 1 PID: 72 Comm: binder:70_2 Not tainted 6.1.0 #1"),
     ["ok a_thread/first", "not ok a_thread/crashes: +zstats_pullerd 11", "ok a_thread/ended"]),
    ("denied", "# denial: { read }\n" + _ONE + _said("avc:  denied  { write }"),
     ["ok denied/first", "ok denied/ended"]),
)
_AFTER_ALL = ["not ok denials: -{ read }", "not ok denials: +{ write }"]


def _without_remarks(text):
    return [line for line in text.splitlines() if not line.startswith("#")]


class _Boot(unittest.TestCase):
    """A folder for the cases, and one for the device's substitutes."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        for name in ("kernel", "log"):
            self.write(name, "")

    def write(self, name, text, mode=0o644):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(path, mode)
        return path

    def boot(self, limit, cases):
        paths = [self.write(name + ".sh", "# profile: qcom\n" + text) for name, text in cases]
        script = subprocess.run([os.path.join(_ROOT, "tests/system/boot_script"), str(limit), *paths],
                                check=True, capture_output=True, text=True).stdout
        environment = dict(os.environ, TMPDIR=self.folder)
        said = subprocess.run(["busybox", "sh", "-c", _DEVICE + script], capture_output=True,
                              text=True, env=environment, check=True).stdout
        return _without_remarks(said)


class Cases(_Boot):

    def test_what_is_said_of_each(self):
        said = self.boot(600, [(name, text) for name, text, _ in _CASES])
        expected = [line for _, _, lines in _CASES for line in lines] + _AFTER_ALL
        self.assertEqual(said, expected)

    def test_the_limit(self):
        self.assertEqual(self.boot(5, [("hangs", "ok first\nsleep 1000\nok second\n")]),
                         ["ok hangs/first", "not ok hangs/ended: took longer than 5 s", "ok denials"])

    def test_crashes_before_and_after(self):
        self.write("log", _INIT + "Service 'touch' (pid 9) received signal 11\n")
        self.assertEqual(self.boot(600, [("passes", _ONE)]),
                         ["not ok boot/crashes: +touch 11", "ok passes/first", "ok passes/ended",
                          "ok denials"])


class Devices(_Boot):
    """tests/system/run in a tree whose ./vdev and ./run are stand-ins."""

    def setUp(self):
        super().setUp()
        shutil.copytree(os.path.join(_ROOT, "tests/system"), os.path.join(self.folder, "tests/system"),
                        symlinks=True, ignore=shutil.ignore_patterns("cases", "__pycache__"))
        for name in ("tools/lib.sh", "tools/architectures", "tests/golden/qcom.jsonl",
                     "tests/registered_atoms"):
            target = os.path.join(self.folder, name)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            shutil.copy(os.path.join(_ROOT, name), target)

    def program(self, name, *lines):
        self.write(name, "\n".join(["#!/bin/bash", *lines, ""]), 0o755)

    def run_tests(self, *arguments):
        return subprocess.run([os.path.join(self.folder, "tests/system/run"), *arguments], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)

    def verdicts(self, *arguments):
        return _without_remarks(self.run_tests(*arguments).stdout)

    def test_a_device_that_ends_early(self):
        for name in ("first", "second"):
            self.write("tests/system/cases/%s.sh" % name, "# profile: qcom\n")
        self.program("vdev", "echo ok first/check", "echo ok first/ended", "exit 125")
        self.assertEqual(self.verdicts("first", "second"), [
            "ok first/check", "ok first/ended", "not ok second/ended: the device ended first",
            "not ok boot/qcom: the device ended with status 125 "
            "(see build/test-output/system/cases-qcom.log)"])

    def test_many_cases_are_dealt_out_to_two_devices(self):
        names = ["case%02d" % number for number in range(13)]
        for name in names:
            self.write("tests/system/cases/%s.sh" % name, "# profile: qcom\n")
        self.program("vdev", "echo boot >>boots")
        self.assertEqual(sorted(self.verdicts(*names)),
                         ["not ok %s/ended: the device ended first" % name for name in names])
        with open(os.path.join(self.folder, "boots"), encoding="utf-8") as file:
            self.assertEqual(file.read(), "boot\nboot\n")

    def test_a_device_in_which_a_program_crashes(self):
        self.program("run", "while [ $# -gt 0 ]; do [ $1 != --log ] || log=$2; shift; done",
                     "echo \"I init: Service 'statsd' (pid 7) received signal 11\" >$log",
                     "cat tests/golden/qcom.jsonl")
        self.assertEqual(self.verdicts("golden/qcom"), ["not ok golden/qcom/crashes: statsd 11 7"])

    def test_a_program_that_does_not_compile(self):
        self.program("run", "echo a.cpp:1: error: one >&2", "echo it failed >&2", "exit 1")
        golden = os.path.join(self.folder, "tests/golden/qcom.jsonl")
        with open(golden, encoding="utf-8") as file:
            before = file.read()
        done = self.run_tests("--update-golden")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stdout.splitlines()[:3], [
            "# a.cpp:1: error: one", "# it failed",
            "not ok golden/qcom: ./run failed (see build/test-output/system/golden-qcom.log)"])
        with open(golden, encoding="utf-8") as file:
            self.assertEqual(file.read(), before)

    def test_a_job_that_ends_early(self):
        self.program("tools/build", "exit 3")
        self.assertEqual(self.verdicts("trace"),
                         ["not ok trace: ended with status 3", "not ok trace: printed no result"])


class Faults(unittest.TestCase):

    def setUp(self):
        path = os.path.join(_ROOT, "tests/system/faults/run")
        loader = importlib.machinery.SourceFileLoader("faults_run", path)
        self.run_module = importlib.util.module_from_spec(
            importlib.util.spec_from_loader("faults_run", loader))
        loader.exec_module(self.run_module)

    def test_what_is_said_of_a_boot(self):
        crash = "cell a\ncrash statsd 9 60\ncrash statsd 9 61\n"
        for status, output, expected in (
                (0, crash + "end\n", []),
                (0, crash, ["the script ended early"]),
                (143, "cell a\n", ["the device ended with status 143"]),
                (0, crash + "crash zstats_pullerd 11 62\nend\n", ["zstats_pullerd 11 is unexpected"])):
            self.assertEqual(self.run_module.boot_faults(status, output, ["statsd 9"]), expected)

    def test_only_late_answers_are_staged_once_more(self):
        page = {"starts": "values", "stops": "without"}
        late = {"starts": "values, 150005 no answer", "stops": "without, others too"}
        wrong = {"starts": "without, others too", "stops": "without"}
        for staged, rounds in (([page], 1), ([late, page], 2), ([late, late], 2), ([late, wrong], 2),
                               ([wrong, page], 1)):
            row = types.SimpleNamespace(name="audio", cells={})
            row.text = lambda column, row=row: row.cells[column]
            answers = iter(staged)

            def stage(row, columns, answers=answers):
                self.assertEqual((row.cells, columns), ({}, list(page)))
                row.cells = next(answers)

            with unittest.mock.patch.object(self.run_module, "stage_row", stage), \
                    contextlib.redirect_stderr(io.StringIO()):
                self.run_module.run_row(row, page)
            self.assertEqual((row.cells, list(answers)), (staged[rounds - 1], staged[rounds:]))


# Output and end of a test program, the test's kind, and the report after its output.
_PROGRAMS = (
    ("gtest", "echo '[ RUN      ] A.B'; echo '[       OK ] A.B (0 ms)'", ["1 0"]),
    ("gtest", "echo '[ RUN      ] A.B'; exec sleep 1000", ["program took longer than 8 s, in A.B", "0 1"]),
    ("gtest", "echo '[ RUN      ] A.B'; kill -SEGV $$", ["program ended with status 139, in A.B", "0 1"]),
    ("gtest", "echo '[ RUN      ] A.B'; echo '[  FAILED  ] A.B (0 ms)'; exit 1",
     ["program ended with status 1", "0 1"]),
    ("gtest", "exit 3", ["program ended with status 3", "0 1"]),
    ("python", "import unittest, time\nclass A(unittest.TestCase):\n  def test_a(self): pass\n"
     "  def test_b(self): time.sleep(1000)\nunittest.main()",
     ["program took longer than 8 s, in test_b", "1 1"]),
    ("verdicts", "echo ok a; echo not ok b: why; exit 1", ["not ok b: why", "1 1"]),
    ("verdicts", "echo ok a; exit 4", ["program ended with status 4 and named no failure", "1 1"]),
    ("verdicts", "echo ok a; exec sleep 1000",
     ["program took longer than 8 s", "program ended with status 124 and named no failure", "1 1"]),
)


class Programs(_Boot):
    """tests/verdicts.sh with a program of each kind; hanging ones have a short limit."""

    def test_what_is_said_of_each(self):
        for kind, text, expected in _PROGRAMS:
            with self.subTest(kind=kind, text=text):
                path = self.write("program", text if kind == "python" else "#!/bin/bash\n" + text, 0o755)
                limit = "8" if "1000" in text else "600"
                call = ["verdicts", limit, path] if kind == "verdicts" else [
                    "run_" + kind, limit, self.folder, path]
                done = subprocess.run(
                    ["bash", "-euc", '. tools/lib.sh; . tests/verdicts.sh; "$@"; echo $passed $failed',
                     "-", *call], cwd=_ROOT, capture_output=True, text=True, check=False)
                said = [line.replace(path, "program") for line in done.stdout.splitlines()
                        if not line.startswith(("[", "test_", "tools/lib.sh: "))]
                self.assertEqual(said, expected)


if __name__ == "__main__":
    unittest.main()
