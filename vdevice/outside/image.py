"""Makes what the emulator boots: the unpacked kernel, and the initial RAM disk in two parts.

The base (programs, libraries, rc files) is kept beside the build and made anew only when one of
its inputs changed; the part of a boot (profile, script) is small and follows it in the same file.
"""

import hashlib
import lzma
import os
import re
import struct
import subprocess

from .cpio import Archive
from .progress import Failure, say

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUSYBOX = "/bin/busybox"
TOOLBOX_NAMES = ("asuid", "getprop", "logcat", "setprop", "start", "stop")
_USERS = (("root", 0), ("system", 1000), ("audioserver", 1041), ("statsd", 1066), ("shell", 2000),
          ("nobody", 9999))
_POLICY_VERSION = "33"


def rc_files():
    """The daemon's own rc file and those of the virtual device, in the order init reads them."""
    folder = os.path.join(ROOT, "vdevice", "rc")
    return [os.path.join(ROOT, "zstats_pullerd.rc")] + sorted(
        os.path.join(folder, name) for name in os.listdir(folder) if name.endswith(".rc"))


def _services():
    """Pairs of (name, path) of each service in the rc files, and the binder names they promise."""
    services, interfaces = [], []
    for path in rc_files():
        with open(path, encoding="utf-8") as file:
            for line in file:
                words = line.split()
                if len(words) >= 3 and words[0] == "service":
                    services.append((words[1], words[2]))
                elif len(words) == 3 and words[:2] == ["interface", "aidl"]:
                    interfaces.append(words[2])
    return services, interfaces


def service_names():
    """Every name by which a profile may call a service absent."""
    services, interfaces = _services()
    return {name for name, _ in services} | set(interfaces)


def cache_folder():
    base = os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache")
    return os.environ.get("ZSTATS_CACHE") or os.path.join(base, "zstats_pullerd")


def kernel():
    """Paths of the kernel as a plain executable image and of the binder module."""
    folder = os.path.join(cache_folder(), "kernel")
    if not os.path.isdir(folder):
        say("fetching the kernel")
        fetch = os.path.join(ROOT, "host", "aosp", "apt-private")
        if subprocess.call([fetch, "kernel"], stdout=subprocess.DEVNULL) != 0:
            raise Failure("the kernel cannot be fetched")
    image = os.path.join(folder, "vmlinux")
    if not os.path.exists(image):
        _write(image, _unpack_kernel(os.path.join(folder, "vmlinuz")))
    return image, os.path.join(folder, "binder_linux.ko")


def _unpack_kernel(path):
    """The payload of a bzImage: where it lies stands in the boot header."""
    with open(path, "rb") as file:
        data = file.read()
    setup_sectors = data[0x1f1] or 4
    offset, length = struct.unpack_from("<II", data, 0x248)
    start = (setup_sectors + 1) * 512 + offset
    # The kernel's build appends the size to the stream, which only the stream decoder passes over.
    try:
        return lzma.LZMADecompressor(format=lzma.FORMAT_XZ).decompress(data[start:start + length])
    except lzma.LZMAError as error:
        raise Failure("%s: the kernel is not packed with xz: %s" % (path, error))


def _write(path, data):
    """Replaces a file as a whole: another process may be reading it."""
    temporary = "%s.%d" % (path, os.getpid())
    with open(temporary, "wb") as file:
        file.write(data)
    os.replace(temporary, path)


def _programs(build):
    """Maps each built program to its place in the device, as the rc files name it."""
    folders = [os.path.join(build, "vdevice"), os.path.join(build, "host", "aosp")]
    places = {os.path.basename(path): path for _, path in _services()[0]}
    programs = {}
    for folder in folders:
        for name in sorted(os.listdir(folder)):
            path = os.path.join(folder, name)
            if os.path.isfile(path) and os.access(path, os.X_OK) and ".so" not in name:
                programs[path] = places.get(name, "/system/bin/" + name)
    return programs


def _key(paths):
    digest = hashlib.sha256()
    for path in paths:
        info = os.stat(path)
        digest.update(("%s %d %d\n" % (path, info.st_size, info.st_mtime_ns)).encode())
    return digest.hexdigest()


