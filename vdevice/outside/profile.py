"""Checks a profile folder before a device is booted with it, file by file and line by line.

The format is described in vdevice/README.md. Every check raises Failure with file, line and reason.
"""

import os
import re
import stat

from .progress import Failure

_INT32 = range(-2**31, 2**31)
_PROPERTY_NAME = re.compile(r"[A-Za-z0-9_.:@-]+")
_NODE_NAME = re.compile(r"([A-Za-z0-9_-]+)(?:\.([1-9][0-9]*))?")
_FLAG = re.compile(r"[-+]?[0-9]+")
_DECIMAL = re.compile(r"[-+]?([0-9]+(\.[0-9]*)?|\.[0-9]+)")
_PROPERTY_VALUE_BYTES = 91
_FEATURE_NUMBERS = ("bpf_enable", "bpf_btf", "bpf_region", "bpf_connect")
_CALDA_NUMBERS = ("status", "ambient", "transport_error", "exception")

CHARGER_METHODS = (
    "getBatteryVoltageNow", "getPsyBatteryCC", "getPsyBatteryCurrentNow", "getPsyBatteryFcc",
    "getPsyBatteryPchg", "getPsyBatteryPchgResetCount", "getPsyBatteryTemp", "getPsyChargeTech",
    "getPsyFastChgType", "getPsyInputCurrent", "getUIsohValue", "getUsbInputCurrentNow")


def _refuse(path, line, reason):
    where = "%s:%d" % (path, line) if line else path
    raise Failure("%s: %s" % (where, reason))


def _text_lines(path):
    """Yields (number, line) of a text file, without line ends, blank lines and comments left out."""
    with open(path, "rb") as file:
        for number, raw in enumerate(file.read().split(b"\n"), 1):
            try:
                line = raw.decode("utf-8")
            except UnicodeDecodeError:
                _refuse(path, number, "is not UTF-8 text")
            if "\0" in line:
                _refuse(path, number, "holds a NUL character")
            if line.strip() and not line.startswith("#"):
                yield number, line


def _int32(path, number, what, text):
    if not _FLAG.fullmatch(text) or int(text) not in _INT32:
        _refuse(path, number, "'%s' is no 32-bit number for %s" % (text, what))


def _pairs(path):
    """Yields (number, key, value) of `key=value` lines, each key once."""
    seen = {}
    for number, line in _text_lines(path):
        key, equals, value = line.partition("=")
        if not equals:
            _refuse(path, number, "'%s' has no '='" % line)
        if key in seen:
            _refuse(path, number, "'%s' is already set in line %d" % (key, seen[key]))
        seen[key] = number
        yield number, key, value


def _check_properties(path, _known):
    for number, key, value in _pairs(path):
        if not _PROPERTY_NAME.fullmatch(key):
            _refuse(path, number, "'%s' is no property name" % key)
        if key.startswith("ctl."):
            _refuse(path, number, "'%s' is a request to init, no property" % key)
        if len(value.encode()) > _PROPERTY_VALUE_BYTES:
            _refuse(path, number, "the value of '%s' is longer than %d bytes" %
                    (key, _PROPERTY_VALUE_BYTES))


def _check_charger(path, _known):
    for number, method, value in _pairs(path):
        if method not in CHARGER_METHODS:
            _refuse(path, number, "the charger has no method '%s'" % method)
        if value != "fail":
            _int32(path, number, method, value)


def _check_absent(path, known):
    for number, line in _text_lines(path):
        if line not in known:
            _refuse(path, number, "there is no service '%s' (there are: %s)" %
                    (line, ", ".join(sorted(known))))


def _check_features(path, _known):
    for number, line in _text_lines(path):
        if re.fullmatch(r"feature=\S+ off", line) or line == "bpf=unsupported":
            continue
        key, _, value = line.partition("=")
        if key not in _FEATURE_NUMBERS:
            _refuse(path, number, "'%s' is neither 'feature=NAME off', 'bpf=unsupported' nor one of "
                    "%s with a number" % (line, ", ".join(_FEATURE_NUMBERS)))
        _int32(path, number, key, value)


def _check_calda(path, _known):
    for number, key, value in _pairs(path):
        if key == "vector":
            for word in value.split():
                _int32(path, number, "vector", word)
        elif key in _CALDA_NUMBERS:
            _int32(path, number, key, value)
        else:
            _refuse(path, number, "'%s' is none of %s, vector" % (key, ", ".join(_CALDA_NUMBERS)))


def _check_thermal(path, _known):
    for number, line in _text_lines(path):
        if not _DECIMAL.fullmatch(line.strip()):
            _refuse(path, number, "'%s' is no temperature" % line)


def _check_audio(path, _known):
    for number, line in _text_lines(path):
        if line.startswith("status="):
            _int32(path, number, "status", line[len("status="):])


def _check_uah(path, _known):
    for number, line in _text_lines(path):
        if line.startswith("!") and line not in ("!nontext", "!fail"):
            _refuse(path, number, "'%s' is neither '!nontext' nor '!fail'" % line)


def _check_bytes(path, _known):
    """Any bytes will do; that the file can be read is all there is to check."""
    with open(path, "rb"):
        pass


_FILES = {
    "build.prop": _check_properties,
    "charger": _check_charger,
    "absent": _check_absent,
    "features": _check_features,
    "touch": _check_bytes,
    "calda": _check_calda,
    "thermal": _check_thermal,
    "audio": _check_audio,
    "uah": _check_uah,
    "scenario": _check_bytes,
    "scenario.night": _check_bytes,
}


def _check_nodes(folder):
    names = sorted(os.listdir(folder))
    for name in names:
        path = os.path.join(folder, name)
        match = _NODE_NAME.fullmatch(name)
        if not match:
            _refuse(path, 0, "is no key, nor KEY.N with N from 1")
        if not os.path.isfile(path):
            _refuse(path, 0, "is no file")
        key, turn = match.groups()
        before = key if turn == "1" else "%s.%d" % (key, int(turn) - 1) if turn else None
        if before is not None and before not in names:
            _refuse(path, 0, "there is no %s before it" % before)


def _check_root(folder):
    for parent, folders, files in os.walk(folder):
        for name in folders + files:
            path = os.path.join(parent, name)
            mode = os.lstat(path).st_mode
            if not (stat.S_ISREG(mode) or stat.S_ISDIR(mode) or stat.S_ISLNK(mode)):
                _refuse(path, 0, "is neither file, folder nor link")
    for name in ("profile", ".kernel"):
        if os.path.lexists(os.path.join(folder, name)):
            _refuse(os.path.join(folder, name), 0, "is the device's own")


def check(folder, services):
    """Raises Failure unless `folder` is a well-formed profile; `services` are the known names."""
    if not os.path.isdir(folder):
        _refuse(folder, 0, "there is no such profile folder")
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        if name in ("nodes", "root"):
            if not os.path.isdir(path):
                _refuse(path, 0, "is no folder")
            (_check_nodes if name == "nodes" else _check_root)(path)
        elif name in _FILES:
            if not os.path.isfile(path):
                _refuse(path, 0, "is no file")
            try:
                _FILES[name](path, services)
            except OSError as error:
                _refuse(path, 0, error.strerror)
        else:
            _refuse(path, 0, "a profile has no such file")
    if not os.path.isfile(os.path.join(folder, "build.prop")):
        _refuse(os.path.join(folder, "build.prop"), 0, "is missing")
