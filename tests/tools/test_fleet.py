"""Tests of statsctl's commands that need no device, and of the programs of fleet/."""

import csv
import json
import os
import pathlib
import sqlite3
import subprocess
import tempfile
import unittest

import jsonschema

_ROOT = pathlib.Path(__file__).resolve().parents[2]
_STATSCTL = _ROOT / "build/device/vdevice/statsctl"
_REPORT = _ROOT / "tests/fleet/qcom.pb"


def _run(*command, status=0):
    """Standard output; fails unless the command ends with `status`."""
    done = subprocess.run(list(map(str, command)), cwd=_ROOT, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, timeout=60, check=False)
    if done.returncode != status:
        raise AssertionError(f"status {done.returncode}: {done.stderr}")
    return done.stdout + done.stderr


def _event(atom, fields, **more):
    """A line of a recording; `fields` is a list of (name, type, value)."""
    names, types, values = zip(*fields)
    return json.dumps({"atom": atom, "name": "n", "elapsed_ns": 1, "fields": values, "names": names,
                       "types": types, **more})


def _level(value, name="real_level"):
    return _event(150005, [(name, "int32", value)])


def _time(frequency, value):
    return _event(150027, [("frequency", "int32", frequency), ("time", "int64", value)])


def _source(*values):
    return _event(150020, list(zip(("name", "active_count"), ("string", "int64"), values)))


class Reports(unittest.TestCase):
    def test_text(self):
        self.assertEqual((_ROOT / "tests/fleet/qcom.txt").read_text(encoding="utf-8"),
                         _run(_STATSCTL, "report", _REPORT))

    def test_csv(self):
        """Each atom has a file of its own with the events of the lines, the fields it lacks empty."""
        expected = {}
        for line in _run(_STATSCTL, "report", _REPORT, "--json").splitlines():
            event = json.loads(line)
            if "atom" in event:
                cells = {name: str(value) for name, value in zip(event["names"], event["fields"])}
                expected.setdefault(f"{event['atom']}_{event['name']}.csv", []).append(
                    {"elapsed_ns": str(event["elapsed_ns"]), "time": event["time"], **cells})
        with tempfile.TemporaryDirectory() as folder:
            out = f"{folder}/csv"
            self.assertEqual("", _run(_STATSCTL, "report", _REPORT, "--csv", out))
            files = {}
            for path in pathlib.Path(out).iterdir():
                with open(path, encoding="utf-8", newline="") as file:
                    rows = [{name: {"true": "True", "false": "False"}.get(cell, cell)
                             for name, cell in row.items() if cell} for row in csv.DictReader(file)]
                files[path.name] = rows
            self.assertEqual(expected, files)
            first = f"{out}/150005_battery_level.csv"
            for reason, words in ((f"statsctl report: {first}: File exists\n", (_REPORT, "--csv", out)),
                                  ("statsctl report: /dev/null/x: Not a directory\n",
                                   (_REPORT, "--csv", "/dev/null/x"))):
                self.assertEqual(reason, _run(_STATSCTL, "report", *words, status=1))
            self.assertEqual("statsctl report: takes --json or --csv, not both\n",
                             _run(_STATSCTL, "report", _REPORT, "--json", "--csv", out, status=2))

    def test_lines_fit_the_schema(self):
        validator = jsonschema.Draft202012Validator(
            json.loads(_run(_STATSCTL, "atoms", "--schema")))
        validator.check_schema(validator.schema)
        lines = _run(_STATSCTL, "report", _REPORT, "--json", "--units")
        lines += "".join(path.read_text(encoding="utf-8")
                         for path in (_ROOT / "tests/golden").glob("*.jsonl"))
        for line in lines.splitlines():
            validator.validate(json.loads(line))
        for wrong in ({"atom": 150005, "name": "battery_level", "fields": [1.5, 1, 1, 1],
                       "names": ["real_level", "ui_level", "difference", "absolute_difference"],
                       "types": ["int32"] * 4}, {"atom": 150005}, {"recording": "x"}, {}):
            self.assertFalse(validator.is_valid(wrong), wrong)

    def test_wrong_input(self):
        with tempfile.TemporaryDirectory() as folder:
            empty, cut = pathlib.Path(folder, "empty"), pathlib.Path(folder, "cut")
            empty.write_bytes(b"")
            cut.write_bytes(_REPORT.read_bytes()[:1000])
            for path, reason in ((empty, "holds no report"),
                                 (cut, "is no encoded ConfigMetricsReportList"),
                                 (f"{folder}/none", "No such file or directory")):
                self.assertEqual(f"statsctl report: {path}: {reason}\n",
                                 _run(_STATSCTL, "report", path, status=1))
            self.assertEqual(f"report_size: {cut}: not an encoded report\n",
                             _run("fleet/report_size", cut, 24, status=1))

    def test_size(self):
        self.assertEqual("61167\n", _run("fleet/report_size", _REPORT, 24))

    def test_catalogue(self):
        ids = [json.loads(line)["atom"] for line in _run(_STATSCTL, "atoms", "--json").splitlines()]
        self.assertEqual(sorted(ids), ids)
        golden = (_ROOT / "tests/golden/qcom.jsonl").read_text(encoding="utf-8").splitlines()
        self.assertEqual(sorted({json.loads(line)["atom"] for line in golden} | {100207}), ids)


