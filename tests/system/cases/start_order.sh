# profile: qcom
# checks: 15
# The daemon starts when the boot is complete, and whenever the property is set again.

# position TEXT: the number of the first log line with the text.
position() { logcat -d | grep -nF -m 1 -- "$1" | cut -d : -f 1; }

is boot_completed 1 "$(getprop sys.boot_completed)"
is registered "$ATOMS" "$(registered)"
for service in statsd systemserver thermalservice audio; do
    [ "$(position "starting service '$service'")" -lt "$(position "starting service 'zstats_pullerd'")" ] &&
        ok "after_$service" || not_ok "after_$service" "it comes first"
done

pid=$(daemon_pid)
setprop sys.boot_completed 1
setprop sys.boot_completed 0
is a_running_daemon_stays "$pid" "$(daemon_pid)"

# The gate is checked again, with its present answer.
disabled='os.tool.quill.zstats_pullerd.enable disabled.'
cp /profile/features /tmp/features.saved 2>/dev/null || : >/tmp/features.saved
echo 'feature=os.tool.quill.zstats_pullerd.enable off' >>/profile/features
stop zstats_pullerd
wait_for 20 state_is zstats_pullerd stopped
for number in 1 2; do
    before=$(log_count "$disabled")
    setprop sys.boot_completed 1
    wait_for 20 log_has_more "$disabled" "$before" && ok gate/$number || not_ok gate/$number "it did not start"
    wait_for 20 state_is zstats_pullerd stopped && ok gate/$number/stops || not_ok gate/$number/stops "$(state_of zstats_pullerd)"
done
cp /tmp/features.saved /profile/features
setprop sys.boot_completed 0
is another_value_starts_nothing stopped "$(state_of zstats_pullerd)"
setprop sys.boot_completed 1
registers opens

# statsd asks the system server for the permission; a user without it may not register.
refusal="uid 9999 may not register atom ${ATOM_ORDER##* }"
asuid 9999 /system_ext/bin/zstats_pullerd >/dev/null 2>&1 &
stranger=$!
wait_for 20 log_has_more "$refusal" 0 && ok stranger/refused || not_ok stranger/refused "no line"
is stranger/registrations 0 "$(statsctl registrations | awk '$4 == 9999' | wc -l)"
kill -9 $stranger
restart_daemon