def _libraries(programs):
    """Maps each shared library that the programs load to its place in the device."""
    output = subprocess.run(["ldd"] + list(programs), capture_output=True, text=True, check=False)
    missing = re.search(r"(\S+) => not found", output.stdout)
    if missing:
        raise Failure("a program needs %s, which is not there" % missing.group(1))
    found = set(re.findall(r"(?:=> |^\s+)(/\S+) \(0x", output.stdout, re.MULTILINE))
    return {path: path if path.startswith(("/lib", "/usr/lib")) else
            "/usr/lib/x86_64-linux-gnu/" + os.path.basename(path) for path in found}


def _stripped(path, folder):
    target = os.path.join(folder, os.path.basename(path))
    if not os.path.exists(target) or os.stat(target).st_mtime < os.stat(path).st_mtime:
        if subprocess.call(["strip", "-s", "-o", target, path]) != 0:
            raise Failure("%s cannot be stripped" % path)
    with open(target, "rb") as file:
        return file.read()


def _policy(source, folder):
    target = os.path.join(folder, "policy")
    result = subprocess.run(["secilc", "-M", "true", "-c", _POLICY_VERSION, "-o", target, "-f",
                             os.devnull, source], capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise Failure("%s: %s" % (source, (result.stdout + result.stderr).strip()))
    with open(target, "rb") as file:
        return file.read()


def _add_system_files(archive, module, policy_source, work):
    for path in ("/proc", "/sys", "/dev", "/tmp", "/data", "/.kernel/proc", "/.kernel/sys"):
        archive.folder(path)
    with open(module, "rb") as file:
        archive.file("/lib/modules/binder_linux.ko", file.read())
    for path in rc_files():
        with open(path, "rb") as file:
            archive.file("/system/etc/init/" + os.path.basename(path), file.read())
    users = "".join("%s:x:%d:%d::/:/bin/sh\n" % (name, uid, uid) for name, uid in _USERS)
    groups = "".join("%s:x:%d:\n" % user for user in _USERS)
    archive.file("/etc/passwd", users.encode())
    archive.file("/etc/group", groups.encode())
    archive.file("/etc/selinux/config", b"SELINUX=permissive\nSELINUXTYPE=zstats\n")
    if os.path.exists(policy_source):
        archive.file("/etc/selinux/policy", _policy(policy_source, work))


def _add_busybox(archive):
    with open(BUSYBOX, "rb") as file:
        archive.file("/bin/busybox", file.read(), 0o755)
    names = subprocess.run([BUSYBOX, "--list"], capture_output=True, text=True, check=True).stdout
    for name in names.split():
        if name != "busybox":
            archive.link("/bin/" + name, "busybox")


def base(build):
    """Path of the base part of the RAM disk, made anew when an input changed."""
    work = os.path.join(build, "image")
    os.makedirs(os.path.join(work, "stripped"), exist_ok=True)
    _, module = kernel()
    policy_source = os.path.join(ROOT, "vdevice", "selinux", "policy.cil")
    programs = _programs(build)
    libraries = [path for path in (os.path.join(build, "host", "aosp", name) for name in
                 sorted(os.listdir(os.path.join(build, "host", "aosp")))) if path.endswith(".so")]
    inputs = list(programs) + libraries + rc_files() + [module, BUSYBOX, os.path.abspath(__file__)]
    inputs += [policy_source] if os.path.exists(policy_source) else []
    image, key_file, key = os.path.join(work, "base.cpio"), os.path.join(work, "key"), _key(inputs)
    if os.path.exists(image) and os.path.exists(key_file):
        with open(key_file, encoding="ascii") as file:
            if file.read() == key:
                return image
    say("making the device's image")
    _write(image, _base_archive(programs, module, policy_source, work).bytes())
    _write(key_file, key.encode())
    return image


def _base_archive(programs, module, policy_source, work):
    archive = Archive()
    _add_system_files(archive, module, policy_source, work)
    _add_busybox(archive)
    stripped = os.path.join(work, "stripped")
    for path, place in list(programs.items()) + sorted(_libraries(programs).items()):
        archive.file(place, _stripped(path, stripped), 0o755)
    for name in TOOLBOX_NAMES:
        archive.link("/system/bin/" + name, "toolbox")
    if not archive.has("/system/bin/init"):
        raise Failure("the build has no init")
    archive.link("/init", "system/bin/init")
    return archive


def boot_part(profile, script):
    """The bytes of the part that differs from boot to boot; without a script a console opens."""
    archive = Archive()
    archive.tree(profile, "/profile")
    if script is not None:
        archive.file("/script/main", script.encode("utf-8", "surrogateescape"), 0o755)
    return archive.bytes()
