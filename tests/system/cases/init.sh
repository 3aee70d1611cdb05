# profile: qcom
# checks: 56
# crash: charger 9
# crash: openfileprobe 9
# crash: zstats_pullerd 9
# init as on a phone: types of properties, services that die, stop and start; the tools; the profile's
# files.

is build_prop qcom "$(getprop ro.hardware)"
setprop test.init.a "a value"
is set_and_get "a value" "$(getprop test.init.a)"
is list "[test.init.a]: [a value]" "$(getprop | grep test.init.a)"
is default_of_getprop none "$(getprop test.init.absent none)"
is ready registered "$(getprop vdev.ready)"

# What init refuses, with the reason in the kernel's log; what setprop refuses, with its own message.
while read -r name value reason; do
    before=$(getprop "$name")
    said=$(setprop "$name" "$value" 2>&1)
    is "refused/$name" 1 $?
    is "refused/$name/kept" "$before" "$(getprop "$name")"
    case $said in
    *dmesg*) said=$(init_log | grep 'Unable to set property' | tail -n 1 | sed 's/.* pid:[0-9]*: //') ;;
    esac
    is "refused/$name/reason" "$reason" "$(echo "$said" | tail -n 1)"
done <<'END'
ro.hardware other Read-only property was already set
sys.boot_completed maybe Property type check failed, value doesn't match expected type 'bool'
ro.secure one Property type check failed, value doesn't match expected type 'int'
test..init x '..' is not allowed in a property name
.test.init x Property names must not start or end with a '.'
test$init x Invalid character '$' in name 'test$init'
END

start nosuch 2>/dev/null
is unknown_service_status 1 $?
is unknown_service_logged "Control message: Could not find 'nosuch' for ctl.start from pid: (start nosuch)" \
    "$(init_log | grep nosuch | sed 's/pid: [0-9]*/pid:/')"

# A service that dies is restarted, 5 s after its last start at the earliest.
before=$(pidof charger)
kill -9 "$before"
charger_is_back() { pid=$(pidof charger) && [ "$pid" != "$before" ]; }
wait_for 20 charger_is_back && ok restart_after_kill || not_ok restart_after_kill "did not return"
is death_logged 1 "$(init_log | grep -cx "Service 'charger' (pid $before) received signal 9.*")"
is uid_of_a_service 1000 "$(stat -c %u "/proc/$pid")"
is svc_debug_pid "$pid" "$(getprop init.svc_debug_pid.charger)"

stop charger
wait_for 10 state_is charger stopped && ok stop || not_ok stop "$(state_of charger)"
is stopped_has_no_process "" "$(pidof charger)"
is stopped_has_no_debug_pid "" "$(getprop init.svc_debug_pid.charger)"
setprop ctl.interface_start aidl/vendor.norda.hardware.charger.ICharger/default
wait_for 10 pidof charger && ok start_by_interface || not_ok start_by_interface "it does not run"
is request_logged "Control message: Processed ctl.stop for 'charger' from pid: (stop charger)" \
    "$(init_log | grep 'Processed ctl.stop' | tail -n 1 | sed 's/pid: [0-9]*/pid:/')"

# A service that waits for its restart ignores a restart request, and "start" starts it.
kill -9 "$(pidof openfileprobe)"
wait_for 10 state_is openfileprobe restarting && ok back_off || not_ok back_off "$(state_of openfileprobe)"
setprop ctl.restart openfileprobe
is restart_in_back_off restarting "$(state_of openfileprobe)"
start openfileprobe
is start_in_back_off running "$(state_of openfileprobe)"
kill -9 "$(pidof openfileprobe)"
wait_for 10 state_is openfileprobe restarting
stop openfileprobe
is stop_in_back_off stopped "$(state_of openfileprobe)"
start openfileprobe
wait_for 10 service_is_there openfileprobe || not_ok back "openfileprobe is not there"

# The daemon's start by its rc file: its time, descriptors, capabilities and OOM score. It is restarted after a
# kill, and the time of its first start stays.
is standard_descriptors "/dev/null /dev/null /dev/null" \
    "$(for fd in 0 1 2; do readlink "/proc/$(daemon_pid)/fd/$fd"; done | xargs)"
is no_capabilities 0000000000000000 \
    "$(awk '/^Cap/ { print $2 }' "/proc/$(daemon_pid)/status" | sort -u)"
is oom_score_adj -1000 "$(cat "/proc/$(daemon_pid)/oom_score_adj")"
first=$(getprop ro.boottime.zstats_pullerd)
[ "$first" -gt "$(getprop ro.boottime.statsd)" ] && ok boottime || not_ok boottime "'$first'"
before=$(daemon_pid)
kill -9 "$before"
daemon_is_back() { pid=$(daemon_pid) && [ "$pid" != "$before" ]; }
wait_for 20 daemon_is_back && ok daemon_restarted || not_ok daemon_restarted "$(state_of zstats_pullerd)"
is daemon_debug_pid "$pid" "$(getprop init.svc_debug_pid.zstats_pullerd)"
is boottime_kept "$first" "$(getprop ro.boottime.zstats_pullerd)"
wait_for 20 service_is_there zstats_pullerd
restart_daemon

is service_check "Service stats: found" "$(service check stats)"
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
