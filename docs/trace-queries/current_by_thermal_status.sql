-- Mean current of the battery by thermal status.
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

-- A state that never changes has no track, but its value is in the atom's first event.
CREATE PERFETTO TABLE thermal AS
SELECT ts, dur, value AS status FROM iv WHERE name = 'thermal_status status'
UNION ALL
SELECT * FROM (
    SELECT trace_start(), trace_dur(), extract_arg(arg_set_id, 'debug.status') * 1.0
    FROM slice
    WHERE name = 'thermal_status'
        AND NOT EXISTS (SELECT 1 FROM iv WHERE name = 'thermal_status status')
    LIMIT 1
);

CREATE VIRTUAL TABLE cur_thermal USING SPAN_JOIN(cur, thermal);

SELECT status, sum(dur) / 1e9 AS seconds, sum(ma * dur) / sum(dur) AS mean_ma
FROM cur_thermal GROUP BY status ORDER BY status;
