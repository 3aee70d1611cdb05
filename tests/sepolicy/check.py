#!/usr/bin/env python3
"""Checks the SELinux policy: that it compiles for each kind of build, that each promise (neverallow)
goes red when a rule breaks it, and that the contexts name labels of the right kind."""

import os
import re
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
HERE = os.path.dirname(os.path.abspath(__file__))
_COMPILER = os.path.join(ROOT, "tools", "sepolicy")
# What the maker of a device adds: types and rules of the HALs' and calda's processes. Then what the
# virtual device has that a phone has not; its root shell makes it a build for developers.
_MAKER = ["--add", os.path.join(ROOT, "vdevice", "selinux", "maker")]
_DEVICE = _MAKER + ["--add", os.path.join(ROOT, "vdevice", "selinux", "device")]
_GUIDE = os.path.join("docs", "device.md")
_VIOLATED = re.compile(r"neverallow on line .* \(or line (\d+) of \S+\) violated by allow")
_LABEL = re.compile(r"u:object_r:(\w+):s0")
_EXEC = "zstats_pullerd_exec"
# What a type must be for a context of this kind to name it.
_KINDS = {"file_contexts": {"file_type", "fs_type", "dev_type"},
          "service_contexts": {"service_manager_type"}, "property_contexts": {"property_type"}}
_PROPERTY_TYPES = ("string", "int", "uint", "bool", "double", "size")
_PLACES = {"/system_ext/bin/zstats_pullerd": _EXEC,
           "/system/system_ext/bin/zstats_pullerd": _EXEC,
           "/system_ext/bin/zstats_pullerd2": "system_file",
           "/system_ext/bin/statsctl": "system_file",
           "/system_ext/bin/zstats_record": "system_file",
           "/system_ext/bin/zcvt/norda_sched": "system_file",
           "/vendor/system_ext/bin/zstats_pullerd": "vendor_file"}

_failures = []


def fail(text):
    _failures.append(text)
    print("sepolicy: " + text, file=sys.stderr)


def compile_policy(out, *arguments):
    """What the compiler complains of, empty if nothing."""
    result = subprocess.run([_COMPILER, *arguments, out], capture_output=True, text=True,
                            check=False)
    return result.stderr if result.returncode != 0 else ""


def lines_of(path):
    """The lines that are no comments, each with its number."""
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            if line.strip() and not line.startswith("#"):
                yield number, line.rstrip("\n")


def attributes_of_types(conf):
    """Maps each type of the expanded policy to its attributes."""
    with open(conf, encoding="utf-8") as file:
        text = re.sub(r"#.*", "", file.read())
    types = {}
    for statement, name, rest in re.findall(r"\b(type|typeattribute)\s+(\w+)\s*([^;]*);", text):
        if statement == "type" or name in types:
            types.setdefault(name, set()).update(re.findall(r"\w+", rest))
    return types


def promises(conf):
    """Maps the line where each neverallow ends, as the compiler counts them, to where it comes from.
    A macro's are as many as its uses."""
    places, file, origin, within = {}, "", 0, False
    with open(conf, encoding="utf-8") as source:
        for number, text in enumerate(source, 1):
            position = re.match(r'#line (\d+)(?: "(.*)")?', text)
            if position:
                origin, file = int(position[1]), position[2] or file
                continue
            within = within or text.startswith("neverallow ")
            if within and ";" in text:
                places[number] = "%s:%d" % (file, origin)
                within = False
            origin += 1
    return places


def broken_by(work, rule):
    """The lines of the promises that a rule breaks, and what the compiler says of it."""
    with tempfile.TemporaryDirectory(dir=work) as added:
        with open(os.path.join(added, "violation.te"), "w", encoding="utf-8") as file:
            file.write(rule + "\n")
        said = compile_policy(os.path.join(added, "out"), *_MAKER, "--add", added)
    return {int(line) for line in _VIOLATED.findall(said)}, said


