# profile: mtk
# checks: 9
# A profile with files in a folder that /proc lacks: processes are still visible in /proc.

has device_tree "$(cat '/profile/root/proc/device-tree/chosen/atag,chipid')" \
    "$(cat '/proc/device-tree/chosen/atag,chipid')"
is proc_pid sh "$(cat /proc/$$/comm)"
is proc_self cat "$(cat /proc/self/comm)"
[ -e /proc/self/fd/0 ] && ok proc_self_fd || not_ok proc_self_fd "no /proc/self/fd/0"
pid=$(pidof zstats_pullerd)
is pidof_exe /system_ext/bin/zstats_pullerd "$(readlink "/proc/$pid/exe")"
has ps "/system_ext/bin/zstats_pullerd" "$(ps)"
has kernel_beside_profile "Linux version" "$(cat /proc/version)"
sleep 100 &
[ -d "/proc/$!" ] && ok new_process || not_ok new_process "no /proc/$!"
kill $!
wait $! 2>/dev/null
[ -d "/proc/$!" ] && not_ok ended_process "/proc/$! is still there" || ok ended_process
