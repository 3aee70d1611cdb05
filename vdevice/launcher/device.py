"""Boots the virtual device in the emulator and takes in what arrives on its second serial port.

That port carries frames, each a type byte, a length (32 bits, little endian) and as many bytes. The
one kind that the launcher sends is the size of the terminal (vdevice/system/windowsize).
vdevice/lib/Channel.h has their list.
"""

import ctypes
import os
import selectors
import signal
import socket
import struct
import subprocess
import sys
import time

from .progress import Failure, say

STATUS_TIMED_OUT = 124
STATUS_DIED = 125

_BOOT_SECONDS = 600  # on a machine that is busy with other things; 3 s on an idle one
_SILENCE_SECONDS = 300
_POWER_OFF_SECONDS = 15
_LOG_LINES_SHOWN = 60
_CONSOLE_LINES_SHOWN = 20
# The kernel keeps all that it says, and says which process a signal ended (tests/system/crashes.awk).
_KERNEL_OPTIONS = ("quiet panic=-1 mitigations=off cryptomgr.notests nowatchdog "
                   "security=selinux selinux=1 enforcing=1 log_buf_len=1M print-fatal-signals=1 "
                   "printk.devkmsg=on ")
_HEAD = struct.Struct("<cI")
_SIZE = struct.Struct("<HH")  # lines and columns


def _die_with_parent():
    pr_set_pdeathsig = 1
    ctypes.CDLL(None).prctl(pr_set_pdeathsig, signal.SIGKILL)


class Device:
    """One boot. The script's standard error goes to standard error."""

    def __init__(self, architecture, folder, kernel, ramdisk, hardware, interactive, output):
        """`folder` is for this boot's files alone, `hardware` what a boot loader says it is, `output`
        takes what the script prints."""
        self._architecture = architecture
        self._folder = folder
        self._kernel = kernel
        self._ramdisk = ramdisk
        self._hardware = hardware
        self._interactive = interactive
        self._output = output
        self._pending = bytearray()
        self._console = bytearray()
        self._log = bytearray()
        self._status = None
        self._refusal = None
        self._ready = False
        self._process = None
        self._port = None
        self._handlers = {b"O": self._on_output, b"E": self._on_errors, b"L": self._log.extend,
                          b"H": lambda data: None, b"S": self._on_state, b"X": self._on_exit,
                          b"F": self._on_refusal}

    def log(self):
        """What the device logged, as far as it arrived."""
        return bytes(self._log)

    def run(self, timeout):
        """Boots, waits for the end, returns the script's status. `timeout` (seconds) counts from
        when the device is up. Raises Failure on a panic or a hang."""
        started = time.time()
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(os.path.join(self._folder, "port"))
            listener.listen(1)
            self._start()
            try:
                self._take_in(self._accept(listener), started, timeout)
            finally:
                self._stop()
        return self._result()

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
        streams = {} if self._interactive else {
            "stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.STDOUT}
        self._process = subprocess.Popen(command, preexec_fn=_die_with_parent, **streams)

    def _accept(self, listener):
        """The emulator's connection; it connects before it starts the machine."""
        while True:
            listener.settimeout(0.2)
            try:
                return listener.accept()[0]
            except TimeoutError:
                if self._process.poll() is not None:
                    raise Failure("the emulator does not start: %s" % self._console_rest().strip(),
                                  STATUS_DIED) from None

    def _console_rest(self):
        if self._process.stdout is None:
            return ""
        self._console.extend(self._process.stdout.read() or b"")
        return self._console.decode("utf-8", "replace")

    def _take_in(self, port, started, timeout):
        limits = _Limits(started, None if self._interactive else timeout,
                         self._architecture.slowness)
        self._port = port
        with port, selectors.DefaultSelector() as selector:
            selector.register(port, selectors.EVENT_READ, self._on_port)
            if self._process.stdout is not None:
                selector.register(self._process.stdout, selectors.EVENT_READ, None)
            while self._status is None and self._refusal is None:
                limits.check(self)
                for key, _ in selector.select(0.5):
                    data = os.read(key.fd, 65536)
                    if key.data is None:
                        self._console.extend(data)
                    elif data:
                        self._on_port(data)
                        limits.heard(self._ready)
                    else:
                        return
                    if not data:
                        selector.unregister(key.fileobj)

    def _on_port(self, data):
        self._pending.extend(data)
        while len(self._pending) >= _HEAD.size:
            kind, length = _HEAD.unpack_from(self._pending)
            if len(self._pending) < _HEAD.size + length:
                return
            payload = bytes(self._pending[_HEAD.size:_HEAD.size + length])
            del self._pending[:_HEAD.size + length]
            if kind not in self._handlers:
                raise Failure("the device sent an unknown frame %r" % kind, STATUS_DIED)
            self._handlers[kind](payload)

    def _on_output(self, data):
        self._output.write(data)
        self._output.flush()

    def _on_errors(self, data):
        sys.stderr.buffer.write(data)
        sys.stderr.buffer.flush()

    def _on_state(self, data):
        self._ready = True
        say("the device is up: zstats_pullerd %s" % data.decode("utf-8", "replace"))

        if self._interactive:
            signal.signal(signal.SIGWINCH, lambda *_: self._send_size())
            self._send_size()

    def _send_size(self):
        """Tells the console's shell how large the terminal is."""
        try:
            size = os.get_terminal_size(sys.stdout.fileno())
            self._port.sendall(_HEAD.pack(b"W", _SIZE.size) + _SIZE.pack(size.lines, size.columns))
        except OSError:
            pass  # the terminal or the device has gone, which others notice

    def _on_exit(self, data):
        self._status = struct.unpack("<i", data)[0]

    def _on_refusal(self, data):
        self._refusal = data.decode("utf-8", "replace")

    def _stop(self):
        """Lets the device power itself off once it has said its status; ends it otherwise."""
        try:
            if self._status is not None:
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
        for line in console[max(panic, 0):].splitlines()[:_CONSOLE_LINES_SHOWN]:
            sys.stderr.write("  console: %s\n" % line)
        raise Failure("the device's kernel panicked: " + console[panic:].splitlines()[0]
                      if panic >= 0 else "the device died before the script ended", STATUS_DIED)

    def show_log(self):
        """Prints the log's end, for a reader who has to find out what went wrong."""
        lines = self._log.decode("utf-8", "replace").splitlines()
        say("the device's log (the last %d of %d lines):" %
            (min(len(lines), _LOG_LINES_SHOWN), len(lines)))
        for line in lines[-_LOG_LINES_SHOWN:]:
            sys.stderr.write("  %s\n" % line)


class _Limits:
    """How long a boot, a silence and a script may take: `slowness` times the constants."""

    def __init__(self, started, timeout, slowness):
        self._started = self._heard = started
        self._up = None
        self._timeout = timeout
        self._boot = _BOOT_SECONDS * slowness
        self._silence = _SILENCE_SECONDS * slowness

    def heard(self, ready):
        self._heard = time.time()
        if ready and self._up is None:
            self._up = self._heard

    def check(self, device):
        now, reason = time.time(), None
        if self._up is None and now - self._started > self._boot:
            reason = "the device was not up after %d s" % self._boot
        elif now - self._heard > self._silence:
            reason = "the device hangs: nothing heard of it for %d s" % self._silence
        elif None not in (self._up, self._timeout) and now - self._up > self._timeout:
            reason = "the script was not done after %g s" % self._timeout
        if reason is not None:
            device.show_log()
            raise Failure(reason, STATUS_TIMED_OUT)
