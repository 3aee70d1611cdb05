"""Boots the virtual device in the emulator, and carries frames to and from its second serial port."""

import ctypes
import os
import selectors
import shutil
import signal
import socket
import subprocess
import sys
import time

from . import frames
from .progress import Failure, say

STATUS_TIMED_OUT = 124
STATUS_DIED = 125

_BOOT_SECONDS = 600  # for a busy machine; 3 s on an idle one
_SILENCE_SECONDS = 300
_POWER_OFF_SECONDS = 15
_LOG_LINES_SHOWN = 60
_LOG_BYTES_KEPT = 1 << 20
_CONSOLE_LINES_SHOWN = 20
_CONSOLE_BYTES_KEPT = 1 << 20
# The kernel keeps all messages, and logs processes that a signal ends (tests/system/crashes.awk).
_KERNEL_OPTIONS = ("quiet panic=-1 mitigations=off cryptomgr.notests nowatchdog "
                   "security=selinux selinux=1 enforcing=1 log_buf_len=1M print-fatal-signals=1 "
                   "printk.devkmsg=on ")


def die_with_parent(number=signal.SIGKILL):
    """Sets the signal that this process gets when its parent ends; 0 for none."""
    pr_set_pdeathsig = 1
    ctypes.CDLL(None).prctl(pr_set_pdeathsig, number)


def show_console(lines):
    """Prints lines of the kernel's console."""
    for line in lines:
        sys.stderr.write("  console: %s\n" % line)


