# Draws series of a device, one below the other, from what `statsctl watch` prints. Needs Debian's
# gnuplot-nox; trace.md has the calls.
series = "'screen_panel_backlight panel0_level' 'battery_current_now current' \
    'battery_level real_level' 'battery_temperature milli_degrees' \
    'shell_temperature temperature_1' 'gpu_freq_time_info time, 401000 kHz' \
    'thermal_status status' 'active_wake_up_source active_time, wlan_rx'"
rows = words(series)
# Lines of a series: "SECONDS  NAME  VALUE UNIT". A value holds until the next, the last until the end.
lines(name) = "awk -F '  ' '$2 == \"".name."\" "
values(name) = "< ".lines(name)."{ print $1, v = $3 + 0 } $1 + 0 { t = $1 } END { print t, v }' ".from
unit(name) = system(lines(name)."{ sub(/^[^ ]*/, \"\", $3); print $3; exit }' ".from)

set terminal svg size 900, 80 * rows + 40
set multiplot layout rows, 1 margins 0.09, 0.97, 0.05, 0.97 spacing 0, 0.04
times = system("awk '$1 + 0 { if (!first) first = $1; last = $1 } END { print first, last }' ".from)
set xrange [word(times, 1) + 0 : word(times, 2) + 0]
set xtics format ""
do for [i = 1:rows] {
    name = word(series, i)
    if (i == rows) { set xtics format "%.0f s" }
    set yrange [*:*]
    stats values(name) using 2 nooutput
    low = STATS_min
    high = STATS_max > low ? STATS_max : low + 1
    set yrange [low : high]
    set ytics (low, high)
    set label 1 name.(strlen(unit(name)) ? ",".unit(name) : "") at graph 0, 1.2 noenhanced
    plot values(name) using 1:2 with steps linewidth 2 notitle
}
