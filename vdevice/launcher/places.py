"""The folders in which calls of vdev find the devices that stay. Each has a socket, and is locked while its keeper
runs. A folder without a lock was left by a killed keeper."""

import contextlib
import fcntl
import os
import re
import socket
import stat
import tempfile

from .progress import Failure

DEFAULT_NAME = "default"
_NAME = re.compile(r"[A-Za-z0-9][-A-Za-z0-9_.]{0,39}")
_SOCKET = "socket"


def is_name(text):
    return _NAME.fullmatch(text) is not None


def _root():
    runtime = os.environ.get("XDG_RUNTIME_DIR", "")
    if os.path.isdir(runtime):
        return os.path.join(runtime, "vdev")
    return os.path.join(tempfile.gettempdir(), "vdev-%d" % os.geteuid())


def _is_same(descriptor, path):
    try:
        return os.path.samestat(os.fstat(descriptor), os.stat(path, follow_symlinks=False))
    except FileNotFoundError:
        return False


def _lock(path, waits):
    """A descriptor of the folder, made if it is not there, that holds its lock; None if another has
    it."""
    while True:
        with contextlib.suppress(FileExistsError):
            os.mkdir(path, 0o700)
        descriptor = None
        try:
            descriptor = os.open(path, os.O_RDONLY | os.O_DIRECTORY | os.O_NOFOLLOW)
            fcntl.flock(descriptor, fcntl.LOCK_EX | (0 if waits else fcntl.LOCK_NB))
            if _is_same(descriptor, path):
                return descriptor
        except FileNotFoundError:
            pass  # removed by another call
        except BlockingIOError:
            os.close(descriptor)
            return None
        if descriptor is not None:
            os.close(descriptor)


def _remove(path):
    with contextlib.suppress(FileNotFoundError):
        os.unlink(os.path.join(path, _SOCKET))
    os.rmdir(path)


@contextlib.contextmanager
def _turn():
    """The folder of all devices, locked against other calls."""
    root = _root()
    descriptor = _lock(root, waits=True)
    try:
        state = os.fstat(descriptor)
        if state.st_uid != os.geteuid() or stat.S_IMODE(state.st_mode) & 0o077:
            raise Failure("%s: is no folder of this user's alone" % root)
        yield root
        with contextlib.suppress(OSError):  # not empty
            os.rmdir(root)
    finally:
        os.close(descriptor)


class Place:
    """The name of a device, held by its keeper."""

    def __init__(self, name):
        """Raises Failure if the name is in use."""
        with _turn() as root:
            self._path = os.path.join(root, name)
            self.descriptor = _lock(self._path, waits=False)
            if self.descriptor is None:
                raise Failure("there is a device '%s' already" % name)
            with contextlib.suppress(FileNotFoundError):
                os.unlink(os.path.join(self._path, _SOCKET))

    def listen(self):
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(_socket_in(self.descriptor))
        listener.listen(16)
        listener.setblocking(False)
        return listener

    def close(self):
        with _turn():
            _remove(self._path)
        os.close(self.descriptor)


def _socket_in(descriptor):
    """A path of the socket that is short enough for an address, for any folder."""
    return "/proc/self/fd/%d/%s" % (descriptor, _SOCKET)


def names():
    """The existing devices. Removes folders that killed keepers left."""
    found = []
    with _turn() as root:
        for name in sorted(os.listdir(root)):
            path = os.path.join(root, name)
            descriptor = _lock(path, waits=False)
            if descriptor is None:
                found.append(name)
            else:
                _remove(path)
                os.close(descriptor)
    return found


def connect(name):
    """A connection to the device's keeper; None while it starts. Raises Failure without a device."""
    there = names()
    if name not in there:
        raise Failure("there is no device '%s' (there are: %s)" % (name, " ".join(there) or "none"))
    connection = socket.socket(socket.AF_UNIX)
    try:
        folder = os.open(os.path.join(_root(), name), os.O_RDONLY | os.O_DIRECTORY)
        try:
            connection.connect(_socket_in(folder))
        finally:
            os.close(folder)
    except (FileNotFoundError, ConnectionRefusedError):
        connection.close()
        return None
    return connection
