"""Tests of docs/trace-queries with known tracks, in SQLite, with substitutes for PerfettoSQL's additions."""

import pathlib
import re
import sqlite3
import unittest

_QUERIES = pathlib.Path(__file__).resolve().parents[2] / "docs/trace-queries"
_SECOND = 1_000_000_000
_END = 120
_SPAN_JOIN = r"""
CREATE TABLE \1 AS SELECT *, max(a.ts, b.ts) AS from_ts,
    min(a.ts + a.dur, b.ts + b.dur) - max(a.ts, b.ts) AS span
FROM \2 AS a JOIN \3 AS b ON a.ts < b.ts + b.dur AND b.ts < a.ts + a.dur;
ALTER TABLE \1 RENAME COLUMN dur TO a_dur;
ALTER TABLE \1 RENAME COLUMN span TO dur;
"""
_TABLES = """
CREATE TABLE track(id INTEGER, name TEXT, parent_id INTEGER, source_arg_set_id INTEGER);
CREATE TABLE leading(id INTEGER, ts INTEGER, dur INTEGER, track_id INTEGER, value REAL);
CREATE TABLE slice(name TEXT, arg_set_id INTEGER);
"""

# Group, track, rank, and the value from each second.
_TRACKS = (
    ("150011 battery_current_now", "battery_current_now current", None, {0: 200, 20: 1000, 70: 500}),
    ("150010 battery_voltage_now", "battery_voltage_now voltage", None, {0: 4000, 60: 3500}),
    ("150029 gpu_freq_time_info", "gpu_freq_time_info time, 160000 kHz", 160000, {0: 1000, 60: 250}),
    ("150029 gpu_freq_time_info", "gpu_freq_time_info time, 220000 kHz", 220000, {0: 0, 60: 750}),
    ("150031 cpu_temperature", "cpu_temperature temperature, index 0", 0, {0: 60, 30: 61, 40: 55}),
    ("150031 cpu_temperature", "cpu_temperature temperature, index 7", 7, {0: 70}),
)
_SCREEN = ("150125 screen_state", "screen_state panel0_on", None, {0: 0, 20: 1, 110: 0})
_THERMAL = ("150126 thermal_status", "thermal_status status", None, {0: 0, 70: 2})


def _trace(tracks, events):
    """A database with these tracks, and these first events of atoms as (name, arguments)."""
    database = sqlite3.connect(":memory:")
    arguments = {}

    def add_arguments(values):
        arguments[len(arguments) + 1] = values
        return len(arguments)

    database.create_function("extract_arg", 2, lambda of, key: arguments[of].get(key))
    database.create_function("trace_start", 0, lambda: 0)
    database.create_function("trace_dur", 0, lambda: _END * _SECOND)
    database.executescript(_TABLES)
    for number, (group, name, rank, values) in enumerate(tracks):
        ident, times = 2 * number, [*values, _END]
        about = add_arguments({} if rank is None else {"sibling_order_rank": rank})
        database.executemany("INSERT INTO track VALUES(?, ?, ?, ?)",
                             [(ident, group, None, None), (ident + 1, name, ident, about)])
        database.executemany("INSERT INTO leading VALUES(0, ?, ?, ?, ?)", [
            (begin * _SECOND, (end - begin) * _SECOND, ident + 1, values[begin])
            for begin, end in zip(times, times[1:])])
    for name, values in events:
        database.execute("INSERT INTO slice VALUES(?, ?)", (name, add_arguments(values)))
    return database


def _answer(query, tracks, events=()):
    text = (_QUERIES / query).read_text(encoding="utf-8")
    text = text.replace("INCLUDE PERFETTO MODULE counters.intervals;", "")
    text = text.replace("counter_leading_intervals!(counter)", "leading")
    text = text.replace("CREATE PERFETTO TABLE", "CREATE TABLE")
    text = re.sub(r"CREATE VIRTUAL TABLE (\w+) USING SPAN_JOIN\((\w+), (\w+)\);", _SPAN_JOIN, text)
    before, last = text.rstrip().rstrip(";").rsplit(";", 1)
    database = _trace(tracks, events)
    database.executescript(before + ";")
    return [tuple(round(each, 4) if isinstance(each, float) else each for each in row)
            for row in database.execute(last)]


class TraceQueries(unittest.TestCase):
    def test_answers(self):
        first = (("screen_state", {"debug.panel0_on": 1}), ("thermal_status", {"debug.status": 0}))
        mean = round((20 * 200 + 50 * 1000 + 50 * 500) / 120, 4)
        for query, tracks, events, expected in (
                ("current_by_screen.sql", (*_TRACKS, _SCREEN), first,
                 [(0, 30, 300), (1, 90, round((50 * 1000 + 40 * 500) / 90, 4))]),
                ("current_by_screen.sql", _TRACKS, first, [(1, 120, mean)]),
                ("current_by_thermal_status.sql", (*_TRACKS, _THERMAL), first,
                 [(0, 70, round((20 * 200 + 50 * 1000) / 70, 4)), (2, 50, 500)]),
                ("current_by_thermal_status.sql", _TRACKS, first, [(0, 120, mean)]),
                ("energy.sql", _TRACKS, (),
                 [(20 * .2 * 4 + 40 * 4 + 10 * 3.5 + 50 * .5 * 3.5, round(mean / 30, 4))]),
                ("gpu_share_by_frequency.sql", _TRACKS, (), [(160000, .625), (220000, .375)]),
                ("time_above_temperature.sql", _TRACKS, (),
                 [("cpu_temperature temperature, index 0", 10, 61),
                  ("cpu_temperature temperature, index 7", 120, 70)])):
            with self.subTest(query=query, tracks=len(tracks)):
                self.assertEqual(_answer(query, tracks, events), expected)


if __name__ == "__main__":
    unittest.main()
