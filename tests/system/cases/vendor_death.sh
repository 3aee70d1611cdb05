# profile: qcom
# checks: 13
# crash: charger 9
# crash: handlefactory 9
# Killed vendor services: pulls without them, and after their return.

answer() { pull "$@" 2>/dev/null; }
has_event() { statsctl pull --json "$1" 2>/dev/null | grep -q '"fields"'; }

level=$(answer 150005)
cycles=$(answer 150009)
has before/level '"fields"' "$level"
has before/cycles '"fields"' "$cycles"

died=$(log_count 'handlefactory service died, will try to reconnect.')
stop handlefactory
wait_for 10 log_has_more 'handlefactory service died, will try to reconnect.' "$died" &&
    ok handlefactory/death-logged || not_ok handlefactory/death-logged 'no line'
has handlefactory/absent '"fields":[-1,-1,0,0]' "$(answer 150005)"
has handlefactory/connect-logged 'get handlefactory aidl service failed' "$(daemon_log)"
start handlefactory
wait_for 10 service_is_there vendor.norda.hardware.handlefactory.IHandleFactory/default
is handlefactory/back "$level" "$(answer 150005)"

died=$(log_count 'charger service died, will try to reconnect.')
stop charger
wait_for 10 log_has_more 'charger service died, will try to reconnect.' "$died" &&
    ok charger/death-logged || not_ok charger/death-logged 'no line'
has charger/absent '"events":0' "$(answer 150009)"
has charger/line 'handleBatteryCycleCount line 547, getIChargeService return false' "$(daemon_log)"
start charger
wait_for 10 service_is_there vendor.norda.hardware.charger.ICharger/default
is charger/back "$cycles" "$(answer 150009)"

# After SIGKILL, init restarts both.
for name in handlefactory charger; do
    tag=150005
    [ $name = handlefactory ] || tag=150009
    pid=$(pidof $name)
    kill -9 "$pid"
    wait_for 10 sh -c "pidof $name && [ \"\$(pidof $name)\" != $pid ]" ||
        not_ok $name/restarted 'init did not start it again'
    if wait_for 10 has_event $tag; then ok $name/reconnected; else not_ok $name/reconnected 'no event'; fi
done
is killed/same-level "$level" "$(answer 150005)"