def check_promises(work, conf):
    """Each rule of the table breaks a promise, and no promise is left unbroken."""
    unbroken = promises(conf)
    rows = list(lines_of(os.path.join(HERE, "violations")))
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        answers = list(pool.map(lambda row: broken_by(work, row[1]), rows))
    for (number, rule), (broken, said) in zip(rows, answers):
        if not broken:
            fail("tests/sepolicy/violations:%d breaks no promise: %s %s" % (number, rule, said))
        for line in broken:
            unbroken.pop(line, None)
    for place in unbroken.values():
        fail("%s: no line of tests/sepolicy/violations breaks this neverallow" % place)


def label_of(text, kind, types):
    """What is wrong with a context's label, empty if nothing."""
    label = _LABEL.fullmatch(text)
    if not label:
        return "'%s' is no label" % text
    if label[1] not in types:
        return "nobody declares the type %s" % label[1]
    return "" if types[label[1]] & _KINDS[kind] else "%s is no label for this" % label[1]


def check_line(kind, words, types):
    """What is wrong with a line, empty if nothing."""
    extra = words[2:]
    if kind == "property_contexts" and extra:
        known = extra[0] in ("exact", "prefix") and extra[1:2] and extra[1] in _PROPERTY_TYPES
        if not known or len(extra) != 2:
            return "'%s' is no kind of match" % " ".join(extra)
    elif len(words) != 2:
        return "%d words, not 2" % len(words)
    if kind == "file_contexts":
        try:
            re.compile(words[0])
        except re.error as error:
            return str(error)
    return label_of(words[1], kind, types)


def check_contexts(folder, kind, types):
    seen = set()
    for number, line in lines_of(os.path.join(folder, kind)):
        words = line.split()
        wrong = "%s stands twice" % words[0] if words[0] in seen else check_line(kind, words, types)
        seen.add(words[0])
        if wrong:
            fail("%s: line %d: %s" % (kind, number, wrong))


def check_places(folder):
    """The daemon's program gets its label in both places of system_ext, and nothing else does."""
    entries = [line.split() for _, line in lines_of(os.path.join(folder, "file_contexts"))]
    for place, wanted in _PLACES.items():
        labels = [_LABEL.fullmatch(words[1])[1] for words in entries
                  if re.fullmatch(words[0], place) and _LABEL.fullmatch(words[1])]
        if labels[-1:] != [wanted]:
            fail("%s is labelled %s, not %s" % (place, labels[-1:], wanted))


def check_pasted(work):
    """The rules that docs/device.md gives to paste are those of the files it names; the others
    compile too."""
    with open(os.path.join(ROOT, _GUIDE), encoding="utf-8") as file:
        blocks = re.findall(r"^```te ?(\S*)\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL)
    rest = ""
    for path, text in blocks:
        if not path:
            rest += text
            continue
        with open(os.path.join(ROOT, path), encoding="utf-8") as file:
            if file.read() != text:
                fail("%s: the text of %s is another" % (_GUIDE, path))
    said = broken_by(work, rest)[1]
    if said or not rest:
        fail("%s: the rules to paste do not compile: %s" % (_GUIDE, said))


def check_builds(work):
    """Ours compiles with and without what a maker adds, and what they add is as sound as ours."""
    for variant, added in (("userdebug", []), ("userdebug", _DEVICE), ("user", []), ("user", _MAKER)):
        out = os.path.join(work, variant)
        said = compile_policy(out, "--variant", variant, *added)
        if said:
            fail("the policy of a %s build does not compile %s: %s" %
                 (variant, " ".join(added), said))
            continue
        types = attributes_of_types(os.path.join(out, "policy.conf"))
        for kind in _KINDS:
            check_contexts(out, kind, types)


def main():
    with tempfile.TemporaryDirectory() as work:
        check_builds(work)
        if not _failures:
            folder = os.path.join(work, "user")
            check_places(folder)
            check_pasted(work)
            check_promises(work, os.path.join(folder, "policy.conf"))
    return 1 if _failures else 0


sys.exit(main())
