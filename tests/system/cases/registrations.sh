# profile: qcom
# What the daemon asked statsd for: which atoms, in which order, on which terms.

restart_daemon
list() { statsctl registrations | tail -n +2; }
is order "$ATOM_ORDER" "$(list | awk '{ print $2 }' | xargs)"
is terms '0 1000 ms 2000 ms none' "$(list | awk '{ print $4, $5, $6, $7, $8, $9 }' | sort -u)"
has statistics "$ATOMS pullers" "$(cmd stats print-stats)"
missing='Pull from 150005 failed: no puller registered'
usage="pull-source wants an atom tag, and a uid or AID name if it is not system's"
for user in AID_ROOT 0; do
    has source/$user 'Pull from 150005: received 1 events' "$(cmd stats pull-source 150005 $user)"
done
for user in '' AID_SYSTEM 1000; do
    is "source/$user" "$missing" "$(cmd stats pull-source 150005 $user | head -n 1)"
done
for words in '' x '150005 AID_UNKNOWN' '150005 0 0'; do
    is "source/usage/$words" "$usage" "$(cmd stats pull-source $words 2>&1 >/dev/null | head -n 1)"
done

# A daemon that hangs is waited for, no longer than it asked; its late answer is dropped.
kill -STOP "$(daemon_pid)"
out=$(pull 150006)
is hanging/failed '1 {"atom":150006,"name":"battery_dod","failed":"no answer within 2000 ms"}' "$? $out"
kill -CONT "$(daemon_pid)"
wait_for 5 sh -c 'logcat -d | grep -q "late answer to a pull of 150006 dropped"' &&
    ok hanging/late || not_ok hanging/late 'no line'
has hanging/over '"fields"' "$(pull 150006)"

# One that died is noticed by the next pull, and gone from the list.
stop zstats_pullerd
wait_for 10 state_is zstats_pullerd stopped
has dead/failed '"failed":"the puller' "$(pull 150006)"
has dead/forgotten '"failed":"no puller registered"' "$(pull 150006)"
is dead/others $((ATOMS - 1)) "$(list | wc -l)"
start zstats_pullerd
wait_for 20 all_registered && ok dead/back || not_ok dead/back "$(list | wc -l) registrations"

