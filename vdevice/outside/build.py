"""Sets up what is missing on the machine and builds the device's programs."""

import contextlib
import fcntl
import os
import re
import subprocess
import time

from .image import ROOT
from .progress import Failure, say

_PROGRESS_SECONDS = 5


@contextlib.contextmanager
def lock(build):
    """One build at a time in a folder: others wait for their turn."""
    os.makedirs(build, exist_ok=True)
    with open(os.path.join(build, ".vdev-lock"), "w", encoding="ascii") as file:
        fcntl.flock(file, fcntl.LOCK_EX)
        yield


def set_up():
    """Installs the packages that building and booting need."""
    environment = dict(os.environ, ZSTATS_START=os.environ.get("ZSTATS_START", str(int(time.time()))))
    command = [os.path.join(ROOT, "tools", "setup"), "build", "device"]
    if subprocess.call(command, env=environment, stdin=subprocess.DEVNULL) != 0:
        raise Failure("the packages that are needed could not be installed")


def build_programs(build):
    """Configures where that has not been done yet, then builds the target device_programs."""
    if not os.path.exists(os.path.join(build, "build.ninja")):
        say("configuring the build")
        _run(["cmake", "-G", "Ninja", "-S", ROOT, "-B", build,
              "-DCMAKE_BUILD_TYPE=RelWithDebInfo"], os.path.join(build, "configure.log"))
    _run(["cmake", "--build", build, "--target", "device_programs"],
         os.path.join(build, "build.log"))


def _run(command, log_path):
    """Runs a command into a log, tells its "[n/m]" lines now and then, shows the log's end on
    failure."""
    told = time.time()
    with open(log_path, "w", encoding="utf-8", errors="replace") as log, subprocess.Popen(
            command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
            text=True, errors="replace") as process:
        for line in process.stdout:
            log.write(line)
            step = re.match(r"\[(\d+/\d+)\]", line)
            if step and time.time() - told > _PROGRESS_SECONDS:
                told = time.time()
                say("building: %s" % step.group(1))
    if process.returncode != 0:
        _show_end(log_path)
        raise Failure("%s failed; all of its output is in %s" % (" ".join(command[:2]), log_path))


def _show_end(log_path):
    with open(log_path, encoding="utf-8", errors="replace") as log:
        lines = log.read().splitlines()
    start = next((i for i, line in enumerate(lines) if line.startswith("FAILED:")), len(lines) - 20)
    for line in lines[max(start, 0):][:40]:
        say("  " + line)
