-- Mean current of the battery with the screen on and off.
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
CREATE PERFETTO TABLE scr AS
SELECT ts, dur, value AS screen_on FROM iv WHERE name = 'screen_state panel0_on'
UNION ALL
SELECT * FROM (
    SELECT trace_start(), trace_dur(), extract_arg(arg_set_id, 'debug.panel0_on') * 1.0
    FROM slice
    WHERE name = 'screen_state'
        AND NOT EXISTS (SELECT 1 FROM iv WHERE name = 'screen_state panel0_on')
    LIMIT 1
);

CREATE VIRTUAL TABLE cur_scr USING SPAN_JOIN(cur, scr);

SELECT screen_on, sum(dur) / 1e9 AS seconds, sum(ma * dur) / sum(dur) AS mean_ma
FROM cur_scr GROUP BY screen_on ORDER BY screen_on;
