"""Tests of the scripts that set up and build, on fake machines."""

import os
import signal
import subprocess
import tempfile
import unittest

from machine import Machine

_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# dpkg-query lists what has been "installed"; gcc and others are names of tools/packages.
_QUERY = 'for p in "${@:3}"; do [ "$p" = debootstrap ] || echo "installed $p"; done; exit 1'
_ALL = 'for p in "${@:3}"; do echo "installed $p"; done'
_SUDO = 'exec "$@"'
_LOCKED_OUT = 'echo "sudo: a password is required" >&2; exit 1'
_OFFLINE = 'echo "E: Temporary failure resolving an address" >&2; exit 100'


class SetUpTest(unittest.TestCase):
    def _set_up(self, uid, **programs):
        with tempfile.TemporaryDirectory() as folder:
            machine = Machine(folder, id="echo %d" % uid, dpkg="", **programs)
            status, lines = machine.run("tools/setup", "fresh")
            calls = [line.split()[0] for line in machine.calls() if line.split()[0] in
                     ("sudo", "apt-get")]
        return status, lines[:1], calls, len(lines)

    def test_asks_for_nothing_where_all_is_there(self):
        self.assertEqual((0, [], [], 0), self._set_up(1000, dpkg_query=_ALL))

    def test_installs_with_one_call_of_sudo(self):
        for uid, sudo in ((0, []), (1000, ["sudo"])):
            self.assertEqual((0, [], sudo + ["apt-get", "apt-get"], 0),
                             self._set_up(uid, dpkg_query=_QUERY, apt_get="", sudo=_SUDO))

    def test_another_processor_wants_more_only_when_it_is_asked_for(self):
        query = ('for p in "${@:3}"; do case $p in qemu-* | *-gnu) ;; *) echo "installed $p" ;; '
                 'esac; done')
        for options, line in (
                ((), "missing: qemu-system-x86; "),
                (("--arch", "amd64"), "missing: qemu-system-x86; "),
                (("--arch", "arm64"), "missing: g++-aarch64-linux-gnu qemu-system-arm; "),
                (("--arch", "vax"), "unknown architecture 'vax' (")):
            with tempfile.TemporaryDirectory() as folder:
                machine = Machine(folder, id="echo 0", uname="echo x86_64", dpkg_query=query)
                status, lines = machine.run("tools/setup", *options, "build", "device")
            self.assertEqual((2 if "unknown" in line else 1, 1), (status, len(lines)), lines)
            start = "setup: " + line
            self.assertEqual(start, lines[0][:len(start)])

    def test_says_in_one_line_what_is_missing(self):
        for uid, programs, line in (
                (1000, {"apt_get": ""}, "run as root, or install sudo"),
                (1000, {"apt_get": "", "sudo": _LOCKED_OUT}, "sudo: a password is required"),
                (0, {"apt_get": _OFFLINE}, "Debian's archive cannot be reached"),
                (0, {}, "this is no Debian system with apt-get")):
            status, lines, _, count = self._set_up(uid, dpkg_query=_QUERY, **programs)
            self.assertEqual((1, 1), (status, count), lines)
            start = "setup: missing: debootstrap; " + line
            self.assertEqual(start, lines[0][:len(start)])


class BuildTest(unittest.TestCase):
    """tools/build with a slow CMake."""

    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.addCleanup(self._folder.cleanup)
        cmake = 'case $1 in -G) touch "$6/build.ninja" ;; *) sleep 1 ;; esac; echo end >>%s/called'
        self._machine = Machine(self._folder.name, cmake=cmake % self._folder.name)
        os.makedirs(self._cache())

    def _cache(self):
        listed = subprocess.run(["sed", "-n", r"s/^readonly \(PACKAGE\|UPSTREAM\|VERSION\)=//p",
                                 "host/aosp/apt-private"], cwd=_ROOT, capture_output=True,
                                text=True, check=True).stdout.split()
        return os.path.join(self._folder.name, ".cache", "zstats_pullerd", "-".join(listed[:2]))

    def _build(self, *arguments):
        return self._machine.start("tools/build", os.path.join(self._folder.name, "out"), "all",
                                   *arguments)

    def _steps(self):
        return ["configure" if " -G " in line else line.split()[0]
                for line in self._machine.calls()]

    def test_calls_take_turns_and_configure_once(self):
        for process in (self._build(), self._build()):
            self.assertEqual(0, (process.communicate(timeout=60), process.returncode)[1])
        self.assertEqual(["configure", "end", "cmake", "end", "cmake", "end"], self._steps())

    def test_other_arguments_configure_anew(self):
        for arguments in ((), ("--", "-DX=1"), ("--", "-DX=1")):
            self._build(*arguments).communicate(timeout=60)
        self.assertEqual(["configure", "end", "cmake", "end", "configure", "end", "cmake", "end",
                          "cmake", "end"], self._steps())

    def test_waits_for_what_a_killed_call_left_running(self):
        killed = self._build()
        self._machine.await_calls(3)
        os.kill(killed.pid, signal.SIGKILL)
        self._build().communicate(timeout=60)
        killed.communicate()
        self.assertEqual(["configure", "end", "cmake", "end", "cmake", "end"], self._steps())


