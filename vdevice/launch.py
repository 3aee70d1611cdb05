#!/usr/bin/env python3
"""The virtual device from outside: `vdev exec`, `vdev shell`, `vdev trace` and `run` (see
vdevice/README.md)."""

import argparse
import os
import shlex
import signal
import sys
import tempfile
import termios

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

from tools.options import Parser  # noqa: E402
from vdevice.launcher import build  # noqa: E402
from vdevice.launcher.architecture import ROOT, Architecture  # noqa: E402
from vdevice.launcher.device import Device  # noqa: E402
from vdevice.launcher.progress import Failure, say  # noqa: E402

_DEFAULT_SECONDS = 900
_SECONDS_AROUND_A_TRACE = 600
_OWN_SCENARIO = "default"
_STATUS_INTERRUPTED = 130


def _seconds(text):
    value = float(text)
    if not 0 < value < 1e6:
        raise ValueError
    return value


def _tag(text):
    value = int(text)
    if not (text.isdecimal() and text.isascii() and value < 2**31):
        raise ValueError
    return value


def _architecture(text):
    try:
        return Architecture(text)
    except Failure as failure:
        raise argparse.ArgumentTypeError(str(failure)) from None


_seconds.__name__ = "number of seconds"
_tag.__name__ = "atom tag"


def _add_common(parser):
    parser.add_argument("--profile", default="qcom", metavar="NAME|DIR",
                        help="one of vdevice/profiles, or a folder (default: qcom)")
    parser.add_argument("--scenario", metavar="NAME",
                        help="play the profile's file scenario.NAME from boot, or its file "
                        "scenario if NAME is '%s'" % _OWN_SCENARIO)
    parser.add_argument("--arch", type=_architecture, default="", metavar="NAME",
                        help="the device's processor, one of tools/architectures (default: this "
                        "machine's)")
    parser.add_argument("--build-dir", metavar="DIR", help="where the device's programs are built "
                        "(default: build/device, or build/NAME for a NAME of --arch)")
    parser.add_argument("--log", metavar="FILE", help="keep the device's log in FILE")
    parser.add_argument("--timeout", type=_seconds, metavar="SECONDS",
                        help="for what runs in the device (default: %d)" % _DEFAULT_SECONDS)


def _run_parser():
    parser = Parser(prog="run", description="Boots the virtual device, pulls atoms from "
                     "zstats_pullerd, prints them and powers the device off.")
    _add_common(parser)
    parser.add_argument("--json", action="store_true", help="one line of JSON an event")
    parser.add_argument("tags", nargs="*", type=_tag, metavar="TAG", help="all if none is named")
    return parser


def _vdev_parser():
    parser = Parser(prog="vdev", description="Runs a shell script, or a console, in the virtual "
                     "device.")
    commands = parser.add_subparsers(dest="command", required=True, metavar="exec|shell|trace")
    execute = commands.add_parser("exec", help="run a script and exit with its status")
    _add_common(execute)
    execute.add_argument("--add", action="append", default=[], metavar="PROGRAM",
                         help="bring a program of this machine's, such as /usr/bin/strace")
    execute.add_argument("script", metavar="-- 'SHELL SCRIPT'")
    _add_common(commands.add_parser("shell", help="open a console; `exit` powers off"))
    trace = commands.add_parser("trace", help="record atoms while the profile's scenario plays")
    _add_common(trace)
    trace.add_argument("--for", type=_seconds, dest="seconds", metavar="SECONDS",
                       help="how long (default: until interrupted)")
    trace.add_argument("-o", required=True, dest="output", metavar="FILE",
                       help="where the trace is written, as it comes")
    trace.add_argument("tags", nargs="*", type=_tag, metavar="ID", help="all atoms if none is named")
    return parser


def _profile_folder(name):
    shipped = os.path.join(ROOT, "vdevice", "profiles", name)
    return shipped if "/" not in name and os.path.isdir(shipped) else name


def _scenario_file(options, profile):
    """The file of the scenario to play, or None. A trace plays the profile's own unasked."""
    name = options.scenario
    path = os.path.join(profile, "scenario" if name in (None, _OWN_SCENARIO) else "scenario." + name)
    if os.path.isfile(path):
        return path if name or options.command == "trace" else None
    if name:
        raise Failure("%s: there is no such scenario" % path)
    return None


def _boot(options, script, output=None):
    architecture = options.arch
    build.set_up(architecture)
    folder = os.path.abspath(options.build_dir or build.folder_for(architecture))
    profile_check = build.build_image(folder, architecture)
    profile = _profile_folder(options.profile)
    build.check_profile(profile_check, profile)
    image = os.path.join(folder, "image")
    log = open(options.log, "wb") if options.log else None
    with tempfile.TemporaryDirectory(prefix="vdev.") as work:
        ramdisk = os.path.join(work, "ramdisk")
        build.write_ramdisk(ramdisk, image, profile, script, _scenario_file(options, profile),
                            getattr(options, "add", ()))
        device = Device(architecture, work, os.path.join(image, "vmlinux"), ramdisk,
                        script is None, output or sys.stdout.buffer)
        say("booting profile %s%s" % (os.path.basename(os.path.normpath(profile)),
                                      "" if architecture.is_own else " on " + architecture.name))
        try:
            return device.run(options.timeout or _DEFAULT_SECONDS * architecture.slowness)
        finally:
            if log is not None:
                with log:
                    log.write(device.log())


def _boot_console(options):
    if not (sys.stdin.isatty() and sys.stdout.isatty()):
        raise Failure("shell wants a terminal; use exec for a script")
    state = termios.tcgetattr(sys.stdin)
    try:
        return _boot(options, None)
    finally:
        termios.tcsetattr(sys.stdin, termios.TCSADRAIN, state)


def _pull_script(options):
    words = ["statsctl", "pull", "--settle"] + (["--json"] if options.json else [])
    return "exec " + " ".join(shlex.quote(word) for word in words + [str(t) for t in options.tags])


def _boot_trace(options):
    words = ["statsctl", "trace", "-"] + [str(tag) for tag in options.tags]
    options.timeout = 1e9
    if options.seconds is not None:
        words += ["--for", str(round(options.seconds))]
        options.timeout = options.seconds + _SECONDS_AROUND_A_TRACE * options.arch.slowness
    with open(options.output, "wb") as output:
        return _boot(options, "exec " + " ".join(words), output)


def _main(program, arguments):
    if program == "run":
        options = _run_parser().parse_intermixed_args(arguments)
        options.command = program
        return _boot(options, _pull_script(options))
    options = _vdev_parser().parse_args(arguments)
    if options.command == "shell":
        return _boot_console(options)
    return _boot_trace(options) if options.command == "trace" else _boot(options, options.script)


def _interrupt(*_):
    raise KeyboardInterrupt


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, _interrupt)
    try:
        sys.exit(_main(sys.argv[1], sys.argv[2:]))
    except Failure as failure:
        sys.stderr.write("%s: %s\n" % (sys.argv[1], failure))
        sys.exit(failure.status)
    except BrokenPipeError:
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        sys.stderr.write("%s: nobody reads the standard output\n" % sys.argv[1])
        sys.exit(1)
    except OSError as error:
        sys.stderr.write("%s: %s\n" % (sys.argv[1], error))
        sys.exit(1)
    except KeyboardInterrupt:
        sys.exit(_STATUS_INTERRUPTED)
