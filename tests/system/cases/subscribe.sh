# profile: qcom
# checks: 38
# Streams of atoms through "atomacq", their permitted callers, and the command client.
lines() { grep -c "\"atom\":$1," "$2"; }
has_line() { [ "$(lines "$1" "$2")" -ge "${3:-1}" ]; }

# Pulled atoms come about once a second, each from a separate run of the handler; a pushed one when it is
# written.
runs() { log_count 'find matching handler for atomTag = 150030'; }
dumpsys zstats_pullerd --loglevel 2 >/dev/null
before=$(runs)
statsctl subscribe 150005 150030 100207 --json >stream 2>stream.err &
stream=$!
wait_for 20 has_line 150030 stream && ok first_pull || not_ok first_pull "nothing came"
is no_push_yet 0 "$(lines 100207 stream)"
kestrel --type 7 --pe 1 --lnr 2 --bnr 3 --info x
wait_for 20 has_line 100207 stream && ok push || not_ok push "nothing came"
wait_for 20 has_line 150030 stream 5 && ok goes_on || not_ok goes_on "$(lines 150030 stream) pulls"
kill $stream
wait $stream 2>/dev/null
is stream_errors "" "$(cat stream.err)"
dumpsys zstats_pullerd --loglevel 1 >/dev/null
count=$(lines 150030 stream)
# The atoms of the last runs may be unread.
[ $(($(runs) - before)) -ge "$count" ] && ok each_atom_is_fresh || not_ok each_atom_is_fresh "$count atoms of $(($(runs) - before)) runs"
is one_push 1 "$(lines 100207 stream)"
for tag in 150005 150030; do
    is same_as_pulled_$tag "$(pull $tag)" "$(grep "\"atom\":$tag," stream | head -n 1 | without_times)"
done
is only_what_was_asked 0 "$(grep -vcE '"atom":(150005|150030|100207),|^\{"recording"' stream)"

# Ids outside of all ranges are ignored; an empty list is accepted.
for ids in '2 750 20000 99999' ''; do
    statsctl subscribe --any $ids --for 1 --json >out 2>err
    is "ids_without_source/$ids" "0 " "$? $(cat out err)"
done

# Only root and system are served; statsd is refused.
for uid in 0 1000; do
    statsctl subscribe 150005 --uid $uid --count 1 --json >out 2>err
    is accepts_$uid "0 1 " "$? $(lines 150005 out) $(cat err)"
done
refusals() { logcat -d | grep -c ' E zstats_pullerd: AtomsAcquireService checkCallingPermission filded!$'; }
refused=$(refusals)
for uid in 1 1001 1066 2000 9999; do
    before=$(ls "/proc/$(daemon_pid)/fd" | wc -l)
    statsctl subscribe 150005 --uid $uid --for 2 --json >out 2>err
    is refuses_$uid "1 statsctl: refused: service-specific error -1" "$? $(cat out err)"
    is nothing_left_by_$uid "$before" "$(ls "/proc/$(daemon_pid)/fd" | wc -l)"
done
is refusals_are_logged $((refused + 5)) "$(refusals)"

# cmd.
list=$(cmd -l)
is list_head "Currently running services:" "$(echo "$list" | head -n 1)"
for service in atomacq stats zstats_pullerd; do has list_$service "  $service" "$list"; done
is list_is_sorted "$(echo "$list" | tail -n +2 | LC_ALL=C sort)" "$(echo "$list" | tail -n +2)"
has print_stats "$ATOMS pullers" "$(cmd stats print-stats)"
has waits_for_service "$ATOMS pullers" "$(cmd -w stats print-stats)"
has pull_source "Pull from 150005: Received 1 elements" "$(cmd stats pull-source 150005 AID_ROOT)"

# The client's messages, each on its output and, except for a missing name, in the log.
cmd nobody x >out 2>err
is no_such_service "20 / cmd: Can't find service: nobody" "$? $(cat out)/ $(cat err)"
is no_such_service/logged "W Can't find service nobody" "$(last_line cmd)"
cmd >out 2>err
is no_service "20 / cmd: No service specified; use -l to list all running services. Use -w to start and wait for a service." \
    "$? $(cat out)/ $(cat err)"
asuid 1000 cmd stats print-stats >out 2>err
is refused_by_statsd "255 cmd: Failure calling service stats: Operation not permitted (1)/" \
    "$? $(cat out)/$(cat err)"
is refused_by_statsd/logged "W Failure calling service stats: Operation not permitted (1)" "$(last_line cmd)"