class Diffs(unittest.TestCase):
    def _diff(self, before, after, *options, status=1):
        with tempfile.TemporaryDirectory() as folder:
            for name, lines in (("a", before), ("b", after)):
                pathlib.Path(folder, name).write_text("".join(line + "\n" for line in lines),
                                                      encoding="utf-8")
            output = _run(_STATSCTL, "diff", f"{folder}/a", f"{folder}/b", *options, status=status)
            return output.replace(folder, "DIR").splitlines()

    def test_changes(self):
        head = '{"recording":"subscribe","elapsed_ns":1}'
        for name, before, after, options, expected in (
                ("nothing", [head, _level(80)], [_level(80), _level(80)], (), []),
                ("gone, new", [_level(80)], [_time(200, 1)], (),
                 ["gone   150005  n", "new    150027  n"]),
                ("median", [_level(80), _level(90), _level(80)], [_level(77)], (),
                 ["moved  150005  n  real_level 80 % -> 77 % (-3 %)"]),
                ("sum of differences", [_time(200, 5), _time(200, 0)], [_time(200, 9)], (),
                 ["moved  150027  n  frequency 200  time 5 ms -> 9 ms (+4 ms)"]),
                ("one key", [_time(200, 5)], [_time(200, 5), _time(547, 1)], (),
                 ["new    150027  n  frequency 547"]),
                ("key of text", [_source("usb", 1)], [_source("usb", 2), _source("x", 1)], (),
                 ["new    150020  n  name x",
                  "moved  150020  n  name usb  active_count 1 -> 2 (+1)"]),
                ("field", [_level(80)], [_level(80, "level")], (),
                 ["gone   150005  n  real_level", "new    150005  n  level"]),
                ("below the bound", [_level(100)], [_level(104)], ("--above", 5), []),
                ("at the bound", [_level(100)], [_level(105)], ("--above", 5),
                 ["moved  150005  n  real_level 100 % -> 105 % (+5 %)"]),
                ("without an event", ['{"atom":150005,"name":"n","events":0}'], [_level(1)], (),
                 ["new    150005  n"])):
            with self.subTest(name):
                self.assertEqual(expected, self._diff(before, after, *options,
                                                      status=1 if expected else 0))

    def test_wrong_input(self):
        for lines, reason in ((["{"], "line 1: not a line of JSON"),
                              ([_level(1), "{}"], "line 2: not a line of a recording"),
                              (['{"atom":1,"fields":[1],"names":[],"types":["int32"]}'],
                               "line 1: not an event of a recording")):
            self.assertEqual([f"statsctl diff: DIR/b: {reason}"],
                             self._diff([_level(1)], lines, status=2))


class Database(unittest.TestCase):
    def _recording(self, folder, build, busy, degrees):
        """Five pulls, a second apart, of two CPUs with this load in percent."""
        lines = [json.dumps({"recording": "subscribe", "fingerprint": build, "elapsed_ns": 0})]
        for second in range(5):
            for cpu in range(2):
                idle = int(second * 1000 * (100 - busy) / 100)
                for atom, name, value in ((150031, "temperature", degrees - cpu),
                                          (150121, "idle_time", idle)):
                    key = "cpu" if atom == 150121 else "index"
                    lines.append(_event(atom, [(key, "int32", cpu), (name, "int64", value)],
                                        elapsed_ns=second * 10**9 + (atom == 150121)))
        path = os.path.join(folder, f"{build}-{busy}")
        pathlib.Path(path).write_text("\n".join(lines) + "\n", encoding="utf-8")
        return path

    def test_heat_by_build(self):
        with tempfile.TemporaryDirectory() as folder:
            recordings = [self._recording(folder, *row) for row in
                          (("old", 10, 40), ("old", 90, 60), ("new", 10, 43), ("new", 90, 63))]
            output = _run("fleet/load", f"{folder}/db", *recordings)
            self.assertEqual([f"{path}: 20 events" for path in recordings], output.splitlines())
            query = (_ROOT / "fleet/heat_by_build.sql").read_text(encoding="utf-8")
            rows = sqlite3.connect(f"{folder}/db").execute(query).fetchall()
            self.assertEqual([("new", 0, 4, 43.0), ("old", 0, 4, 40.0), ("new", 80, 4, 63.0),
                              ("old", 80, 4, 60.0)], rows)

    def test_loads_whole_or_not_at_all(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "recording")
            path.write_text('{"recording":"x"}\n{"atom":1}\n"\n', encoding="utf-8")
            self.assertIn(f"load: {path}: line 3: ",
                          _run("fleet/load", f"{folder}/db", path, status=1))
            rows = sqlite3.connect(f"{folder}/db").execute("SELECT * FROM recording").fetchall()
            self.assertEqual([], rows)


if __name__ == "__main__":
    unittest.main()
