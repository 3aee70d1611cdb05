# profile: qcom
# checks: 10
# What the daemon holds, and what a hostile caller reaches.

restart_daemon
pid=$(daemon_pid)
# kinds PID: the kinds of its descriptors, with their numbers.
kinds() { for fd in /proc/$1/fd/*; do readlink "$fd"; done | sed 's/:\[[0-9]*\]$//' | sort | uniq -c | xargs; }
environment() { tr '\0' '\n' <"/proc/$1/environ"; }
# The log is the log library's; the socket is that of the kernel channel's substitute.
is descriptors '1 /dev/binder 1 /dev/log/main 3 /dev/null 1 anon_inode:[eventfd] 1 socket' "$(kinds $pid)"
is arguments /system_ext/bin/zstats_pullerd "$(tr '\0' ' ' <"/proc/$pid/cmdline" | xargs)"
is environment_is_that_of_all_services "$(environment "$(pidof charger)")" "$(environment $pid)"

# More ids than a pipe takes, from more callers than the pool has threads: each call is refused, and none blocks
# a thread. The pipe is written before it has a reader.
writers() { for task in /proc/$pid/task/*; do cat "$task/wchan"; echo; done | grep -c pipe_write; }
is too_many_ids '23302 ids, 7 times: -1' "$(timeout 60 pullbench register 7 23302)"
is too_many_ids/logged 7 "$(daemon_log | grep -cE ' E zstats_pullerd: AtomsAcquire write to control pipe done with error\(Message too long\) *$')"
is too_many_ids/threads_left 0 "$(writers)"
has too_many_ids/pulls_go_on '"fields":[412]' "$(pull 150006)"

# A range with more CPUs than an answer carries. statsd gets no answer, and the thread is soon free again.
idle=$(pull 150121)
idle_as_before() { [ "$(pull 150121)" = "$idle" ]; }
cp /profile/nodes/cpu_index_range range
echo 0-2147483646 >/profile/nodes/cpu_index_range
has endless_range 'no answer within 2000 ms' "$(pull 150121)"
cp range /profile/nodes/cpu_index_range
wait_for 30 idle_as_before && ok endless_range/ends || not_ok endless_range/ends "$(pull 150121 | head -n 3)"
is same_daemon "$pid" "$(daemon_pid)"