class Device:
    """One boot. Its owner has these methods: `on_up()` is called when sessions may begin,
    `on_frame(kind, session, payload)` with each frame of a session, `on_log(data)` with what is
    logged, and `on_turn()` twice a second."""

    def __init__(self, architecture, folder, kernel, ramdisk, hardware):
        """`folder` is for this boot's files alone, and is removed when it is up. `hardware` is what
        a boot loader says it is."""
        self._architecture = architecture
        self._folder = folder
        self._kernel = kernel
        self._ramdisk = ramdisk
        self._hardware = hardware
        self._console = bytearray()
        self._log_end = bytearray()
        self._log_lines = 0
        self._status = None
        self._powers_off = False
        self._refusal = None
        self._ended = False
        self._ready = False
        self._process = None
        self._port = None
        self._owner = None
        self.selector = selectors.DefaultSelector()

    def run(self, owner, timeout=None):
        """Boots, and returns the status that the owner ends it with. `timeout` (seconds) counts from
        when the device is up. Raises Failure on a panic or a hang."""
        self._owner = owner
        started = time.monotonic()
        with socket.socket(socket.AF_UNIX) as listener, self.selector:
            listener.bind(os.path.join(self._folder, "port"))
            listener.listen(1)
            self._start()
            try:
                self._take_in(self._accept(listener), started, timeout)
            finally:
                self._stop()
        return self._result()

    def end(self, status, powers_off):
        """Ends the device, or waits for its power-off. run() returns the status."""
        self._status = status
        self._powers_off = powers_off
        self._ended = True

    def send(self, kind, payload, session):
        """Sends a frame when the device can receive it."""
        self._port.send(frames.pack(kind, payload, session))

    def _start(self):
        port = os.path.join(self._folder, "port")
        emulator, port_options = self._architecture.emulator()
        command = [*emulator, "-accel", "tcg", "-m", "512", "-smp", "2", "-display",
                   "none", "-no-reboot", "-monitor", "none", "-nodefaults",
                   "-chardev", "stdio,id=console,signal=off", "-serial", "chardev:console",
                   "-chardev", "socket,id=port,path=" + port, *port_options,
                   "-kernel", self._kernel, "-initrd", self._ramdisk,
                   "-append", _KERNEL_OPTIONS + "androidboot.hardware=%s " % self._hardware +
                   self._architecture.kernel_options()]
        self._process = subprocess.Popen(command, preexec_fn=die_with_parent, stdin=subprocess.DEVNULL,
                                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def _accept(self, listener):
        """The emulator's connection. The emulator connects before it starts the machine."""
        while True:
            listener.settimeout(0.2)
            try:
                return listener.accept()[0]
            except TimeoutError:
                if self._process.poll() is not None:
                    raise Failure("the emulator does not start: %s" % self._console_rest().strip(),
                                  STATUS_DIED) from None

    def _console_rest(self):
        self._console.extend(self._process.stdout.read() or b"")
        return self._console.decode("utf-8", "replace")

    def _take_in(self, port, started, timeout):
        limits = _Limits(started, timeout, self._architecture.slowness)
        with port:
            self._port = frames.Link(port, self.selector, lambda some: self._on_frames(some, limits))
            self.selector.register(self._process.stdout, selectors.EVENT_READ, self._on_console)
            while not self._ended:
                limits.check(self)
                for key, events in self.selector.select(0.5):
                    key.data(events)
                self._owner.on_turn()

    def _on_console(self, _):
        data = os.read(self._process.stdout.fileno(), 65536)
        self._console.extend(data)
        del self._console[:-_CONSOLE_BYTES_KEPT]
        if not data:
            self.selector.unregister(self._process.stdout)

    def _on_frames(self, some, limits):
        self._ended = self._ended or some is None
        for frame in some or ():
            self._on_frame(*frame)
        limits.heard(self._ready)

    def _on_frame(self, kind, session, payload):
        if kind == b"L":
            self._log_lines += payload.count(b"\n")
            self._log_end.extend(payload)
            del self._log_end[:-_LOG_BYTES_KEPT]
            self._owner.on_log(payload)
        elif kind == b"S":
            self._ready = True
            shutil.rmtree(self._folder, ignore_errors=True)  # the emulator has read all of it
            say("the device is up: zstats_pullerd %s" % payload.decode("utf-8", "replace"))
            self._owner.on_up()
        elif kind == b"F":
            self._refusal = payload.decode("utf-8", "replace")
            self._ended = True
        elif kind in (b"O", b"E", b"X", b"A"):
            self._owner.on_frame(kind, session, payload)
        elif kind != b"H":
            raise Failure("the device sent an unknown frame %r" % kind, STATUS_DIED)

    def _stop(self):
        try:
            if self._powers_off:
                self._process.wait(_POWER_OFF_SECONDS * self._architecture.slowness)
        except subprocess.TimeoutExpired:
            pass
        self._process.kill()
        self._process.wait()

    def _result(self):
        if self._status is not None:
            return self._status
        if self._refusal is not None:
            raise Failure("the device refuses to start: " + self._refusal)
        console = self._console_rest()
        panic = console.find("Kernel panic")
        self.show_log()
        show_console(console[max(panic, 0):].splitlines()[:_CONSOLE_LINES_SHOWN])
        raise Failure("the device's kernel panicked: " + console[panic:].splitlines()[0]
                      if panic >= 0 else "the device died before the script ended", STATUS_DIED)

    def show_ends(self):
        """Prints the ends of the log and of the console, for diagnosis."""
        self.show_log()
        show_console(self._console.decode("utf-8", "replace").splitlines()[-_CONSOLE_LINES_SHOWN:])

    def show_log(self):
        """Prints the end of the log."""
        lines = self._log_end.decode("utf-8", "replace").splitlines()
        say("the device's log (the last %d of %d lines):" %
            (min(len(lines), _LOG_LINES_SHOWN), self._log_lines))
        for line in lines[-_LOG_LINES_SHOWN:]:
            sys.stderr.write("  %s\n" % line)


class _Limits:
    """The time limits of a boot, a silence and a script: `slowness` times the constants."""

    def __init__(self, started, timeout, slowness):
        self._started = self._heard = started
        self._up = None
        self._timeout = timeout
        self._boot = _BOOT_SECONDS * slowness
        self._silence = _SILENCE_SECONDS * slowness

    def heard(self, ready):
        self._heard = time.monotonic()
        if ready and self._up is None:
            self._up = self._heard

    def check(self, device):
        now, reason = time.monotonic(), None
        if self._up is None and now - self._started > self._boot:
            reason = "the device was not up after %d s" % self._boot
        elif now - self._heard > self._silence:
            reason = "the device hangs: nothing heard of it for %d s" % self._silence
        elif None not in (self._up, self._timeout) and now - self._up > self._timeout:
            reason = "the script was not done after %g s" % self._timeout
        if reason is not None:
            device.show_ends()
            raise Failure(reason, STATUS_TIMED_OUT)
