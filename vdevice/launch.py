"""The virtual device from outside: `vdev exec`, `vdev shell`, `vdev trace` and `run` (see
vdevice/README.md)."""

import contextlib
import os
import shlex
import signal
import sys
import tempfile
import termios

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

from vdevice.launcher import build, call  # noqa: E402
from vdevice.launcher.device import Device  # noqa: E402
from vdevice.launcher.progress import Failure, say  # noqa: E402
from vdevice.launcher.recording import Recording  # noqa: E402

_SECONDS_AROUND_A_TRACE = 600
_FOREVER = 1e9
_PLAY_FROM_NOW = "scenario --now /profile/waiting >&2 || exit 1\n"
_STATUS_INTERRUPTED = 130
_ENDING_SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)


@contextlib.contextmanager
def _work_folder():
    """A folder for one boot. Its removal is not interrupted."""
    with tempfile.TemporaryDirectory(prefix="vdev.") as folder:
        try:
            yield folder
        finally:
            _ignore_signals()


def _boot(options, script, output=None):
    scenario = call.scenario_file(options)
    architecture = options.arch
    with contextlib.ExitStack() as stack:
        log = stack.enter_context(contextlib.closing(Recording(options.log))) if options.log else None
        build.set_up(architecture)
        folder = os.path.abspath(options.build_dir or build.folder_for(architecture))
        build.check_profile(build.build_image(folder, architecture), options.profile)
        image = os.path.join(folder, "image")
        work = stack.enter_context(_work_folder())
        ramdisk = os.path.join(work, "ramdisk")
        recorded = options.command == "trace"
        if scenario is not None and recorded:
            script = _PLAY_FROM_NOW + script
        build.write_ramdisk(ramdisk, image, options.profile, script, scenario,
                            getattr(options, "add", ()), from_boot=not recorded)
        device = Device(architecture, work, os.path.join(image, "vmlinux"), ramdisk,
                        build.hardware_of(options.profile), script is None,
                        output or sys.stdout.buffer)
        say("booting profile %s%s" % (os.path.basename(os.path.normpath(options.profile)),
                                      "" if architecture.is_own else " on " + architecture.name))
        try:
            return device.run(options.timeout or call.DEFAULT_SECONDS * architecture.slowness)
        finally:
            if log is not None:
                log.write(device.log())


def _boot_console(options):
    if not (sys.stdin.isatty() and sys.stdout.isatty()):
        raise Failure("shell wants a terminal; use exec for a script", 2)
    state = termios.tcgetattr(sys.stdin)
    try:
        return _boot(options, None)
    finally:
        with contextlib.suppress(termios.error):  # the terminal is gone
            termios.tcsetattr(sys.stdin, termios.TCSADRAIN, state)


def _pull_script(options):
    words = ["statsctl", "pull", "--settle"] + (["--json"] if options.json else [])
    return "exec " + " ".join(shlex.quote(word) for word in words + [str(t) for t in options.tags])


def _boot_trace(options):
    words = ["statsctl", "trace", "-"] + [str(tag) for tag in options.tags]
    timeout = _FOREVER
    if options.seconds is not None:
        words += ["--for", str(round(options.seconds))]
        timeout = options.seconds + _SECONDS_AROUND_A_TRACE * options.arch.slowness
    options.timeout = options.timeout or timeout
    with contextlib.closing(Recording(options.output)) as output:
        return _boot(options, "exec " + " ".join(words), output)


def _main(program, arguments):
    if program == "run":
        options = call.run_parser().parse_intermixed_args(arguments)
        options.command = program
        return _boot(options, _pull_script(options))
    options = call.vdev_parser().parse_args(arguments)
    if options.command == "shell":
        return _boot_console(options)
    return _boot_trace(options) if options.command == "trace" else _boot(options, options.script)


def _ignore_signals():
    for number in _ENDING_SIGNALS:
        signal.signal(number, signal.SIG_IGN)


def _interrupt(*_):
    _ignore_signals()  # what follows is the end, which is to be whole
    raise KeyboardInterrupt


def _end_on_signals():
    for number in _ENDING_SIGNALS:
        if signal.getsignal(number) is not signal.SIG_IGN:
            signal.signal(number, _interrupt)


if __name__ == "__main__":
    _end_on_signals()
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
