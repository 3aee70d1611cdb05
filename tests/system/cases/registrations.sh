# profile: qcom
# What the daemon asked statsd for: which atoms, in which order, on which terms.

restart_daemon
list() { statsctl registrations | tail -n +2; }
all_registered() { [ "$(list | grep -vc 'has died')" = 39 ]; }
wait_for 10 all_registered
order='150005 150006 150007 150008 150009 150010 150011 150013 150014 150018 150015 150112 150022'
order="$order 150023 150024 150025 150026 150029 150027 150028 150113 150030 150031 150020 150121"
order="$order 150123 150124 150125 150126 150127 150128 150129 150131 150133 150135 150136 150138"
order="$order 150141 150167"
is order "$order" "$(list | awk '{ print $2 }' | xargs)"
is terms '0 1000 ms 2000 ms none' "$(list | awk '{ print $4, $5, $6, $7, $8, $9 }' | sort -u)"
has statistics '39 pullers' "$(cmd stats print-stats)"
has source 'Pull from 150005: received 1 events' "$(sleep 1.1; cmd stats pull-source 150005)"
has cache '(from the cache)' "$(cmd stats pull-source 150005)"

# A pull within the cool-down shows the answer of the one before.
before=$(pull 150006)
cp /profile/nodes/battery_dod /tmp/battery_dod
echo 999 >/profile/nodes/battery_dod
is cool-down/same "$before" "$(statsctl pull --json 150006)"
has cool-down/over '"fields":[999]' "$(pull 150006)"
cp /tmp/battery_dod /profile/nodes/battery_dod

# A daemon that hangs is waited for, no longer than it asked; its late answer is dropped.
kill -STOP "$(daemon_pid)"
has hanging/failed '"failed":"no answer within 2000 ms"' "$(pull 150006)"
is hanging/status 1 "$(statsctl pull --json 150006 >/dev/null; echo $?)"
kill -CONT "$(daemon_pid)"
wait_for 5 sh -c 'logcat -d | grep -q "late answer to a pull of 150006 dropped"' &&
    ok hanging/late || not_ok hanging/late 'no line'
has hanging/over '"fields"' "$(pull 150006)"

# One that died is noticed by the next pull, and gone from the list.
stop zstats_pullerd
wait_for 10 sh -c '! pidof zstats_pullerd'
has dead/failed '"failed":"the puller' "$(pull 150006)"
has dead/forgotten '"failed":"no puller registered"' "$(pull 150006)"
is dead/others 38 "$(list | wc -l)"
start zstats_pullerd
wait_for 10 all_registered && ok dead/back || not_ok dead/back "$(list | wc -l) registrations"

is usage/unknown-option 2 "$(statsctl pull --xml 2>/dev/null; echo $?)"
is usage/no-tag "statsctl pull: not an atom id: 'level'" "$(statsctl pull level 2>&1)"
has unknown-tag '"name":"unknown","failed":"no puller registered"' "$(statsctl pull --json 150999)"
