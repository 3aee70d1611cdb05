#!/usr/bin/env python3
"""Checks vintf/zstats_pullerd.xml: it names each HAL of aidl/vendor once, as optional, by the name
under which the daemon looks it up, in all its frozen versions, and nothing else."""

import glob
import os
import re
import sys
import xml.etree.ElementTree as ElementTree

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
_MATRIX = "vintf/zstats_pullerd.xml"


def hals_of_matrix():
    """Lists (package, version, interface, instance, optional, format) of each instance."""
    root = ElementTree.parse(os.path.join(ROOT, _MATRIX)).getroot()
    if (root.tag, root.get("type")) != ("compatibility-matrix", "framework"):
        sys.exit("%s is no framework compatibility matrix" % _MATRIX)
    return [(hal.findtext("name"), hal.findtext("version"), interface.findtext("name"),
             instance.text, hal.get("optional"), hal.get("format"))
            for hal in root for interface in hal.iter("interface")
            for instance in interface.iter("instance")]


def versions(path):
    """The frozen versions of an interface's file, as the matrix writes them."""
    last = max(int(folder.split("/")[-2]) for folder in
               glob.glob(os.path.join(ROOT, "aidl_api/*/[0-9]*/"))
               if os.path.exists(os.path.join(folder, os.path.relpath(path, os.path.join(ROOT, "aidl")))))
    return "1" if last == 1 else "1-%d" % last


def hals_of_interfaces():
    """The same of each interface that a vendor defines and the daemon calls."""
    found = []
    for path in sorted(glob.glob(os.path.join(ROOT, "aidl/vendor/**/*.aidl"), recursive=True)):
        with open(path, encoding="utf-8") as file:
            text = file.read()
        interface = re.search(r"^(?:oneway )?interface (\w+)", text, re.MULTILINE)
        if interface:
            package = re.search(r"^package ([\w.]+);", text, re.MULTILINE)[1]
            found.append((package, versions(path), interface[1], "default", "true", "aidl"))
    return found


def main():
    stated, wanted = sorted(hals_of_matrix()), sorted(hals_of_interfaces())
    for hal in wanted:
        if hal not in stated:
            print("%s lacks %s (tools/freeze-aidl writes a version)" % (_MATRIX, " ".join(hal)),
                  file=sys.stderr)
    for hal in stated:
        if stated.count(hal) > 1 or hal not in wanted:
            print("%s names %s" % (_MATRIX, " ".join(map(str, hal))), file=sys.stderr)
    return 0 if stated == wanted else 1


sys.exit(main())
