"""Files and folders to and from a device."""

import contextlib
import os
import re
import shlex
import shutil
import stat
import subprocess
import tempfile

from . import attach
from .progress import Failure

_PUSH_FILE = """
to=%(to)s
[ ! -d "$to" ] || to=$to/%(name)s
cat >"$to" && chmod %(mode)o -- "$to"
"""
_PUSH_FOLDER = """
to=%(to)s
[ ! -d "$to" ] || to=$to/%(name)s
mkdir -p -- "$to" && tar x -C "$to"
"""
# The first line is the kind of the entry.
_PULL = """
from=%s
[ ! -d "$from" ] || { echo folder && exec tar c -C "$from" .; }
exec <"$from" && stat -L -c '%%a' -- "$from" && exec cat
"""

_WHERE = re.compile(r"^/script/main: (line \d+: )?")


class _Transfer:
    """A session that transfers data. Its last error line is the reason of a failure in the device."""

    def __init__(self, name, script, source=None):
        self._session = attach.Session(attach.connect(name), script,
                                       b"s" if source is None else b"f", source)
        self._session.on_errors = self._on_errors
        self._errors = b""

    def _on_errors(self, data):
        self._errors = (self._errors + data)[-4096:]

    def run(self, on_output=None):
        if on_output is not None:
            self._session.on_output = on_output
        status = self._session.run()
        if status != 0:
            lines = self._errors.decode("utf-8", "replace").splitlines()
            said = _WHERE.sub("", lines[-1]) if lines else "status %d" % status
            raise Failure("the device says: " + said)


def _name_of(path):
    return os.path.basename(os.path.abspath(path))


def push(name, path, target):
    """Copies a file to a file or into an existing folder, or a folder with its content."""
    values = {"to": shlex.quote(target), "name": shlex.quote(_name_of(path))}
    if os.path.isdir(path):
        command = ["tar", "c", "--owner=0", "--group=0", "-C", path, "."]
        with subprocess.Popen(command, stdout=subprocess.PIPE) as tar:
            _Transfer(name, _PUSH_FOLDER % values, tar.stdout.fileno()).run()
        if tar.returncode != 0:
            raise Failure("%s cannot be read as a whole" % path)
        return 0
    with open(path, "rb") as file:
        values["mode"] = stat.S_IMODE(os.fstat(file.fileno()).st_mode)
        _Transfer(name, _PUSH_FILE % values, file.fileno()).run()
    return 0


class _Arrival:
    """Receives a file or a folder under a temporary name in its folder."""

    def __init__(self, target):
        self._target = target
        self._head = b""
        self._mode = None
        self._fresh = None
        self._tar = None
        self._file = None

    def take(self, data):
        if self._file is None:
            self._head += data
            if b"\n" not in self._head:
                return
            kind, data = self._head.split(b"\n", 1)
            self._open(kind)
        self._file.write(data)

    def _open(self, kind):
        is_there = os.path.lexists(self._target)
        folder, name = os.path.split(self._target)
        if kind != b"folder" and is_there and not os.path.isfile(self._target):
            self._file = open(self._target, "wb")  # a device or a pipe
        elif kind != b"folder":
            self._mode = int(kind, 8)
            handle, self._fresh = tempfile.mkstemp(prefix=".%s." % name, dir=folder)
            self._file = os.fdopen(handle, "wb")
        elif is_there:
            raise Failure("%s: is there already" % self._target)
        else:
            self._fresh = tempfile.mkdtemp(prefix=".%s." % name, dir=folder)
            self._open_tar()

    def _open_tar(self):
        self._tar = subprocess.Popen(["tar", "x", "-p", "--no-same-owner", "-C", self._fresh],
                                     stdin=subprocess.PIPE)
        self._file = self._tar.stdin

    def settle(self):
        """Renames the received file or folder to its final name."""
        self._file.close()
        if self._tar is not None and self._tar.wait() != 0:
            raise Failure("%s cannot be written as a whole" % self._target)
        if self._mode is not None:
            os.chmod(self._fresh, self._mode)
        if self._fresh is not None:
            os.replace(self._fresh, self._target)

    def discard(self):
        """Removes what was not renamed."""
        if self._file is not None:
            with contextlib.suppress(OSError):
                self._file.close()
        if self._tar is not None:
            self._tar.wait()
            shutil.rmtree(self._fresh, ignore_errors=True)
        elif self._fresh is not None:
            with contextlib.suppress(FileNotFoundError):
                os.unlink(self._fresh)


def pull(name, path, target):
    """Copies a file to a file or into an existing folder, or a folder to an unused name."""
    if os.path.isdir(target):
        target = os.path.join(target, os.path.basename(os.path.normpath(path)))
    arrival = _Arrival(os.path.realpath(target))
    try:
        _Transfer(name, _PULL % shlex.quote(path)).run(arrival.take)
        arrival.settle()
    finally:
        arrival.discard()
    return 0
