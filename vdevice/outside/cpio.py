"""Writes initial RAM disks: the "newc" flavour of cpio, which the kernel unpacks at boot."""

import os
import stat


class Archive:
    """An archive in memory. Every parent folder of an entry is made; all belongs to root."""

    def __init__(self):
        self._parts = []
        self._names = set()

    def folder(self, path, mode=0o755):
        path = path.strip("/")
        if path and path not in self._names:
            self._entry(path, stat.S_IFDIR | mode, b"")

    def file(self, path, data, mode=0o644):
        self._entry(path.strip("/"), stat.S_IFREG | mode, data)

    def link(self, path, target):
        self._entry(path.strip("/"), stat.S_IFLNK | 0o777, os.fsencode(target))

    def tree(self, folder, prefix):
        """Adds all below `folder` under `prefix`, with its permission bits."""
        self.folder(prefix)
        for parent, folders, files in os.walk(folder):
            base = os.path.join(prefix, os.path.relpath(parent, folder)).rstrip("./")
            for name in sorted(folders + files):
                source, path = os.path.join(parent, name), base + "/" + name
                mode = os.lstat(source).st_mode
                if stat.S_ISLNK(mode):
                    self.link(path, os.readlink(source))
                elif stat.S_ISDIR(mode):
                    self.folder(path)
                else:
                    with open(source, "rb") as file:
                        self.file(path, file.read(), stat.S_IMODE(mode))

    def has(self, path):
        return path.strip("/") in self._names

    def bytes(self):
        """The whole archive, padded so that another one can follow."""
        trailer = self._pack("TRAILER!!!", 0, b"")
        data = b"".join(self._parts) + trailer
        return data + b"\0" * (-len(data) % 512)

    def _entry(self, path, mode, data):
        parent = os.path.dirname(path)
        if parent:
            self.folder(parent)
        self._names.add(path)
        self._parts.append(self._pack(path, mode, data))

    def _pack(self, path, mode, data):
        name = os.fsencode(path) + b"\0"
        fields = (len(self._parts) + 1, mode, 0, 0, 1, 0, len(data), 0, 0, 0, 0, len(name), 0)
        head = b"070701" + b"".join(b"%08x" % field for field in fields) + name
        return head + b"\0" * (-len(head) % 4) + data + b"\0" * (-len(data) % 4)
