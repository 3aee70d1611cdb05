# profile: qcom
# crash: charger 9
# init: rc files, properties, restarts and requests; the tools; the files that the profile lays.

is build_prop qcom "$(getprop ro.hardware)"
setprop ro.hardware other 2>/dev/null
is read_only_status 1 $?
is read_only_kept qcom "$(getprop ro.hardware)"
setprop test.init.a "a value"
is set_and_get "a value" "$(getprop test.init.a)"
has list "[test.init.a]: [a value]" "$(getprop)"
is default_of_getprop none "$(getprop test.init.absent none)"
is ready registered "$(getprop vdev.ready)"

start nosuch 2>/dev/null
is unknown_service_status 1 $?
has unknown_service_logged "Could not process ctl.start for 'nosuch'" "$(daemon_log init)"

before=$(pidof charger)
kill -9 "$before"
charger_is_back() { pid=$(pidof charger) && [ "$pid" != "$before" ]; }
wait_for 10 charger_is_back && ok restart_after_kill || not_ok restart_after_kill "did not return"
has death_logged "Service 'charger' (pid $before) received signal 9" "$(daemon_log init)"
is uid_of_a_service 1000 "$(stat -c %u "/proc/$(pidof charger)")"

stop charger
wait_for 10 state_is charger stopped && ok stop || not_ok stop "$(state_of charger)"
is stopped_has_no_process "" "$(pidof charger)"
start charger
wait_for 10 pidof charger && ok start || not_ok start "it does not run"

# One that waits for its restart can be stopped for good; the property makes it wait long.
setprop vdev.restart_ms 1000000
kill -9 "$(pidof charger)"
wait_for 10 state_is charger restarting && ok back_off || not_ok back_off "$(state_of charger)"
stop charger
is stop_in_back_off stopped "$(state_of charger)"
start charger
wait_for 10 pidof charger && ok start_after_back_off || not_ok start_after_back_off "$(state_of charger)"
setprop vdev.restart_ms ""

# What a service prints goes where a device sends it.
is standard_descriptors "/dev/null /dev/null /dev/null" \
    "$(for fd in 0 1 2; do readlink "/proc/$(daemon_pid)/fd/$fd"; done | xargs)"
is no_capabilities 0000000000000000 \
    "$(awk '/^Cap/ { print $2 }' "/proc/$(daemon_pid)/status" | sort -u)"
has request_logged "Control message: Processed ctl.stop for 'charger' from pid: " \
    "$(daemon_log init)"

is asuid "2000 2000" "$(asuid 2000 id -u) $(asuid shell id -g)"
asuid 2000 sh -c 'exit 7'
is asuid_status 7 $?

has profile_meminfo "$(head -n 1 /profile/root/proc/meminfo)" "$(cat /proc/meminfo)"
is profile_wakeup "$(ls /profile/root/sys/class/wakeup)" "$(ls /sys/class/wakeup)"
file=$(cd /profile/root && find sys/devices/system/cpu -name time | tail -n 1)
is profile_cpuidle "$(cat "/profile/root/$file")" "$(cat "/$file")"
is kernel_beside_profile 0-1 "$(cat /sys/devices/system/cpu/online)"
logcat extra 2>/dev/null
is logcat_usage 2 $?
logcat >/tmp/followed &
follower=$!
wait_for 5 grep -q nosuch /tmp/followed
start nosuch-as-well 2>/dev/null
wait_for 5 grep -q nosuch-as-well /tmp/followed && ok logcat_follows || not_ok logcat_follows "no new line"
kill -0 $follower && ok logcat_goes_on || not_ok logcat_goes_on "it has ended"
kill $follower
is logcat_all "$(logcat -d | head -n 20)" "$(head -n 20 /tmp/followed)"
