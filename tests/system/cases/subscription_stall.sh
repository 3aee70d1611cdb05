# profile: qcom
# checks: 26
# A reader that stops reading stops every subscription and all pushed atoms until it ends, and with nine later
# subscribers every call to statsd. With O_NONBLOCK it only stops its own stream.

statsd_writes() { [ "$(threads_in write "$(pidof statsd)")" -gt 0 ]; }
runs() { log_count "AtomsAcquire cmdMain $1!!!"; }
runs_catch_up() { [ "$(runs in)" -eq "$(runs "done")" ]; }
running() { cmd stats print-stats | sed -n '1s/.*, \(.*\) subscriptions/\1/p'; }
running_is() { [ "$(running)" = "$1" ]; }
lines() { grep -c '"atom":150005,' stream; }

wait_for 20 running_is 0
statsctl subscribe 150005 100207 --json >stream 2>stream.err &
stream=$!
wait_for 20 grep -q 150005 stream && ok before || not_ok before "nothing came"
# All atoms, many times, into a pipe of 4 KiB that is not read.
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

# Pushed atoms are accepted, but wait behind the blocked stream.
pushes() { statsctl pushed --json | grep -c '"fields":\[77,'; }
pushes_are() { [ "$(pushes)" -eq "$1" ]; }
for i in $(seq 20); do kestrel --type 77 --pe "$i" --lnr 2 --bnr 3 --info x; done
wait_for 20 pushes_are 1
sleep 1
is pushed/one_on_its_way 1 "$(pushes)"

# The pool has nine threads. Each later subscriber blocks one; the tools need none.
idle_are() { [ "$(threads_in ioctl "$(pidof statsd)")" -eq "$1" ]; }
later() { statsctl subscribe 150005 --for 100 >/dev/null 2>&1 & callers="$callers $!"; }
callers=
for _ in 2 3 4 5 6 7 8; do later; done
wait_for 20 idle_are 1 && ok eight/one_thread_left || not_ok eight/one_thread_left "$(threads_in ioctl "$(pidof statsd)")"
has eight/answered "$ATOMS pullers" "$(cmd stats print-stats)"
later
wait_for 20 idle_are 0 && ok nine/no_thread_left || not_ok nine/no_thread_left "$(threads_in ioctl "$(pidof statsd)")"
cmd stats print-stats >unanswered 2>&1 &
waiting=$!
has nine/no_pull_is_answered 'no answer within 2000 ms' "$(pull 150006)"
is nine/waits '' "$(cat unanswered)"
is nine/tools_are_answered "$ATOMS" "$(statsctl registrations | tail -n +2 | wc -l)"

kill $stalled
wait $stalled 2>/dev/null
wait $waiting
has nine/answered_in_the_end "$ATOMS pullers" "$(cat unanswered)"
kill $callers
wait $callers 2>/dev/null
wait_for 20 pushes_are 20 && ok pushed/all || not_ok pushed/all "$(pushes)"
wait_for 20 runs_catch_up && ok late/started || not_ok late/started "$(runs in) $(runs "done")"
more() { [ "$(lines)" -gt "$count" ]; }
wait_for 20 more && ok other/goes_on || not_ok other/goes_on "$(lines) lines"

# A caller that does not complete the configuration has the same effect.
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
is pushed/arrive_in_order "$(seq 20 | xargs)" \
    "$(sed -n 's/.*"atom":100207,.*"fields":\[77,\([0-9]*\),.*/\1/p' stream | xargs)"

# A tool's pipe has O_NONBLOCK, so statsd does not wait for a stopped tool.
# shellcheck disable=SC2046,SC2086  # lists of words
statsctl subscribe $(for _ in $(seq 25); do echo $tags; done) --json >/dev/null 2>paused.err &
paused=$!
wait_for 20 running_is 2 && ok paused/runs || not_ok paused/runs "$(running) run"
kill -STOP $paused
wait_for 90 running_is 1 && ok paused/ends || not_ok paused/ends "$(running) run"
count=$(lines)
wait_for 20 more && ok paused/others_go_on || not_ok paused/others_go_on "$(lines) lines"
kill -CONT $paused
wait $paused
is paused/knows "1 statsctl: the stream has ended" "$? $(cat paused.err)"
kill $stream
wait $stream 2>/dev/null
wait_for 20 running_is 0 && ok all_end || not_ok all_end "$(running) run"
