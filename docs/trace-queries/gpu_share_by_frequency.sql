-- Share of the time that the GPU spends at each frequency. One without a track spends none.
INCLUDE PERFETTO MODULE counters.intervals;

-- Each value of each track, for as long as it holds.
CREATE PERFETTO TABLE iv AS
SELECT i.ts, i.dur, i.value, t.name, g.name AS grp, t.source_arg_set_id AS about
FROM counter_leading_intervals!(counter) AS i
JOIN track AS t ON t.id = i.track_id
JOIN track AS g ON g.id = t.parent_id
WHERE i.dur > 0;

SELECT
    extract_arg(about, 'sibling_order_rank') AS khz,
    sum(value * dur) / sum(sum(value * dur)) OVER () AS share
FROM iv WHERE grp = '150029 gpu_freq_time_info' GROUP BY khz ORDER BY khz;
