#!/usr/bin/env python3
"""Tests of tools/check-atoms and tools/freeze-aidl, in copies of what they read."""
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
READ = ("Android.bp", "aidl", "aidl_api", "atoms", "daemon/AtomTable.h", "docs/faults.md",
        "proto/zstats_atoms.proto", "tests/bench/instructions.txt", "tests/golden", "tests/registered_atoms",
        "tests/unit/atoms", "tools/blueprint", "tools/check-atoms", "tools/freeze-aidl", "vintf")
CHARGER = "aidl/vendor/norda/hardware/charger/ICharger.aidl"


class CopyTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.copy = pathlib.Path(folder.name)
        for name in READ:
            (self.copy / name).parent.mkdir(parents=True, exist_ok=True)
            (shutil.copytree if (ROOT / name).is_dir() else shutil.copy)(ROOT / name, self.copy / name)

    def run_tool(self, *command):
        done = subprocess.run([self.copy / "tools" / command[0], *command[1:]], capture_output=True,
                              text=True, check=False)
        return done.returncode, done.stdout, done.stderr

    def change(self, path, pattern, text):
        before = (self.copy / path).read_text(encoding="utf-8")
        after, count = re.subn(pattern, text, before, count=1, flags=re.M)
        self.assertEqual(count, 1, pattern)
        (self.copy / path).write_text(after, encoding="utf-8")
        return before


class CheckAtomsTest(CopyTest):
    def test_each_omission_names_the_file_and_what_to_add(self):
        row = "{150006, &ZStatsPullAtomCallback::handleBatteryDod},"
        rows = (
            ("daemon/AtomTable.h", r"^ *\{150006.*\n", "",
             f"daemon/AtomTable.h: no row for battery_dod of proto/zstats_atoms.proto: add '{row}'"),
            ("proto/zstats_atoms.proto", r"^ *BatteryDod .*\n", "",
             "proto/zstats_atoms.proto: no atom 150006, which daemon/AtomTable.h has: add 'message "
             "BatteryDod' and, in 'oneof pulled', 'BatteryDod battery_dod = 150006;'"),
            ("daemon/AtomTable.h", "handleBatteryDod", "handleBatteryTemperature",
             "daemon/AtomTable.h: 150006 is handleBatteryTemperature, and battery_dod in "
             "proto/zstats_atoms.proto"),
            ("tests/registered_atoms", "150006, ", "",
             "tests/registered_atoms: no 150006 (battery_dod): add it where it is registered"),
            ("tests/unit/atoms/BatteryAtomsTest.cpp", r"\b150009\b", "150010",
             "tests/unit/atoms: no test pulls 150009 (battery_cycle_count): add a row to the test of its family, "
             "with its event, and with its log lines when the value is missing"),
            ("docs/faults.md", r"^\| \| 150006 .*\n", "",
             "docs/faults.md: no row for 150006 below 'handle factory': add '| | 150006 | WITHOUT | |', with "
             "what it gives then, and run './test faults \"handle factory\"'"),
            ("tests/bench/instructions.txt", r"^150006 .*\n", "",
             "tests/bench/instructions.txt: differs from the catalogue in 150006: write it anew with "
             "'./bench instructions --record'"),
            ("tests/golden/bare.jsonl", "depth_of_discharge", "field_1",
             "proto/zstats_atoms.proto: the message of 150006 lacks fields that tests/golden/bare.jsonl has: "
             "add them in the order of the event"),
            ("atoms/BatteryAtoms.cpp", "__func__, 534", "__func__, 1395",
             "atoms: two warnings have the number 1395"),
        )
        self.assertEqual(self.run_tool("check-atoms")[0], 0)
        for path, pattern, text, problem in rows:
            before = self.change(path, pattern, text)
            status, _, errors = self.run_tool("check-atoms")
            first = errors.splitlines()[0].partition("; the next free one")[0]
            self.assertEqual((status, first), (1, f"check-atoms: {problem}"))
            (self.copy / path).write_text(before, encoding="utf-8")


class FreezeAidlTest(CopyTest):
    def test_freezes_what_has_grown_and_refuses_what_an_older_service_would_misunderstand(self):
        unchanged = (0, "freeze-aidl: every interface is as its last version froze it\n", "")
        self.assertEqual(self.run_tool("freeze-aidl"), unchanged)
        place = "the place of a method is its transaction code, so new ones go behind the last\n"
        api = self.copy / "aidl_api/zstats_pullerd.charger"
        last = max(int(path.name) for path in api.glob("[0-9]*"))
        rows = ((r"^    int getUIsohValue\(\);\n", "    int getOther();\n\\g<0>", "int getOther();",
                 "int getUIsohValue();"),
                (r"^    int getPsyBatteryCC\(\);\n", "", "int getPsyBatteryCurrentNow();",
                 "int getPsyBatteryCC();"))
        for pattern, text, now, frozen in rows:
            before = self.change(CHARGER, pattern, text)
            self.assertEqual(self.run_tool("freeze-aidl"), (
                1, "", f"freeze-aidl: {CHARGER}: '{now}' stands where version {last} has '{frozen}'; {place}"))
            (self.copy / CHARGER).write_text(before, encoding="utf-8")
        self.change(CHARGER, r"^\}", "    int getOther();\n}")
        self.assertEqual(self.run_tool("freeze-aidl")[0], 0)
        self.assertEqual(self.run_tool("freeze-aidl"), unchanged)
        blueprint = (self.copy / "Android.bp").read_text(encoding="utf-8")
        self.assertEqual(blueprint.count(f"charger-V{last + 1}-ndk"), 2)
        self.assertIn(f"<version>1-{last + 1}</version>",
                      (self.copy / "vintf/zstats_pullerd.xml").read_text(encoding="utf-8"))
        self.assertTrue((api / str(last + 1) / ".hash").exists())


if __name__ == "__main__":
    unittest.main()
