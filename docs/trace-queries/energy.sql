-- Energy and charge that the battery has given.
INCLUDE PERFETTO MODULE counters.intervals;

-- Each value of each track, for as long as it holds.
CREATE PERFETTO TABLE iv AS
SELECT i.ts, i.dur, i.value, t.name, g.name AS grp, t.source_arg_set_id AS about
FROM counter_leading_intervals!(counter) AS i
JOIN track AS t ON t.id = i.track_id
JOIN track AS g ON g.id = t.parent_id
WHERE i.dur > 0;

CREATE PERFETTO TABLE cur AS
SELECT ts, dur, value AS ma FROM iv WHERE name = 'battery_current_now current';

CREATE PERFETTO TABLE volt AS
SELECT ts, dur, value AS mv FROM iv WHERE name = 'battery_voltage_now voltage';

CREATE VIRTUAL TABLE power USING SPAN_JOIN(cur, volt);

SELECT sum(ma * mv / 1e6 * dur / 1e9) AS joules, sum(ma * dur / 1e9) / 3600 AS mah
FROM power;
