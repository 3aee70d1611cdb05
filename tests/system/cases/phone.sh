# profile: qcom
# checks: 30
# The programs of every device ask statsd as they do on a phone: by its shell commands and through
# "atomacq". What they print is what this device's own statsctl prints, which has a socket of statsd's.
# All run as root in the domain of a userdebug build's root shell, which the policy lets be served.

phone=/system_ext/bin/statsctl
said() { "$@" 2>&1; echo "status $?"; }
is recorder /system_ext/bin/zstats_record "$(command -v zstats_record)"
is help "$(statsctl --help | grep -vE 'statsctl (load|pushed) |^  --(threads|pause|wait) ')" "$($phone --help)"

# Once each node's series of contents is over, what counts from the pull before stands still.
for tag in 150027 150029 150027 150029 150027 150029; do pull $tag >/dev/null; done
is pull/json "$(pull)" "$($phone pull --json --fresh)"
is pull/text "$(statsctl pull --fresh)" "$($phone pull --fresh)"
is pull/settle "$(statsctl pull --json --settle)" "$($phone pull --json --settle)"
is pull/parallel "$(pull 150005 150006 150020)" "$($phone pull --json --parallel 150005 150006 150020)"
is registrations "$ATOMS" "$($phone registrations | awk '$1 ~ /^15/ && $3 > $4' | wc -l)"

# explained COMMAND ID: without the time and the threads of log lines, and what each statsd knows of
# registrations.
explained() {
    "$1" explain "$2" | sed -E 's/^  [0-9-]+ [0-9:.]+ +[0-9]+ +[0-9]+ +[0-9]+ /  /;s/^registered: yes.*/registered: yes/'
}
same_explanation() { is "explain/$1" "$(explained statsctl "$2")" "$(explained $phone "$2")"; }
same_explanation values 150005
same_explanation strings 150020
same_explanation never 150014
mv /profile/nodes/ufs_freq_time /tmp/ufs_freq_time
same_explanation no_key 150028
mv /tmp/ufs_freq_time /profile/nodes/ufs_freq_time
is explain/registered 'registered: yes, statsd counts N registrations and N removals' \
    "$($phone explain 150005 | sed -nE '/^registered/s/[0-9]+/N/gp')"

subscribed() { "$1" subscribe 150005 150030 150020 --count 12 --json | tail -n +2 | without_times; }
is subscribe "$(subscribed statsctl)" "$(subscribed $phone)"
# Each atom in a file of its own.
$phone subscribe 150005 150030 --count 4 --csv csv
is csv/status 0 $?
is csv/files '150005_battery_level.csv 150030_battery_temperature.csv' "$(cd csv && echo *)"
is csv/lines 'elapsed_ns,time,real_level,ui_level,difference,absolute_difference
80,82,-2,2' "$(sed -E 's/^[0-9]+,[-0-9]+T[0-9:.]+Z,//' csv/150005* | sort -ru)"
is csv/exists 'statsctl subscribe: csv/150005_battery_level.csv: File exists
status 1' "$(said $phone subscribe 150005 --count 1 --csv csv)"
fields() { "$1" watch 150005 150030 --for 4 | awk '{ print $2, $3, $4 }' | sort -u; }
is watch "$(fields statsctl)" "$(fields $phone)"
# A trace's names of tracks.
tracks() { "$1" trace --for 4 - 150005 150020 150027 | grep -aoE '[a-z_]{6,} [a-z_]+(, [a-z0-9_. ]+)?' | sort -u; }
is trace "$(tracks statsctl)" "$(tracks $phone)"

# What is absent, and who may ask.
failed() { said $phone pull --json "$1" | sed 's/.*"failed"/failed/'; }
is user 'statsctl: statsd serves root and the shell alone
status 1' "$(said asuid 1000 $phone pull 150005)"
is command "statsctl: unknown command 'pushed' (--help lists them)
status 2" "$(said $phone pushed)"
kill -STOP "$(daemon_pid)"
is hanging 'failed:"no answer in time"}
status 1' "$(failed 150006)"
kill -CONT "$(daemon_pid)"
stop zstats_pullerd
wait_for 10 state_is zstats_pullerd stopped
is dead 'failed:"the call failed"}
status 1' "$(failed 150006)"
is gone 'failed:"no puller registered"}
status 1' "$(failed 150006)"
is explain/gone 'registered: NO' "$($phone explain 150006 | grep ^registered)"
is no_daemon 'statsctl: the service atomacq is not there
status 1' "$(said $phone subscribe 150005)"
stop statsd
wait_for 10 state_is statsd stopped
for command in pull registrations 'explain 150005'; do
    is "no_statsd/$command" 'statsctl: statsd is not running
status 1' "$(said $phone $command)"
done
start statsd
wait_for 10 service_is_there stats
start zstats_pullerd
registers back
