"""A file that is written under a temporary name and renamed at the end."""

import os
import stat
import sys
import tempfile

from .progress import Failure


class Recording:
    """Receives bytes for `path`, or for standard output ("-"). An existing file is replaced at the end, unless
    nothing was recorded. A path that is not a regular file is written directly."""

    def __init__(self, path):
        self._fresh = None
        self._path = os.path.realpath(path)
        if path == "-":
            self._file = sys.stdout.buffer
        elif os.path.isdir(self._path):
            raise Failure("%s: is a folder" % path)
        elif os.path.exists(self._path) and not os.path.isfile(self._path):
            self._file = open(self._path, "wb")
        else:
            folder, name = os.path.split(self._path)
            handle, self._fresh = tempfile.mkstemp(prefix=".%s." % name, dir=folder)
            self._file = os.fdopen(handle, "wb")

    def write(self, data):
        self._file.write(data)

    def flush(self):
        self._file.flush()

    def close(self):
        """Renames the recording to its final name."""
        if self._fresh is None:
            self._file.flush()
            return
        try:
            self._file.close()
        finally:
            if os.path.getsize(self._fresh) > 0:
                os.chmod(self._fresh, self._mode())
                os.replace(self._fresh, self._path)
            else:
                os.unlink(self._fresh)

    def _mode(self):
        if os.path.exists(self._path):
            return stat.S_IMODE(os.stat(self._path).st_mode)
        mask = os.umask(0)
        os.umask(mask)
        return 0o666 & ~mask
