# profile: qcom
# Streams of atoms through "atomacq", who gets them, and the command client that carries them.
lines() { grep -c "\"atom\":$1," "$2"; }
has_line() { [ "$(lines "$1" "$2")" -ge "${3:-1}" ]; }

# Pulled atoms come each second, a pushed one the moment it is written.
statsctl subscribe 150005 150030 100207 --for 5 --json >stream 2>stream.err &
stream=$!
wait_for 5 has_line 150005 stream && ok first_pull || not_ok first_pull "nothing came in 5 s"
is no_push_yet 0 "$(lines 100207 stream)"
kestrel --type 7 --pe 1 --lnr 2 --bnr 3 --info x
wait_for 1 has_line 100207 stream && ok push_at_once || not_ok push_at_once "nothing came in 1 s"
wait $stream
is stream_status 0 $?
is stream_errors "" "$(cat stream.err)"
is one_push 1 "$(lines 100207 stream)"
for tag in 150005 150030; do
    count=$(lines $tag stream)
    if [ "$count" -ge 3 ] && [ "$count" -le 5 ]; then ok pulls_of_$tag; else
        not_ok pulls_of_$tag "$count in 5 s"
    fi
    is same_as_pulled_$tag "$(pull $tag)" "$(grep "\"atom\":$tag," stream | head -n 1)"
done
is only_what_was_asked 0 "$(grep -vcE '"atom":(150005|150030|100207),' stream)"

# Ids that belong to no range are left out without a word; so is everything of an empty list.
statsctl subscribe 2 750 20000 99999 --for 2 --json >out 2>err
is ids_without_source "0 " "$? $(cat out err)"
statsctl subscribe --for 2 --json >out 2>err
is no_ids "0 " "$? $(cat out err)"

# Root and system are served, nobody else; statsd itself is nobody else.
for uid in 0 1000; do
    statsctl subscribe 150005 --uid $uid --for 2 --json >out 2>err
    is accepts_$uid 0 $?
    has_line 150005 out && ok streams_to_$uid || not_ok streams_to_$uid "$(cat err)"
done
for uid in 1 1001 1066 2000 9999; do
    before=$(ls "/proc/$(daemon_pid)/fd" | wc -l)
    statsctl subscribe 150005 --uid $uid --for 2 --json >out 2>err
    is refuses_$uid "1 statsctl: refused: service-specific error -1" "$? $(cat out err)"
    is nothing_left_by_$uid "$before" "$(ls "/proc/$(daemon_pid)/fd" | wc -l)"
done
asuid 2000 statsctl subscribe 150005 --for 2 >out 2>err
is refuses_asuid_2000 "1 statsctl: refused: service-specific error -1" "$? $(cat out err)"
has refusal_is_logged "calling from invalid uid:2000" "$(daemon_log)"

# cmd.
list=$(cmd -l)
is list_head "Currently running services:" "$(echo "$list" | head -n 1)"
for service in atomacq stats zstats_pullerd; do has list_$service "  $service" "$list"; done
is list_is_sorted "$(echo "$list" | tail -n +2 | LC_ALL=C sort)" "$(echo "$list" | tail -n +2)"
has print_stats "39 pullers" "$(cmd stats print-stats)"
has waits_for_service "39 pullers" "$(cmd -w stats print-stats)"
sleep 1.1
has pull_source "Pull from 150005: received 1 events" "$(cmd stats pull-source 150005)"
cmd nobody x >out 2>err
is no_such_service "20 cmd: Can't find service: nobody" "$? $(cat out err)"
cmd 2>err
is no_service_status 20 $?
has no_service "cmd: No service specified; use -l to list all running services." "$(cat err)"
out=$(asuid 1000 cmd stats print-stats)
is refused_by_statsd "255 cmd: Failure calling service stats: Operation not permitted (1)" "$? $out"
has refusal_in_log "Failure calling service stats: Operation not permitted (1)" "$(daemon_log cmd)"
