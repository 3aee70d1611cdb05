"""Has everything made that a boot needs, by the tools for it."""

import os
import subprocess
import sys

from .progress import STARTED, Failure

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def _tool(name, *arguments):
    command = [os.path.join(ROOT, "tools", name), *arguments]
    environment = dict(os.environ, ZSTATS_START=str(int(STARTED)))
    if subprocess.call(command, env=environment) != 0:
        sys.exit(1)  # it has said why


def set_up():
    """Installs the packages that building and booting need."""
    _tool("setup", "build", "device")


def build_image(folder):
    """Builds the device's programs and its image, which is `folder`/image."""
    _tool("build", folder, "device_image")


def check_profile(folder, profile):
    """Raises Failure, with file, line and reason, unless `profile` is a well-formed folder."""
    rc_folder = os.path.join(ROOT, "vdevice", "rc")
    command = [os.path.join(folder, "vdevice", "launcher", "profile_check"), profile,
               os.path.join(ROOT, "zstats_pullerd.rc"),
               *(os.path.join(rc_folder, name) for name in os.listdir(rc_folder))]
    result = subprocess.run(command, stderr=subprocess.PIPE, text=True, errors="replace",
                            check=False)
    if result.returncode != 0:
        raise Failure(result.stderr.strip())


def write_ramdisk(path, image, profile, script, scenario=None):
    """Writes the RAM disk of one boot: the image's part, and behind it the profile, the file of the
    scenario that is to be played, and the script. All in the device may read what the owner of the
    profile may. Without a script a console opens."""
    folder = path + ".files"
    os.mkdir(folder)
    subprocess.run(["cp", "-RP", profile + "/.", os.path.join(folder, "profile")], check=True)
    if scenario is not None:
        subprocess.run(["cp", scenario, os.path.join(folder, "profile", "playing")], check=True)
    if script is not None:
        os.mkdir(os.path.join(folder, "script"))
        with open(os.path.join(folder, "script", "main"), "wb") as file:
            file.write(script.encode("utf-8", "surrogateescape"))
        os.chmod(file.name, 0o755)
    subprocess.run(["chmod", "-R", "go=u-w", folder], check=True)
    with open(path, "wb") as file:
        subprocess.run(["cat", os.path.join(image, "base.cpio")], stdout=file, check=True)
        subprocess.run("find . -mindepth 1 -printf '%P\\0' | cpio --quiet -0 -o -H newc -R 0:0",
                       shell=True, cwd=folder, stdout=file, check=True)
