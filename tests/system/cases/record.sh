# profile: qcom
# checks: 22
# A recording of the device equals the profile: its files are the same, and the daemon gives the same answers
# from them.

zstats_record /tmp/recording --samples 4 2>/tmp/record.err
is status '0 ' "$? $(cat /tmp/record.err)"

differences() { diff -r "$1" "$2" 2>&1; }
is nodes '' "$(differences /profile/nodes /tmp/recording/nodes)"
is touch '' "$(differences /profile/touch /tmp/recording/touch)"
is audio '' "$(differences /profile/audio /tmp/recording/audio)"
is thermal '' "$(differences /profile/thermal /tmp/recording/thermal)"
is uah '' "$(differences /profile/uah /tmp/recording/uah)"
sorted() { sort "$1" >"/tmp/sorted.$2"; echo "/tmp/sorted.$2"; }
for file in charger calda; do
    is $file '' "$(differences "$(sorted /profile/$file a)" "$(sorted /tmp/recording/$file b)")"
done
is meminfo "$(head -n 1 /proc/meminfo)" "$(head -n 1 /tmp/recording/root/proc/meminfo)"
for folder in /sys/class/wakeup/*; do
    name=${folder##*/}
    is "wakeup/$name" "$(cat /sys/class/wakeup/$name/name /sys/class/wakeup/$name/active_time_ms)" \
        "$(cd /tmp/recording/root/sys/class/wakeup/$name && cat name active_time_ms)"
done
is idle "$(cat /sys/devices/system/cpu/cpu7/cpuidle/state1/time)" \
    "$(cat /tmp/recording/root/sys/devices/system/cpu/cpu7/cpuidle/state1/time)"
for name in ro.hardware ro.build.release_type; do
    is "property/$name" "$name=$(getprop $name)" "$(grep "^$name=" /tmp/recording/build.prop)"
done

# The same answers from the recording, by a restarted daemon.
restart_daemon
statsctl pull --json --settle >/tmp/from-profile
find /tmp/recording -exec chcon u:object_r:profile_file:s0 {} +
mount -o bind /tmp/recording/nodes /profile/nodes
for file in charger calda touch thermal audio uah; do
    mount -o bind /tmp/recording/$file /profile/$file
done
restart_daemon
statsctl pull --json --settle >/tmp/from-recording
is answers '' "$(differences /tmp/from-profile /tmp/from-recording)"
is events 0 "$(grep -c '"failed"' /tmp/from-recording)"
for file in charger calda touch thermal audio uah nodes; do umount /profile/$file; done
restart_daemon

is not-empty 'zstats_record: /tmp/recording: is not empty' "$(zstats_record /tmp/recording 2>&1)"
zstats_record >/dev/null 2>&1
is usage 2 $?
