# profile: qcom
# checks: 28
# The registrations of the daemon: atoms, order and terms.

restart_daemon
list() { statsctl registrations | tail -n +2; }
is order "$ATOM_ORDER" "$(list | awk '{ print $2 }' | xargs)"
is terms '0 1000 ms 2000 ms none' "$(list | awk '{ print $4, $5, $6, $7, $8, $9 }' | sort -u)"
has statistics "$ATOMS pullers" "$(cmd stats print-stats)"
# statsd's command takes names, and writes the reason for a failure only to the log.
pull_source() { cmd stats pull-source "$@" 2>/dev/null | sed -E 's/ uid\(-1\) [0-9]+ [0-9]+ / /'; }
is source/named 'Pull from 150005: { (150005)0x10000->80[I] 0x20000->82[I] 0x30000->-2[I] 0x40000->2[I]  }
Pull from 150005: Received 1 elements' "$(pull_source 150005 AID_ROOT)"
failure='cmd: Failure calling service stats: Unknown error -2147483648 (-2147483648)'
for words in 150005 '150005 AID_SYSTEM' '150005 0' '150005 1000' '150005 AID_UNKNOWN' \
    '150005 com.android.shell' x '150999 AID_ROOT'; do
    unknown="StatsPullerManager: Unknown tagId $(echo "$words" | sed 's/^x$/0/;s/ .*//')"
    before=$(log_count "$unknown")
    is "source/nothing/$words" "$failure" "$(pull_source $words)"
    is "source/logged/$words" $((before + 1)) "$(log_count "$unknown")"
done
has source/help 'pull-source TAG [NAME]' "$(pull_source)"

# statsd waits for a hanging daemon until the time-out; it drops the late answer.
kill -STOP "$(daemon_pid)"
out=$(pull 150006)
is hanging/failed '1 {"atom":150006,"name":"battery_dod","failed":"no answer within 2000 ms"}' "$? $out"
kill -CONT "$(daemon_pid)"
wait_for 5 sh -c 'logcat -d | grep -q "late answer to a pull of 150006 dropped"' &&
    ok hanging/late || not_ok hanging/late 'no line'
has hanging/over '"fields"' "$(pull 150006)"

# The next pull notices a dead daemon and removes its registration.
stop zstats_pullerd
wait_for 10 state_is zstats_pullerd stopped
has dead/failed '"failed":"the puller' "$(pull 150006)"
has dead/forgotten '"failed":"no puller registered"' "$(pull 150006)"
is dead/others $((ATOMS - 1)) "$(list | wc -l)"
start zstats_pullerd
registers dead/back

