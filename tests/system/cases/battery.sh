# profile: qcom
# checks: 23
# Every battery atom against the profile's files, as shipped and with limits.

node() { cat /profile/nodes/$1; }
charger() { sed -n "s/^$1=//p" /profile/charger; }
set_charger() { sed -i "s/^$1=.*/$1=$2/" /profile/charger; }
# fields TAG: the values of the single event; "none" without one.
fields() {
    line=$(pull $1)
    case $line in
    *'"fields"'*) echo "$line" | sed 's/.*"fields":\[\([^]]*\)\].*/\1/' ;;
    *) echo none ;;
    esac
}
cp -r /profile/nodes /tmp/nodes.saved
cp /profile/charger /tmp/charger.saved

real=$(node battery_level)
ui=$(node battery_ui_level)
gap=$((real - ui))
is level "$real,$ui,$gap,${gap#-}" "$(fields 150005)"
has level/logged "handler for realLevel = $real, uiLevel = $ui" "$(daemon_log)"
is dod "$(node battery_dod)" "$(fields 150006)"
is remaining "$(node remaining_battery_power)" "$(fields 150123)"
is gauge "$(node gauge_car_c)" "$(fields 150167)"

while read -r tag method; do
    is "$method" "$(charger $method)" "$(fields $tag)"
done <<END
150008 getUIsohValue
150009 getPsyBatteryCC
150010 getBatteryVoltageNow
150011 getPsyBatteryCurrentNow
150022 getPsyBatteryFcc
150025 getPsyBatteryPchg
150026 getPsyBatteryPchgResetCount
END

while read -r tenths degrees milli; do
    set_charger getPsyBatteryTemp "$tenths"
    is "temperature/$tenths" "$degrees,$milli" "$(fields 150030)"
done <<END
305 31 30500
-36 -3 -3600
END

while read -r fcc typical ratio; do
    set_charger getPsyBatteryFcc "$fcc"
    echo "$typical" >/profile/nodes/battery_typical_capacity
    is "loss/$fcc-of-$typical" "$typical,$fcc,$ratio" "$(fields 150138)"
done <<END
5100 5000 -2
END
echo abc >/profile/nodes/battery_typical_capacity
is loss/no-number none "$(fields 150138)"
has loss/no-number-logged 'handleBatteryCapacityLossRatio line 1395, batteryTypicalCapacity = 0' "$(daemon_log)"
rm /profile/nodes/battery_typical_capacity
is loss/no-node none "$(fields 150138)"
has loss/no-node-logged 'line 1390, String batteryTypicalCapacity is empty' "$(daemon_log)"

set_charger getPsyBatteryCC fail
is failing/event none "$(fields 150009)"
has failing/logged 'handleBatteryCycleCount line 553, getPsyBatteryCC failed' "$(daemon_log)"
rm /profile/nodes/battery_ui_level /profile/nodes/remaining_battery_power
is missing/level "$real,-1,$((real + 1)),$((real + 1))" "$(fields 150005)"
is missing/remaining none "$(fields 150123)"

cp /tmp/nodes.saved/* /profile/nodes/
cp /tmp/charger.saved /profile/charger
