# profile: qcom
# A reader who stops reading stops every subscription, new ones too, and no pull, until it goes away.

statsd_writes() { [ "$(threads_in write "$(pidof statsd)")" -gt 0 ]; }
runs() { log_count "AtomsAcquire cmdMain $1!!!"; }
runs_catch_up() { [ "$(runs in)" -eq "$(runs "done")" ]; }
running() { cmd stats print-stats | sed -n '1s/.*, \(.*\) subscriptions/\1/p'; }
running_is() { [ "$(running)" = "$1" ]; }
lines() { grep -c '"atom":150005,' stream; }

wait_for 20 running_is 0
statsctl subscribe 150005 --json >stream 2>stream.err &
stream=$!
wait_for 20 grep -q 150005 stream && ok before || not_ok before "nothing came"
# All atoms, many times over, into a pipe of 4 KiB that nobody reads.
tags=$(statsctl registrations | awk 'NR > 1 { print $2 }')
statsctl subscribe $tags $tags $tags $tags $tags --stall &
stalled=$!
stuck() { statsd_writes && sleep 0.5 && statsd_writes && sleep 0.5 && statsd_writes; }
wait_for 60 stuck && ok statsd_waits || not_ok statsd_waits "it is not writing"

count=$(lines)
statsctl subscribe 150005 --for 2 --json >late 2>late.err
is late/accepted_and_empty "0 " "$? $(cat late late.err)"
is late/stays_in_the_daemon $(($(runs "done") + 1)) "$(runs in)"
is other/stops "$count" "$(lines)"
has pull/answered '"fields"' "$(statsctl pull --json --fresh 150006)"

kill $stalled
wait $stalled 2>/dev/null
wait_for 20 runs_catch_up && ok late/started || not_ok late/started "$(runs in) $(runs "done")"
more() { [ "$(lines)" -gt "$count" ]; }
wait_for 20 more && ok other/goes_on || not_ok other/goes_on "$(lines) lines"

# So does a caller who does not finish the configuration.
statsd_reads() { [ "$(threads_in read "$(pidof statsd)")" -gt 0 ]; }
mkfifo rest
{ printf '\005\0\0'; cat rest; } | cmd stats data-subscribe &
exec 3>rest
hangs() { statsd_reads && sleep 0.5 && statsd_reads; }
wait_for 20 hangs && ok unfinished/statsd_waits || not_ok unfinished/statsd_waits "it is not reading"
count=$(lines)
sleep 2
is unfinished/stops "$count" "$(lines)"
exec 3>&-
wait_for 20 more && ok unfinished/goes_on || not_ok unfinished/goes_on "$(lines) lines"
kill $stream
wait $stream 2>/dev/null
wait_for 20 running_is 0 && ok all_end || not_ok all_end "$(running) run"
