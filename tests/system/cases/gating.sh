# profile: qcom
# checks: 13
# A daemon that may not run logs the reason, ends with 255, and stays stopped.

daemon=/system_ext/bin/zstats_pullerd
features=/profile/features
cp $features /tmp/features.saved 2>/dev/null || : >/tmp/features.saved
# Starts the service. The daemon asks init to stop it, so it must stay stopped.
start_refused() {
    refusals=$(log_count 'ctl.stop')
    start zstats_pullerd
    wait_for 10 log_has_more 'ctl.stop' "$refusals" || not_ok "$1/request" "init saw no ctl.stop"
    # Not running, and no restart pending.
    if wait_for 10 state_is zstats_pullerd stopped; then ok "$1/stopped"; else not_ok "$1/stopped" "$(state_of zstats_pullerd)"; fi
}

stop zstats_pullerd
wait_for 20 state_is zstats_pullerd stopped

echo 'feature=os.tool.quill.zstats_pullerd.enable off' >>$features
before=$(log_count 'os.tool.quill.zstats_pullerd.enable disabled.')
$daemon
is switched-off/status 255 $?
is switched-off/logged $((before + 1)) "$(log_count 'os.tool.quill.zstats_pullerd.enable disabled.')"
start_refused switched-off
has_not switched-off/not-published atomacq "$(dumpsys -l)"
cp /tmp/features.saved $features

# A commercial build on a small device: MemTotal has to be above 4 GiB.
mount_meminfo() {
    printf 'MemTotal:        %s kB\nMemFree:         1000 kB\n' "$1" >/tmp/meminfo
    chcon u:object_r:proc_meminfo:s0 /tmp/meminfo
    mount -o bind /tmp/meminfo /proc/meminfo
}
mount_meminfo 4194304
$daemon
is small/status 255 $?
has small/logged 'It is Commercial Version, less than 4GB, zstats_pullerd is disabled.' "$(daemon_log)"
start_refused small
for value in true 01 0; do
    setprop persist.sys.zstats_pullerd.start $value
    $daemon
    is "small/override-$value" 255 $?
done
setprop persist.sys.zstats_pullerd.start 1
start zstats_pullerd
if wait_for 10 service_is_there zstats_pullerd; then ok small/override; else not_ok small/override 'not published'; fi
has small/override-logged 'less than 4GB, start prop is true.' "$(daemon_log)"
setprop persist.sys.zstats_pullerd.start 0
umount /proc/meminfo

mount_meminfo 4194305
stop zstats_pullerd
wait_for 20 state_is zstats_pullerd stopped
start zstats_pullerd
if wait_for 10 service_is_there zstats_pullerd; then ok large/runs; else not_ok large/runs 'not published'; fi
umount /proc/meminfo
restart_daemon