class TidyTest(unittest.TestCase):
    def test_compiles_without_precompiled_headers(self):
        with tempfile.TemporaryDirectory() as folder:
            machine = Machine(folder, clang_tidy='cat "$2/compile_commands.json"', nproc="echo 1",
                              xargs='exec /usr/bin/xargs "$@"')
            stops = "tidy: '%s' has precompiled headers in another form than clang++'s" % folder
            for command, expected in (
                    ("-a -Xclang -include-pch -Xclang /b/cmake_pch.hxx.pch -Xclang -include "
                     "-Xclang /b/cmake_pch.hxx -c", (0, [], "-a -c")),
                    ("-a -Xclang -include-pch /b/cmake_pch.hxx.pch -c", (1, [stops], "")),
                    ("-a -include /b/cmake_pch.hxx -c", (1, [stops], ""))):
                with open(folder + "/compile_commands.json", "w", encoding="utf-8") as file:
                    file.write(command)
                with self.subTest(command=command):
                    self.assertEqual(expected, machine.outcome("tools/tidy", folder, "a.cpp"))


class FetchTest(unittest.TestCase):
    """host/aosp/apt-private with an archive that serves the source's folder in two pieces."""

    _APT_GET = """
        case "$*" in
        "--print-uris update") echo "'http://archive/dists/stable/InRelease' name 0" ;;
        *" source "*=*-*)
            name=${*: -1} name=${name/=/-}
            mkdir "${name%-*}"; cd "${name%-*}"; touch first; sleep 1; touch second ;;
        esac"""

    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.addCleanup(self._folder.cleanup)
        self._machine = Machine(self._folder.name, sha256sum="", apt_get=self._APT_GET)

    def _fetch(self):
        return self._machine.start("host/aosp/apt-private", "source")

    def _downloads(self):
        return sum(" source " in line for line in self._machine.calls())

    def _check_whole(self, process):
        output, errors = process.communicate(timeout=60)
        self.assertEqual(0, process.returncode, errors)
        self.assertEqual(["first", "second"], sorted(os.listdir(output.strip())))
        self.assertFalse(os.path.exists(os.path.join(os.path.dirname(output), "work")))

    def test_a_second_call_waits_and_fetches_nothing(self):
        for process in (self._fetch(), self._fetch()):
            self._check_whole(process)
        self.assertEqual(1, self._downloads())

    def test_starts_anew_after_a_kill_at_any_point(self):
        for calls in (1, 2, 3):  # address, index, download
            killed = self._fetch()
            self._machine.await_calls(calls)
            os.killpg(killed.pid, signal.SIGKILL)
            killed.communicate()
            os.unlink(self._machine.called)
        self._check_whole(self._fetch())

    def test_says_in_one_line_that_the_archive_is_out_of_reach(self):
        path = os.path.join(self._folder.name, "bin", "apt-get")
        with open(path, "a", encoding="utf-8") as file:
            file.write('[ "$1" = --print-uris ] || { echo "E: no route there"; exit 100; }')
        status, lines = self._machine.run("host/aosp/apt-private", "source")
        self.assertEqual((1, 1), (status, len(lines)), lines)
        self.assertRegex(lines[0], r"^apt-private: .* cannot be fetched: E: no route there$")


# Programs with which the commands install, build or boot. Their calls are recorded.
_WORKERS = ("apt-get", "cmake", "debootstrap", "dpkg-query", "git", "ninja", "sudo",
            "unshare")
_COMMANDS = ("./run", "./vdev", "./test", "./fuzz", "./bench", ".ci/run", "tools/build",
             "tools/check-blueprint", "tools/check-branch-protection", "tools/check-hardening",
             "tools/check-includes", "tools/coverage", "tools/fresh", "tools/platform-flags",
             "tools/sepolicy", "tools/setup", "tools/tidy", "tests/system/run",
             "tests/system/faults/run")
_UNKNOWN = ("{0}: unrecognized option '--nonsense'", "{0}: unrecognized arguments: --nonsense",
            "{0}: the following arguments are required: ")
