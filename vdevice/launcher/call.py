"""The command lines of ./run and ./vdev."""

import argparse
import os
import re

from tools.options import Parser

from . import places
from .architecture import ROOT, Architecture
from .progress import Failure

DEFAULT_SECONDS = 900
_OWN_SCENARIO = "default"
_PROFILES = os.path.join(ROOT, "vdevice", "profiles")
_OF_A_BOOT = ("profile", "scenario", "arch", "build_dir", "log", "add")
_CATALOGUE = os.path.join(ROOT, "proto", "zstats_atoms.proto")


def _refusal(text, *values):
    return argparse.ArgumentTypeError(text % values)


def _seconds(text):
    value = float(text)
    if not 0 < value < 1e6:
        raise ValueError
    return value


def _seconds_of_trace(text):
    if _seconds(text) < 1:
        raise _refusal("'%s' is less than a second", text)
    return _seconds(text)


def _atom_ids(kind):
    """The ids of the catalogue's atoms that are "pulled" or "pushed"."""
    with open(_CATALOGUE, encoding="utf-8") as file:
        block = re.search(r"oneof %s \{(.*?)\}" % kind, file.read(), re.DOTALL).group(1)
    return {int(number) for number in re.findall(r"= (\d+);", block)}


def _tag(text):
    value = int(text)
    if not (text.isdecimal() and text.isascii()):
        raise ValueError
    return value


def _pulled_atom(text):
    if _tag(text) not in _atom_ids("pulled"):
        raise _refusal("no such pulled atom: %s", text)
    return _tag(text)


def _atom(text):
    if _tag(text) not in _atom_ids("pulled") | _atom_ids("pushed"):
        raise _refusal("no such atom: %s", text)
    return _tag(text)


def _architecture(text):
    try:
        return Architecture(text)
    except Failure as failure:
        raise _refusal("%s", failure) from None


def _profile(text):
    shipped = os.path.join(_PROFILES, text)
    if "/" not in text and os.path.isdir(shipped):
        return shipped
    if not os.path.isdir(text):
        raise _refusal("no such profile '%s' (there are: %s; or a folder)", text,
                       " ".join(sorted(os.listdir(_PROFILES))))
    return text


def _name(text):
    if not places.is_name(text):
        raise _refusal("'%s' is no name of a device (letters, digits, '-', '_' and '.')", text)
    return text


_seconds.__name__ = _seconds_of_trace.__name__ = "number of seconds"
_tag.__name__ = _pulled_atom.__name__ = _atom.__name__ = "atom id"


def _add_common(parser, timeout=True):
    parser.add_argument("--profile", type=_profile, metavar="NAME|DIR",
                        help="one of vdevice/profiles, or a folder (default: qcom)")
    parser.add_argument("--scenario", metavar="NAME",
                        help="play the profile's file scenario.NAME from boot (trace: from its "
                        "beginning), or the file scenario if NAME is '%s'" % _OWN_SCENARIO)
    parser.add_argument("--arch", type=_architecture, metavar="NAME",
                        help="the device's processor, one of tools/architectures (default: this "
                        "machine's)")
    parser.add_argument("--build-dir", metavar="DIR", help="where the device's programs are built "
                        "(default: build/device, or build/NAME for a NAME of --arch)")
    parser.add_argument("--log", metavar="FILE", help="keep the device's log in FILE")
    if timeout:
        parser.add_argument("--timeout", type=_seconds, metavar="SECONDS",
                            help="for what runs in the device (default: %d)" % DEFAULT_SECONDS)


def _add_program_option(parser):
    parser.add_argument("--add", action="append", metavar="PROGRAM",
                        help="bring a program of this machine's, such as /usr/bin/strace")


def _add_attach(parser, what):
    parser.add_argument("--attach", nargs="?", type=_name, const=places.DEFAULT_NAME, metavar="NAME",
                        help="%s on a device that `vdev start` has started" % what)


def _run_parser():
    parser = Parser(prog="run", description="Boots the virtual device, pulls atoms from "
                    "zstats_pullerd, prints them and powers the device off.")
    _add_common(parser)
    parser.add_argument("--json", action="store_true", help="one line of JSON an event")
    parser.add_argument("tags", nargs="*", type=_pulled_atom, metavar="ID",
                        help="all if none is named")
    return parser


