"""The checks of a profile folder, each against the folder that offends it."""

import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))

from vdevice.outside import profile  # noqa: E402
from vdevice.outside.progress import Failure  # noqa: E402

_SERVICES = {"statsd", "stats"}


def _fault(files):
    """What check() says of a folder with these files, "" if nothing; paths relative to it."""
    with tempfile.TemporaryDirectory() as folder:
        for name, content in {"build.prop": b"", **files}.items():
            path = os.path.join(folder, name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.write(content)
        try:
            profile.check(folder, _SERVICES)
        except Failure as failure:
            return str(failure).replace(folder + "/", "")
    return ""


class ProfileTest(unittest.TestCase):
    def test_accepts(self):
        for files in (
                {"build.prop": b"# a phone\n\nro.hardware=qcom\npersist.a=\nro.b=x=y\n"},
                {"build.prop": b"a=" + b"x" * 91},
                {"nodes/a": b"\0\xff", "nodes/a.1": b"", "nodes/a.2": b""},
                {"charger": b"getPsyBatteryCC=fail\ngetUIsohValue=-2147483648\n"},
                {"absent": b"stats\n"},
                {"features": b"feature=a.b off\nbpf=unsupported\nbpf_connect=-5\n"},
                {"calda": b"status=1\nvector=4 4 -1\nexception=-3\n", "thermal": b"41.5\n-3\n.5\n"},
                {"audio": b"any=text", "uah": b"a,b\n!nontext\n", "touch": b"\0"},
                {"audio": b"status=-38"},
                {"root/proc/meminfo": b""}):
            self.assertEqual("", _fault(files), files)

    def test_refuses_with_file_line_and_reason(self):
        for files, fault in (
                ({"build.prop": b"a=b\nfoo\n"}, "build.prop:2: 'foo' has no '='"),
                ({"build.prop": b"a=b\n\na=c\n"}, "build.prop:3: 'a' is already set in line 1"),
                ({"build.prop": b"a b=c"}, "build.prop:1: 'a b' is no property name"),
                ({"build.prop": b"ctl.stop=x"},
                 "build.prop:1: 'ctl.stop' is a request to init, no property"),
                ({"build.prop": b"a=" + b"x" * 92},
                 "build.prop:1: the value of 'a' is longer than 91 bytes"),
                ({"build.prop": b"a=\xff"}, "build.prop:1: is not UTF-8 text"),
                ({"nodes/a b": b""}, "nodes/a b: is no key, nor KEY.N with N from 1"),
                ({"nodes/a.1": b""}, "nodes/a.1: there is no a before it"),
                ({"nodes/a": b"", "nodes/a.2": b""}, "nodes/a.2: there is no a.1 before it"),
                ({"nodes": b""}, "nodes: is no folder"),
                ({"charger": b"getNothing=1"}, "charger:1: the charger has no method 'getNothing'"),
                ({"charger": b"getUIsohValue=2147483648"},
                 "charger:1: '2147483648' is no 32-bit number for getUIsohValue"),
                ({"absent": b"audi"}, "absent:1: there is no service 'audi' (there are: stats, "
                 "statsd)"),
                ({"calda": b"status=1\nfoo=1"}, "calda:2: 'foo' is none of status, ambient, "
                 "transport_error, exception, vector"),
                ({"calda": b"vector=1 x"}, "calda:1: 'x' is no 32-bit number for vector"),
                ({"thermal": b"warm"}, "thermal:1: 'warm' is no temperature"),
                ({"audio": b"status=no"}, "audio:1: 'no' is no 32-bit number for status"),
                ({"uah": b"!other"}, "uah:1: '!other' is neither '!nontext' nor '!fail'"),
                ({"extra": b""}, "extra: a profile has no such file"),
                ({"root/profile/x": b""}, "root/profile: is the device's own")):
            self.assertEqual(fault, _fault(files))
        self.assertTrue(_fault({"features": b"feature=a on"}).startswith("features:1: "))

    def test_shipped_profiles_are_well_formed(self):
        from vdevice.outside import image
        names = image.service_names()
        for name in ("qcom", "mtk", "bare"):
            profile.check(os.path.join(image.ROOT, "vdevice", "profiles", name), names)


if __name__ == "__main__":
    unittest.main()
