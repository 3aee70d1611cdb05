"""Tests of tools/check-hardening with programs that lack one feature each."""

import os
import subprocess
import tempfile
import unittest

_TOOL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools/check-hardening")
_SOURCE = "#include <string.h>\nint main(int, char** v) { char b[9]; strcpy(b, *v); return *b; }\n"
_HARD = ["-O2", "-fPIE", "-pie", "-U_FORTIFY_SOURCE", "-D_FORTIFY_SOURCE=2",
         "-fstack-protector-strong", "-Wl,-z,relro", "-Wl,-z,now", "-Wl,-z,noexecstack"]


class Hardening(unittest.TestCase):
    def _check(self, *flags):
        """The missing features of a program that is built with these flags after the correct ones."""
        with tempfile.TemporaryDirectory() as folder:
            program = os.path.join(folder, "program")
            subprocess.run(["g++", "-w", "-x", "c++", "-o", program, "-", *_HARD, *flags],
                           input=_SOURCE, text=True, check=True)
            ended = subprocess.run([_TOOL, program], capture_output=True, text=True, check=False)
        missing = [line.split(" no ")[1].split(";")[0] for line in ended.stderr.splitlines()]
        self.assertEqual(6, len(missing) + len(ended.stdout.splitlines()))
        self.assertEqual(bool(missing), ended.returncode != 0)
        return missing

    def test_names_what_is_missing_and_nothing_else(self):
        for flags, missing in ((), []), \
                (("-fno-PIE", "-no-pie"), ["position-independent executable"]), \
                (("-Wl,-z,norelro",), ["read-only relocations"]), \
                (("-Wl,-z,lazy",), ["binding at start"]), \
                (("-fno-stack-protector",), ["stack protector"]), \
                (("-U_FORTIFY_SOURCE",), ["fortified function"]), \
                (("-Wl,-z,execstack",), ["stack without execution"]):
            with self.subTest(flags):
                self.assertEqual(missing, self._check(*flags))

    def test_says_what_is_no_program(self):
        ended = subprocess.run([_TOOL, __file__], capture_output=True, text=True, check=False)
        self.assertEqual(1, ended.returncode)
        self.assertRegex(ended.stderr.splitlines()[-1], r"^check-hardening: '.*' is no program$")


if __name__ == "__main__":
    unittest.main()
