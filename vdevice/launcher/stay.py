"""Starts a device that stays, in a separate process."""

import contextlib
import os
import shutil
import signal
import socket
import sys

from .boot import Boot, ignore_signals, work_folder
from .device import STATUS_DIED, die_with_parent
from .keeper import Keeper, Watch
from .places import Place
from .progress import Failure
from .recording import Recording

_UP = b"u"


def _close_others(kept):
    """Closes inherited descriptors, so that no reader waits for this process."""
    for name in os.listdir("/proc/self/fd"):
        if int(name) > 2 and int(name) not in kept:
            with contextlib.suppress(OSError):
                os.close(int(name))


def _leave_call(told):
    """Notifies the call of `vdev start`, which then ends."""
    die_with_parent(0)  # before the call can end
    os.write(told, _UP)
    os.chdir("/")
    nothing = os.open(os.devnull, os.O_RDWR)
    for descriptor in (0, 1, 2, told):
        os.dup2(nothing, descriptor)


def _keep(options, work, told, only):
    """Boots and keeps the device. Returns the exit status when it has ended."""
    die_with_parent(signal.SIGTERM)
    is_up = False

    def on_up():
        nonlocal is_up
        is_up = True
        if only is None:
            _leave_call(told)
        else:
            os.write(told, _UP)
            sys.stderr.reconfigure(newline="\r\n")  # the terminal is in raw mode then

    with contextlib.ExitStack() as stack:
        place = log = watch = None
        if only is None:
            place = stack.enter_context(contextlib.closing(Place(options.name)))
            watch = Watch()
        if options.log:
            log = stack.enter_context(contextlib.closing(Recording(options.log)))
        boot = Boot(options)
        os.setpgid(0, 0)  # it must not get Ctrl-C
        signal.signal(signal.SIGTTOU, signal.SIG_IGN)
        device = boot.device(work, None)
        about = {"profile": os.path.basename(os.path.normpath(options.profile)),
                 "arch": options.arch.name, "pid": os.getpid()}
        keeper = Keeper(device, about, on_up, watch, place, only, log)
        failure = Failure("the device was stopped", STATUS_DIED)
        try:
            return device.run(keeper)
        except Failure as reason:
            failure = reason
            if not is_up:
                raise
            return failure.status  # the sessions get the reason
        finally:
            ignore_signals()
            keeper.tell(failure)


def _fork(options, report, work, only=None):
    """The keeper's process, and a descriptor that reports when the device is up."""
    told, tells = os.pipe()
    child = os.fork()
    if child != 0:
        os.close(tells)
        return child, told
    status = 1
    try:
        _close_others([tells] + ([] if only is None else [only.fileno()]))
        status = report(lambda: _keep(options, work, tells, only))
    finally:
        shutil.rmtree(work, ignore_errors=True)
        os._exit(status)


def _end(child):
    """Ends the process; returns its exit status."""
    with contextlib.suppress(ProcessLookupError):
        os.kill(child, signal.SIGTERM)
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])


def start(options, report):
    """Starts a device that stays. `report` is what a process ends with: it takes a function, and
    returns the exit status. Returns that when the device is up, or will not be."""
    with work_folder() as work:
        is_up = False
        child, told = _fork(options, report, work)
        try:
            is_up = os.read(told, 1) == _UP
        finally:
            status = 0 if is_up else _end(child)
    return status


def with_device(options, report, use):
    """Starts a device for one call, and returns the result of `use` with a connection to it."""
    with work_folder() as work:
        ours, theirs = socket.socketpair()
        child, told = _fork(options, report, work, theirs)
        theirs.close()
        is_up = False
        try:
            is_up = os.read(told, 1) == _UP
            if is_up:
                return use(ours)
        finally:
            ours.close()
            status = os.waitpid(child, 0)[1] if is_up else _end(child)
    return status
