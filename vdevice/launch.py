"""The commands `vdev` and `run` of the virtual device (see vdevice/README.md)."""

import contextlib
import os
import shlex
import signal
import sys

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

from vdevice.launcher import attach, call, files, frames, stay  # noqa: E402
from vdevice.launcher.boot import ENDING_SIGNALS, Boot, ignore_signals, work_folder  # noqa: E402
from vdevice.launcher.progress import Failure  # noqa: E402
from vdevice.launcher.recording import Recording  # noqa: E402

_SECONDS_AROUND_A_TRACE = 600
_FOREVER = 1e9
_STATUS_INTERRUPTED = 130


class _Script:
    """The owner of a device that runs one script. The script's errors go to standard error."""

    def __init__(self, device, output):
        self._device = device
        self._output = output
        self.log = bytearray()

    def on_up(self):
        pass

    def on_turn(self):
        pass

    def on_log(self, data):
        self.log.extend(data)

    def on_frame(self, kind, _, payload):
        if kind == b"X":
            self._device.end(frames.STATUS.unpack(payload)[0], powers_off=True)
            return
        stream = self._output if kind == b"O" else sys.stderr.buffer
        stream.write(payload)
        stream.flush()


def _boot(options, script, output=None):
    with contextlib.ExitStack() as stack:
        log = stack.enter_context(contextlib.closing(Recording(options.log))) if options.log else None
        boot = Boot(options)
        device = boot.device(stack.enter_context(work_folder()), script)
        owner = _Script(device, output or sys.stdout.buffer)
        try:
            return device.run(owner, options.timeout or call.DEFAULT_SECONDS * options.arch.slowness)
        finally:
            if log is not None:
                log.write(owner.log)


def _shell(options):
    attach.want_terminal()
    if options.attach is not None:
        return attach.shell(attach.connect(options.attach))
    return stay.with_device(options, _report, attach.shell)


def _exec(options):
    if options.attach is None:
        return _boot(options, options.script)
    return attach.Session(attach.connect(options.attach), options.script).run(options.timeout)


def _pull_script(options):
    words = ["statsctl", "pull", "--settle"] + (["--json"] if options.json else [])
    return "exec " + " ".join(shlex.quote(word) for word in words + [str(t) for t in options.tags])


def _trace(options):
    words = ["statsctl", "trace", "-"] + [str(tag) for tag in options.tags]
    timeout = _FOREVER
    if options.seconds is not None:
        words += ["--for", str(round(options.seconds))]
        timeout = options.seconds + _SECONDS_AROUND_A_TRACE * options.arch.slowness
    options.timeout = options.timeout or timeout
    with contextlib.closing(Recording(options.output)) as output:
        return _boot(options, "exec " + " ".join(words), output)


_COMMANDS = {
    "exec": _exec,
    "shell": _shell,
    "trace": _trace,
    "start": lambda options: stay.start(options, _report),
    "push": lambda options: files.push(options.name, options.file, options.path),
    "pull": lambda options: files.pull(options.name, options.path, options.file),
    "status": lambda options: attach.status(options.name),
    "stop": lambda options: attach.stop(options.name),
}


def _main(program, arguments):
    if program == "run":
        options = call.read_run(arguments)
        return _boot(options, _pull_script(options))
    options = call.read_vdev(arguments)
    return _COMMANDS[options.command](options)


def _interrupt(*_):
    ignore_signals()  # the clean-up must not be interrupted
    raise KeyboardInterrupt


def _end_on_signals():
    for number in ENDING_SIGNALS:
        if signal.getsignal(number) is not signal.SIG_IGN:
            signal.signal(number, _interrupt)


def _report(function):
    """Runs the function and returns the exit status; prints the reason of a failure."""
    program = sys.argv[1]
    try:
        return function()
    except Failure as failure:
        sys.stderr.write("%s: %s\n" % (program, failure))
        return failure.status
    except BrokenPipeError:
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        sys.stderr.write("%s: nobody reads the standard output\n" % program)
        return 1
    except OSError as error:
        sys.stderr.write("%s: %s\n" % (program, error))
        return 1
    except KeyboardInterrupt:
        return _STATUS_INTERRUPTED


if __name__ == "__main__":
    _end_on_signals()
    sys.exit(_report(lambda: _main(sys.argv[1], sys.argv[2:])))
