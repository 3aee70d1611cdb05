"""Frozen versions of the interfaces, as the platform's build keeps them in aidl_api/."""
import hashlib
import pathlib
import re

API = pathlib.Path("aidl_api")


def declaration(text):
    """What a frozen version keeps of an interface file: all but comments and empty lines."""
    text = re.sub(r"/\*.*?\*/|//[^\n]*", "", text, flags=re.DOTALL)
    return "\n".join(line for line in text.splitlines() if line.strip()) + "\n"


def folder_hash(folder, version):
    """The hash that the platform's build computes of a version's files."""
    lines = "".join(
        f"{hashlib.sha1(path.read_bytes()).hexdigest()}  ./{path.relative_to(folder)}\n"
        for path in sorted(folder.rglob("*.aidl"), key=lambda path: str(path).encode()))
    before = "latest-version" if version == "1" else str(int(version) - 1)
    return hashlib.sha1(f"{lines}{before}\n".encode()).hexdigest()


def is_stable(values):
    return values.get("stability") == "vintf"


def latest(values):
    """The last frozen version of an aidl_interface, as text."""
    return values["versions_with_info"][-1]["version"]
