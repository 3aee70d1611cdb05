# profile: qcom
# checks: 15
# A release build opens only the scheduler's channel, and turns its records into pushed atoms.

pushed() { statsctl pushed 2>/dev/null | grep -c 100207; }
count=$(pushed)
kestrel --type 7 --pe 1 --lnr 2 --bnr 3 --info x
is inject/status 0 $?
wait_for 5 sh -c "[ \"\$(statsctl pushed | grep -c 100207)\" -eq $((count + 1)) ]"
is inject/pushed $((count + 1)) "$(pushed)"
record=$(statsctl pushed | grep 100207 | tail -n 1)
for value in 7 1 2 3 x; do has "inject/value-$value" "$value" "$record"; done

kestrel --flag 2 --type 7
has flag/logged 'unknown dispatch flag 2' "$(daemon_log)"
kestrel --null
has null/logged 'onKestrelFatalDataArrived, bpf_data is null' "$(daemon_log)"
is faults/nothing-pushed $((count + 1)) "$(pushed)"
dumpsys zstats_pullerd --loglevel 2 >/dev/null
kestrel --disconnect
has disconnect/logged 'kworker :on_bpf_disconnect' "$(daemon_log)"
dumpsys zstats_pullerd --loglevel 1 >/dev/null

kestrel --path /system_ext/bin/zcvt/norda_sched_corectl --type 1 2>/tmp/kestrel.err
is second-channel/closed 1 $?
is second-channel/one-line 1 "$(grep -c . /tmp/kestrel.err)"

# Other answers of the kernel.
cp /profile/features /tmp/features.saved 2>/dev/null || : >/tmp/features.saved
echo 'bpf=unsupported' >/profile/features
restart_daemon
has unsupported/logged 'do not support zcvt' "$(daemon_log)"
echo 'bpf_connect=-5' >/profile/features
restart_daemon
has refused/logged 'kworker connect fail fd = -5' "$(daemon_log)"
cp /tmp/features.saved /profile/features
restart_daemon
