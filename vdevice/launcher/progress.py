"""Progress with the elapsed time on standard error, and the exception for failures."""

import os
import sys
import time

STARTED = float(os.environ.get("ZSTATS_START", time.time()))


class Failure(Exception):
    """Ends the program with one line on standard error and this exit status."""

    def __init__(self, reason, status=1):
        super().__init__(reason)
        self.status = status


def say(text):
    sys.stderr.write("[%6.1f s] %s\n" % (time.time() - STARTED, text))
    sys.stderr.flush()
