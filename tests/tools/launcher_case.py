"""The launcher of the virtual device, on a machine whose programs are stand-ins."""

import os
import subprocess
import tempfile
import unittest

from machine import Machine

_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
_INSTALLED = 'for p in "${@:3}"; do echo "installed $p"; done'
_CMAKE = 'case $1 in -G) touch "$6/build.ninja" ;; esac'

# Connects like the emulator, sends the frames of `frames`, and waits until it is killed.
_EMULATOR = """#!/usr/bin/python3
import re, socket, struct, sys, time
port = socket.socket(socket.AF_UNIX)
port.connect(re.search("id=port,path=([^, ]*)", " ".join(sys.argv)).group(1))
def frame(kind, data=b""):
    port.sendall(struct.pack("<cHI", kind, 1, len(data)) + data)
%s
"""


class LauncherCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.machine = Machine(folder.name, dpkg_query=_INSTALLED, cmake=_CMAKE)
        for program in ("chmod", "cp", "cpio", "find", "python3"):
            os.symlink("/usr/bin/" + program, folder.name + "/bin/" + program)
        listed = subprocess.run(["sed", "-n", r"s/^readonly \(PACKAGE\|UPSTREAM\)=//p",
                                 "host/aosp/apt-private"], cwd=_ROOT, capture_output=True,
                                text=True, check=True).stdout.split()
        os.makedirs(folder.name + "/.cache/zstats_pullerd/" + "-".join(listed))
        for name, text in (("build/image/base.cpio", "x"), ("build/image/vmlinux", ""),
                           ("build/vdevice/launcher/profile_check", "#!/bin/sh\n"),
                           ("profile/build.prop", ""), ("profile/scenario.night", "")):
            self.write(name, text)

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(path, 0o755)

    def read(self, name):
        with open(os.path.join(self.folder, name), encoding="utf-8") as file:
            return file.read()

    def device(self, frames):
        for name in ("qemu-system-x86_64", "qemu-system-aarch64"):
            self.write("bin/" + name, _EMULATOR % (frames % {"folder": self.folder}))

    def call(self, command, *words):
        return ["./vdev", command, "--build-dir", self.folder + "/build", *words]

    def left_over(self):
        return os.listdir(self.folder + "/tmp")
