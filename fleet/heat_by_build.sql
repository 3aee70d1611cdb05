-- The hottest CPU temperature, in degrees Celsius, by build and CPU load. Builds are compared at
-- equal load: the share of the time between two pulls of 150121 in which the CPUs were not idle.
WITH idle AS (
    SELECT e.recording, cpu.value AS cpu, e.elapsed_ns AS ns, time.value AS idle_ms,
           LAG(e.elapsed_ns) OVER cpu AS ns_before, LAG(time.value) OVER cpu AS idle_ms_before,
           ROW_NUMBER() OVER cpu AS pull
    FROM event e
    JOIN field cpu ON cpu.event = e.id AND cpu.name = 'cpu'
    JOIN field time ON time.event = e.id AND time.name = 'idle_time'
    WHERE e.atom = 150121
    WINDOW cpu AS (PARTITION BY e.recording, cpu.value ORDER BY e.elapsed_ns)
),
load AS (
    SELECT recording, pull, min(ns_before) AS ns_before, max(ns) AS ns,
           100 * (1 - avg(1e6 * (idle_ms - idle_ms_before) / (ns - ns_before))) AS percent
    FROM idle WHERE ns_before IS NOT NULL GROUP BY recording, pull
),
heat AS (
    SELECT e.recording, e.elapsed_ns AS ns, degrees.value AS degrees
    FROM event e JOIN field degrees ON degrees.event = e.id AND degrees.name = 'temperature'
    WHERE e.atom = 150031
),
hottest AS (
    SELECT load.recording, load.percent, max(heat.degrees) AS degrees
    FROM load JOIN heat ON heat.recording = load.recording
                       AND heat.ns > load.ns_before AND heat.ns <= load.ns
    GROUP BY load.recording, load.pull
)
SELECT r.fingerprint, 20 * CAST(min(max(percent, 0), 99.9) / 20 AS INTEGER) AS load_percent,
       count(*) AS pulls, round(avg(degrees), 1) AS degrees
FROM hottest JOIN recording r ON r.id = hottest.recording
GROUP BY 1, 2 ORDER BY 2, 1;
