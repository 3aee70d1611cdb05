-- Time of each CPU above 60 °C.
INCLUDE PERFETTO MODULE counters.intervals;

-- Each value of each track, for as long as it holds.
CREATE PERFETTO TABLE iv AS
SELECT i.ts, i.dur, i.value, t.name, g.name AS grp, t.source_arg_set_id AS about
FROM counter_leading_intervals!(counter) AS i
JOIN track AS t ON t.id = i.track_id
JOIN track AS g ON g.id = t.parent_id
WHERE i.dur > 0;

SELECT name, sum(iif(value > 60, dur, 0)) / 1e9 AS seconds, max(value) AS highest
FROM iv WHERE grp = '150031 cpu_temperature' GROUP BY name ORDER BY name;