def _add_boots(commands):
    execute = commands.add_parser("exec", help="run a script and exit with its status")
    _add_common(execute)
    _add_program_option(execute)
    _add_attach(execute, "run it, without limit unless --timeout sets one,")
    execute.add_argument("script", metavar="-- 'SHELL SCRIPT'")
    console = commands.add_parser("shell", help="open a console; `exit` powers off")
    _add_common(console)
    _add_attach(console, "open it")
    trace = commands.add_parser("trace", help="record atoms while the profile's scenario plays")
    _add_common(trace)
    trace.add_argument("--for", type=_seconds_of_trace, dest="seconds", metavar="SECONDS",
                       help="how long (default: until interrupted)")
    trace.add_argument("-o", required=True, dest="output", metavar="FILE",
                       help="takes what was recorded, at the end; - is standard output")
    trace.add_argument("tags", nargs="*", type=_atom, metavar="ID", help="all atoms if none is named")


def _add_stays(commands):
    start = commands.add_parser("start", help="boot a device that stays until `stop`, or until the "
                                "terminal is closed")
    _add_common(start, timeout=False)
    _add_program_option(start)
    push = commands.add_parser("push", help="copy a file or a folder to a device that stays")
    push.add_argument("file", metavar="FILE")
    push.add_argument("path", metavar="PATH", help="in the device; a folder that is there gets it")
    pull = commands.add_parser("pull", help="copy a file or a folder from a device that stays")
    pull.add_argument("path", metavar="PATH", help="in the device")
    pull.add_argument("file", nargs="?", default=".", metavar="FILE",
                      help="a folder that is there gets it (default: the current one)")
    for parser in (start, push, pull):
        parser.add_argument("--name", type=_name, default=places.DEFAULT_NAME, metavar="NAME",
                            help="of the device (default: %s)" % places.DEFAULT_NAME)
    state = commands.add_parser("status", help="list the devices that stay")
    state.add_argument("name", nargs="?", type=_name, metavar="NAME", help="this one alone")
    stop = commands.add_parser("stop", help="end a device that stays")
    stop.add_argument("name", nargs="?", type=_name, default=places.DEFAULT_NAME, metavar="NAME",
                      help="(default: %s)" % places.DEFAULT_NAME)


def read_vdev(arguments):
    """The options of a call of ./vdev; a wrong call ends the program."""
    parser = Parser(prog="vdev", description="Runs shell scripts, or a console, in the virtual "
                    "device.")
    commands = parser.add_subparsers(dest="command", required=True,
                                     metavar="exec|shell|trace|start|push|pull|status|stop")
    _add_boots(commands)
    _add_stays(commands)
    options = parser.parse_args(arguments)
    if getattr(options, "attach", None) is None:
        return _with_defaults(options)
    for name in _OF_A_BOOT:
        if getattr(options, name, None) is not None:
            parser.error("--%s goes with a boot, not with --attach" % name.replace("_", "-"))
    return options


def read_run(arguments):
    """The options of a call of ./run; a wrong call ends the program."""
    options = _run_parser().parse_intermixed_args(arguments)
    options.command = "run"
    return _with_defaults(options)


def _with_defaults(options):
    if "profile" in options:
        options.profile = options.profile or _profile("qcom")
        options.arch = options.arch or Architecture()
    return options


def scenario_file(options):
    """The file of the scenario to play, or None. A trace plays the profile's scenario by default."""
    name = options.scenario
    path = os.path.join(options.profile,
                        "scenario" if name in (None, _OWN_SCENARIO) else "scenario." + name)
    if os.path.isfile(path):
        return path if name or options.command == "trace" else None
    if name:
        names = sorted(file.partition(".")[2] or _OWN_SCENARIO
                       for file in os.listdir(options.profile)
                       if file.partition(".")[0] == "scenario")
        raise Failure("%s: no such scenario (there are: %s)" % (path, " ".join(names) or "none"), 2)
    return None