_WRONG_CALLS = (
    ("./run 150005x", "run: argument ID: invalid atom id value: '150005x'"),
    ("./run 1 150005", "run: argument ID: no such pulled atom: 1"),
    ("./run 100207", "run: argument ID: no such pulled atom: 100207"),
    ("./run --profile qcmo", "run: argument --profile: no such profile 'qcmo' (there are: bare mtk "),
    ("./vdev trace -o f 2", "vdev trace: argument ID: no such atom: 2"),
    ("./vdev shell", "vdev: shell wants a terminal; use exec for a script"),
    ("./run -1", "run: argument ID: invalid atom id value: '-1'"),
    ("./run --timeout 0", "run: argument --timeout: invalid number of seconds value: '0'"),
    ("./run --arch vax", "run: argument --arch: unknown architecture 'vax'; there are: amd64, arm64"),
    ("./vdev", "vdev: the following arguments are required: "),
    ("./vdev exec", "vdev exec: the following arguments are required: -- 'SHELL SCRIPT'"),
    ("./test unti", "test: unknown kind 'unti' (there are: unit system faults asan tsan libcxx)"),
    ("./test unit x", "test: unknown kind 'x' ("),
    ("./test system golden/x", "test: no such case 'golden/x' (there are: golden golden/qcom "),
    ("./test --arch", "test: option '--arch' requires an argument"),
    ("./test --arch vax system", "test: unknown architecture 'vax' ("),
    ("./test --arch arm64 unit", "test: --arch is for the system tests alone"),
    ("./test --update-golden unit", "test: --update-golden goes with no kind"),
    ("./fuzz abc", "fuzz: no target 'abc' (there are: bpf_record cpu_range "),
    ("./bench abc", "bench: unknown kind 'abc' ("),
    ("./bench --record", "bench: --record is for instructions or device, alone"),
    ("./bench soak parsers --long", "bench: --long is for soak, alone"),
    (".ci/run unit", "run: takes no word ('unit')"),
    ("tools/build folder", "build: wants FOLDER TARGET... ["),
    ("tools/check-blueprint tests", "check-blueprint: 'tests' was not configured with CMake"),
    ("tools/check-branch-protection tests", "check-branch-protection: nothing was built in 'tests'"),
    ("tools/check-hardening", "check-hardening: wants PROGRAM..."),
    ("tools/coverage x", "coverage: no such case 'x'"),
    ("tools/fresh 11", "fresh: wants 12|13 [COMMAND...]"),
    ("tools/platform-flags none", "platform-flags: 'none' is no folder"),
    ("tools/setup", "setup: wants GROUP... ("),
    ("tools/setup biuld", "setup: unknown group 'biuld' ("),
    ("tools/tidy tests", "tidy: 'tests' was not configured with CMake"),
    ("tests/system/run x", "run: no such case 'x' (there are: golden golden/qcom "),
    ("tests/system/faults/run x", "faults: no such row 'x' (there are: "),
)


def _name_of(command):
    return "faults" if "faults" in command else command.rsplit("/", 1)[-1]


class CallsTest(unittest.TestCase):
    """The commands print help and refuse wrong calls."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self._machine = Machine(folder.name, **{name.replace("-", "_"): "" for name in _WORKERS})
        self._python = os.path.join(folder.name, "bin", "python3")
        os.symlink("/usr/bin/python3", self._python)

    def test_help_is_printed_and_nothing_done(self):
        for command in _COMMANDS:
            status, errors, output = self._machine.outcome(command, "--help")
            self.assertEqual((0, [], []), (status, errors, self._machine.calls()), command)
            self.assertIn(_name_of(command), output)

    def test_help_needs_no_python(self):
        os.unlink(self._python)
        for command in ("./run", "./vdev"):
            status, errors, output = self._machine.outcome(command, "--help")
            self.assertEqual((0, [], []), (status, errors, self._machine.calls()), command)
            self.assertIn("  %s " % command, output)

    def _check_refusal(self, command, *starts):
        status, errors, output = self._machine.outcome(*command.split())
        self.assertEqual((2, 1, "", []), (status, len(errors), output, self._machine.calls()),
                         (command, errors))
        self.assertTrue(errors[0].startswith(starts), (command, errors))

    def test_wrong_calls_get_one_line(self):
        for command in _COMMANDS:
            lines = (line.format(_name_of(command)) for line in _UNKNOWN)
            self._check_refusal(command + " --nonsense", *lines)
        for command, line in _WRONG_CALLS:
            self._check_refusal(command, line)


if __name__ == "__main__":
    unittest.main()
