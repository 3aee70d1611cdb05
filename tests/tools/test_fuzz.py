"""Tests of the line that ./fuzz prints for a target, from the fuzzer's log."""

import os
import subprocess
import tempfile
import unittest

_ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))
_EDGES = "COVERED_FUNC: hits: 1 edges: 2/5 name %s:12\n"
_COUNTED = (
    ("a relative path", "build/asan/../../atoms/A.cpp"),
    ("an absolute path", "atoms/A.cpp"),
)
_NOT_COUNTED = ("build/asan/aidl/A.cpp", "build/asan/../../tests/fuzz/a.cpp", "tests/fuzz/a.cpp", "../b.cpp")


class Report(unittest.TestCase):

    def report(self, text, status=0):
        """Exit status and output."""
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "log"), "w", encoding="utf-8") as file:
                file.write(text + "stat::number_of_executed_units: 7\n")
            done = subprocess.run(["bash", "-c", '. ./fuzz; report target "$1" "$2"', "-", folder,
                                   str(status)], cwd=_ROOT, capture_output=True, text=True, check=False)
            return done.returncode, done.stdout.replace(folder, "RUN").splitlines()

    def test_edges(self):
        others = "".join(_EDGES % (_ROOT + "/" + path) for path in _NOT_COUNTED)
        for name, path in _COUNTED:
            with self.subTest(name):
                self.assertEqual(self.report(others + _EDGES % (_ROOT + "/" + path)), (
                    0, ["target                       7 runs,    2 of    5 edges in   1 functions"]))
        self.assertEqual(self.report(others), (
            1, ["target               counts no edge of the project, see RUN/log"]))

    def test_limit(self):
        self.assertEqual(self.report("", 124), (
            1, ["target               did not end in time; all that was said: RUN/log"]))


if __name__ == "__main__":
    unittest.main()
