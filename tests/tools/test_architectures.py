"""Tests of the readers of tools/architectures."""

import os
import subprocess
import sys
import tempfile
import unittest

_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, _ROOT)

from vdevice.launcher.architecture import Architecture, read_table  # noqa: E402
from vdevice.launcher.progress import Failure  # noqa: E402

_SHELL = '. tools/lib.sh; while read -r row key; do echo "$(value_of "$row" "$key")"; done'
_CMAKE = 'set(ZSTATS_ARCH %s)\narchitecture_value(value %s)\nmessage("${value}")\n'


def _output(command, **options):
    return subprocess.run(command, cwd=_ROOT, check=True, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options).stdout


class TableTest(unittest.TestCase):
    def test_every_row_has_every_key(self):
        keys = {name: sorted(values) for name, values in read_table().items()}
        self.assertEqual({"amd64": keys["amd64"], "arm64": keys["amd64"]}, keys)

    def test_shell_and_cmake_read_the_same(self):
        pairs = [(name, key) for name, values in read_table().items() for key in values]
        expected = [read_table()[name][key] for name, key in pairs]
        asked = "".join("%s %s\n" % pair for pair in pairs)
        self.assertEqual(expected, _output(["bash", "-c", _SHELL], input=asked).splitlines())
        with tempfile.NamedTemporaryFile("w", suffix=".cmake") as script:
            script.write("include(%s/cmake/Architecture.cmake)\n" % _ROOT +
                         "".join(_CMAKE % pair for pair in pairs))
            script.flush()
            self.assertEqual(expected, _output(["cmake", "-P", script.name]).splitlines())


class LauncherTest(unittest.TestCase):
    def test_the_second_port_and_its_name_in_the_device_belong_together(self):
        for name, port, variables in (
                ("amd64", ["-serial", "chardev:port"],
                 "console=ttyS0 VDEV_PORT=/dev/ttyS1"),
                ("arm64", ["-device", "pci-serial,chardev=port"],
                 "console=ttyAMA0 VDEV_PORT=/dev/ttyS0")):
            architecture = Architecture(name)
            self.assertEqual(port, architecture.emulator()[1])
            self.assertEqual(variables, " ".join(architecture.kernel_options().split()[:2]))

    def test_refuses_what_the_table_lacks(self):
        with self.assertRaisesRegex(Failure, "^unknown architecture 'vax'; there are: amd64, arm64$"):
            Architecture("vax")


if __name__ == "__main__":
    unittest.main()
