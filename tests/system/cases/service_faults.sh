# profile: qcom
# checks: 39
# Services that die, return, answer wrongly or refuse.

restart_daemon
thermal_tags='150126 150127 150128 150129'
before=$(pull $thermal_tags)
has calda/status '"fields":[1]' "$before"
has calda/ambient '"fields":[24000]' "$before"
has calda/board '"fields":[41000]' "$before"
has calda/shell '"fields":[38000,37500,36900]' "$before"

# The service dies and stays away; the death notice arrives, and the atoms have no event.
died=$(log_count 'ThermalReader calda binderDied!')
stop calda
wait_for 10 log_has_more 'ThermalReader calda binderDied!' "$died" &&
    ok calda/death-logged || not_ok calda/death-logged 'no line'
is calda/absent 4 "$(pull $thermal_tags | grep -c '"events":0')"
has calda/absent-logged 'ThermalReader connect calda failed in getThermalStatus' "$(daemon_log)"
start calda
wait_for 10 service_is_there calda
is calda/back "$before" "$(pull $thermal_tags)"

cp /profile/calda /tmp/calda
echo exception=-4 >>/profile/calda
after=$(pull $thermal_tags)
is calda/exception 1 "$(echo "$after" | grep -c '"events":0')"
has calda/exception-logged 'ThermalReader transact reply exception: -4' "$(daemon_log)"
has calda/exception-ambient '"fields":[24000]' "$after"
echo transport_error=-38 >>/profile/calda
after=$(pull $thermal_tags)
has calda/transport-ambient '"atom":150127,"name":"ambient_temperature","fields":[0]' "$after"
is calda/transport 3 "$(echo "$after" | grep -c '"events":0')"
has calda/transport-logged 'ThermalReader transact 4 to calda failed! status: -38' "$(daemon_log)"
has calda/transport-read-on 'return invalid vec size' "$(daemon_log)"
sed 's/^vector=4 4/vector=3 4/' /tmp/calda >/profile/calda
is calda/short-vector 2 "$(pull $thermal_tags | grep -c '"events":0')"
cp /tmp/calda /profile/calda

# The touch service has no death notice: its proxy is kept, and every call fails.
touch_level() { pull 150131; }
has touch/there '"fields":[3]' "$(touch_level)"
printf -- '-1\n' >/profile/touch
has touch/sign '"events":0' "$(touch_level)"
printf '  12 7\n' >/profile/touch
has touch/words '"fields":[12]' "$(touch_level)"
echo 3 >/profile/touch
stop touch
wait_for 10 sh -c '! pidof touch'
has touch/dead '"events":0' "$(touch_level)"
start touch
wait_for 10 service_is_there vendor.norda.hardware.touch.INordaTouch/default
has touch/never-noticed '"events":0' "$(touch_level)"
restart_daemon
has touch/new-daemon '"fields":[3]' "$(touch_level)"

# An "audio" that refuses, replies without text, and is absent.
cp /profile/audio /tmp/audio
audio() { pull 150112; }
has audio/there '"fields":[0.375],"names":["power"],"types":["float"]' "$(audio)"
echo status=-1 >/profile/audio
has audio/refuses '"events":0' "$(audio)"
has audio/refusal-logged 'Error invoking remote service: Operation not permitted' "$(daemon_log)"
: >/profile/audio
has audio/no-text '"fields":[0]' "$(audio)"
echo nonsense >/profile/audio
has audio/no-number '"fields":[0]' "$(audio)"
stop audio
wait_for 10 sh -c '! pidof audio'
has audio/absent '"events":0' "$(audio)"
has audio/absent-logged 'Cannot connect to service: audio' "$(daemon_log)"
cp /tmp/audio /profile/audio
start audio
wait_for 10 service_is_there audio
has audio/back '"fields":[0.375]' "$(audio)"

# Usage records: the first malformed one ends the pull and stays unbuilt.
cp /profile/uah /tmp/uah
for broken in 'com.norda.short,1,2' '!nontext'; do
    { head -n 1 /tmp/uah; echo "$broken"; tail -n 1 /tmp/uah; } >/profile/uah
    lines=$(pull 150136)
    is "uah/lines/$broken" 2 "$(echo "$lines" | wc -l)"
    has "uah/unbuilt/$broken" '{"atom":150136,"name":"uah_dataset","unbuilt":true}' "$lines"
    is "uah/dropped_by_statsd/$broken" "Pull from 150136: Received 1 elements" \
        "$(cmd stats pull-source 150136 AID_ROOT | tail -n +2)"
done
has uah/logged 'handleUahDataset error data size' "$(daemon_log)"
echo '!fail' >/profile/uah
has uah/fail '"events":0' "$(pull 150136)"
cp /tmp/uah /profile/uah
is uah/back 3 "$(pull 150136 | grep -c '"fields"')"
