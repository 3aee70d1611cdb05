# profile: qcom
# checks: 18
# `statsctl explain`: why an atom is empty.

text=$(statsctl explain 150005)
has full/registered 'registered: yes, by uid 0, cool-down 1000 ms, time-out 2000 ms' "$text"
has full/service 'handlefactory.IHandleFactory/default: there' "$text"
has full/key 'battery_ui_level: "82\n"' "$text"
has full/pull 'real_level 80 %, ui_level 82 %' "$text"
has full/log 'handler for realLevel = 80, uiLevel = 82' "$text"

mv /profile/nodes/ufs_freq_time /tmp/ufs_freq_time
text=$(statsctl explain 150028)
has missing-key/source 'ufs_freq_time: NOT READABLE' "$text"
has missing-key/pull 'no event' "$text"
has missing-key/log 'Ufs get Node file is fail' "$text"
: >/profile/nodes/ufs_freq_time
has empty-key 'ufs_freq_time: EMPTY' "$(statsctl explain 150028)"
mv /tmp/ufs_freq_time /profile/nodes/ufs_freq_time

stop calda
wait_for 10 sh -c '! pidof calda'
text=$(statsctl explain 150126)
has no-service/source 'calda: NOT THERE' "$text"
has no-service/log 'connect calda failed in getThermalStatus' "$text"
start calda
wait_for 10 service_is_there calda
has service/words 'code 21: "4 4 41000 38000 37500 36900"' "$(statsctl explain 150128)"

text=$(statsctl explain 150014)
has never/said 'never has an event' "$text"
has never/nothing-read 'reads: nothing' "$text"
has files/pattern '/cpuidle/state0/time: "' "$(statsctl explain 150121)"
has property 'ro.hardware: "qcom"' "$(statsctl explain 150027)"

# Without the daemon: statsd drops a registration at the first pull that fails.
stop zstats_pullerd
wait_for 10 state_is zstats_pullerd stopped
statsctl explain 150014 >/dev/null
is unregistered '1 registered: NO' "$(statsctl explain 150014 >out; echo $?) $(grep ^registered out)"
start zstats_pullerd
registers back
