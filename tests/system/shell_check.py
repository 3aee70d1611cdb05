"""Whether the console's terminal has the size of the one that `./vdev shell` is called from, and follows
it. Prints "ok NAME" or "not ok NAME: reason" a check.

usage: shell_check.py SECONDS ARGUMENT...

SECONDS is how long the boot may take; the arguments are those of `./vdev shell`.
"""

import fcntl
import os
import pty
import re
import select
import struct
import subprocess
import sys
import termios
import time

_SIZES = ((33, 111), (52, 97))
PROMPT = rb"~ # "
_ANSWER_SECONDS = 60


class Terminal:
    def __init__(self, command):
        self._ours, theirs = pty.openpty()
        self.resize(*_SIZES[0])
        self.said = b""
        self.process = subprocess.Popen(command, stdin=theirs, stdout=theirs, stderr=theirs,
                                        preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0),
                                        start_new_session=True)
        os.close(theirs)

    def resize(self, lines, columns):
        fcntl.ioctl(self._ours, termios.TIOCSWINSZ, struct.pack("HHHH", lines, columns, 0, 0))

    def type(self, text):
        os.write(self._ours, text)

    def wait_for(self, pattern, seconds):
        """The match in what is said from now on, or None."""
        self.said = b""
        until = time.time() + seconds
        while time.time() < until:
            if select.select([self._ours], [], [], 0.5)[0]:
                try:
                    self.said += os.read(self._ours, 4096)
                except OSError:  # the other end is closed
                    return None
            found = re.search(pattern, self.said)
            if found:
                return found
        return None

    def size_becomes(self, lines, columns):
        """Asks until the device's terminal has this size."""
        until = time.time() + _ANSWER_SECONDS
        while time.time() < until:
            self.type(b"stty size\r")
            found = self.wait_for(rb"\n(\d+ \d+|stty: [a-z ]+)\r*\n", _ANSWER_SECONDS)
            if found and found.group(1) == b"%d %d" % (lines, columns):
                return True
        return False


def check(name, good, terminal):
    print("ok " + name if good else "not ok %s: %r" % (name, terminal.said[-300:]))
    return good


def main(seconds, *arguments):
    terminal = Terminal(["./vdev", "shell", *arguments])
    try:
        up = terminal.wait_for(PROMPT, float(seconds))
        if check("shell/prompt", up, terminal):
            check("shell/size", terminal.size_becomes(*_SIZES[0]), terminal)
            terminal.resize(*_SIZES[1])
            check("shell/follows", terminal.size_becomes(*_SIZES[1]), terminal)
            terminal.type(b"exit 3\r")
            terminal.wait_for(rb"\0", _ANSWER_SECONDS)
            status = terminal.process.wait(_ANSWER_SECONDS)
            check("shell/status", status == 3, terminal)
    finally:
        terminal.process.kill()


if __name__ == "__main__":
    os.chdir(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
    main(*sys.argv[1:])
