"""Builds what a boot needs, with the project's tools."""

import os
import shutil
import subprocess
import sys

from .architecture import ROOT
from .progress import STARTED, Failure

_OWN_FOLDER = os.path.join(ROOT, "build", "device")


def _tool(name, *arguments):
    command = [os.path.join(ROOT, "tools", name), *arguments]
    environment = dict(os.environ, ZSTATS_START=str(int(STARTED)))
    if subprocess.call(command, env=environment) != 0:
        sys.exit(1)  # it has printed the reason


def _run(command, **options):
    """Runs a command; raises Failure with its last message if it fails."""
    ended = subprocess.run(command, stderr=subprocess.PIPE, text=True, errors="replace", check=False,
                           **options)
    if ended.returncode != 0:
        said = ended.stderr.strip().splitlines() or ["status %d" % ended.returncode]
        raise Failure("the RAM disk cannot be written: %s" % said[-1])


def folder_for(architecture):
    """The build folder of a device of this architecture."""
    return _OWN_FOLDER if architecture.is_own else os.path.join(ROOT, "build", architecture.name)


def set_up(architecture):
    """Installs the packages that building and booting need."""
    _tool("setup", "--arch", architecture.name, "build", "device")


def build_image(folder, architecture):
    """Builds the device's programs and its image, which is `folder`/image. Returns the program that
    checks profiles."""
    own_folder = folder
    arguments = []
    if not architecture.is_own:
        own_folder = _OWN_FOLDER
        arguments = ["--", "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                     "-DCMAKE_TOOLCHAIN_FILE=cmake/Cross.cmake", "-DZSTATS_ARCH=" + architecture.name]
        _tool("build", own_folder, "profile_check")
    _tool("build", folder, "device_image", *arguments)
    return os.path.join(own_folder, "vdevice", "launcher", "profile_check")


def check_profile(program, profile):
    """Raises Failure, with file, line and reason, unless `profile` is a well-formed folder."""
    rc_folder = os.path.join(ROOT, "vdevice", "rc")
    command = [program, profile, os.path.join(ROOT, "zstats_pullerd.rc"),
               *(os.path.join(rc_folder, name) for name in os.listdir(rc_folder))]
    result = subprocess.run(command, stderr=subprocess.PIPE, text=True, errors="replace",
                            check=False)
    if result.returncode != 0:
        raise Failure(result.stderr.strip())


def _add_program(program, folder):
    """Copies a program of this machine's, and the libraries that it loads, to where they are here."""
    loaded = subprocess.run(["ldd", program], stdout=subprocess.PIPE, text=True, check=False)
    if loaded.returncode != 0:
        raise Failure("%s: is no program of this machine's" % program)
    paths = [word for line in loaded.stdout.splitlines() for word in line.split()
             if word.startswith("/")]
    for path in [os.path.abspath(program), *paths]:
        name = os.path.basename(path)
        target = path if path in (paths[-1], os.path.abspath(program)) else "/usr/lib/" + name
        os.makedirs(folder + os.path.dirname(target), exist_ok=True)
        _run(["cp", "-L", path, folder + target])


def write_ramdisk(path, image, profile, script, scenario=None, programs=(), from_boot=True):
    """Writes the RAM disk of one boot: the image's part, and behind it the profile, the file of the
    scenario that is to be played (`from_boot`, or by the script), the script, and further programs.
    All in the device may read what the owner of the profile may. Without a script a console opens.
    The archive that VDEV_OVERLAY names lies over the image, for tools that need another program or
    policy in the device."""
    folder = path + ".files"
    os.mkdir(folder)
    _run(["cp", "-RP", profile + "/.", os.path.join(folder, "profile")])
    if scenario is not None:
        name = "playing" if from_boot else "waiting"
        _run(["cp", scenario, os.path.join(folder, "profile", name)])
    for program in programs:
        _add_program(program, folder)
    if script is not None:
        os.mkdir(os.path.join(folder, "script"))
        with open(os.path.join(folder, "script", "main"), "wb") as file:
            file.write(script.encode("utf-8", "surrogateescape"))
        os.chmod(file.name, 0o755)
    _run(["chmod", "-R", "go=u-w", folder])
    with open(path, "wb") as file:
        archives = [os.path.join(image, "base.cpio"), os.environ.get("VDEV_OVERLAY")]
        _run(["cat", *filter(None, archives)], stdout=file)
        _run("find . -mindepth 1 -printf '%P\\0' | cpio --quiet -0 -o -H newc -R 0:0", shell=True,
             cwd=folder, stdout=file)
    shutil.rmtree(folder)


def hardware_of(profile):
    """The profile's ro.hardware, which on a phone the boot loader sets."""
    with open(os.path.join(profile, "build.prop"), encoding="utf-8") as file:
        properties = dict(line.rstrip("\n").split("=", 1) for line in file
                          if "=" in line and not line.startswith("#"))
    return properties.get("ro.hardware", "unknown")
