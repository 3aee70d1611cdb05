"""Preparation of a boot, and the folder for its files."""

import contextlib
import os
import signal
import tempfile

from . import build, call
from .device import Device
from .progress import say

ENDING_SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
_PLAY_FROM_NOW = "scenario --now /profile/waiting >&2 || exit 1\n"


def ignore_signals():
    for number in ENDING_SIGNALS:
        signal.signal(number, signal.SIG_IGN)


@contextlib.contextmanager
def work_folder():
    """A folder for one boot. Signals do not interrupt its removal."""
    with tempfile.TemporaryDirectory(prefix="vdev.", ignore_cleanup_errors=True) as folder:
        try:
            yield folder
        finally:
            ignore_signals()


class Boot:
    """The programs and the image of a boot, by the options of a call."""

    def __init__(self, options):
        """Builds them. Raises Failure for a profile that is not well-formed."""
        self._options = options
        self._scenario = call.scenario_file(options)
        build.set_up(options.arch)
        folder = os.path.abspath(options.build_dir or build.folder_for(options.arch))
        build.check_profile(build.build_image(folder, options.arch), options.profile)
        self._image = os.path.join(folder, "image")

    def device(self, work, script):
        """The device, whose files are in the folder `work` until it is up. Without a script it runs
        the sessions that it is sent."""
        options = self._options
        ramdisk = os.path.join(work, "ramdisk")
        recorded = options.command == "trace"
        if self._scenario is not None and recorded:
            script = _PLAY_FROM_NOW + script
        build.write_ramdisk(ramdisk, self._image, options.profile, script, self._scenario,
                            getattr(options, "add", None) or (), from_boot=not recorded)
        say("booting profile %s%s" % (os.path.basename(os.path.normpath(options.profile)),
                                      "" if options.arch.is_own else " on " + options.arch.name))
        return Device(options.arch, work, os.path.join(self._image, "vmlinux"), ramdisk,
                      build.hardware_of(options.profile))
