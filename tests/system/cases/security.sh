# profile: qcom
# What the daemon holds, and how far a caller gets that means it ill.

restart_daemon
pid=$(daemon_pid)
# kinds PID: what its descriptors are, each kind once with its number.
kinds() { for fd in /proc/$1/fd/*; do readlink "$fd"; done | sed 's/:\[[0-9]*\]$//' | sort | uniq -c | xargs; }
environment() { tr '\0' '\n' <"/proc/$1/environ"; }
# The log and the socket are the log library's and the substitute's of the kernel channel.
is descriptors '1 /dev/binder 1 /dev/log/main 3 /dev/null 1 anon_inode:[eventfd] 1 socket' "$(kinds $pid)"
is arguments /system_ext/bin/zstats_pullerd "$(tr '\0' ' ' <"/proc/$pid/cmdline" | xargs)"
is environment_is_that_of_all_services "$(environment "$(pidof charger)")" "$(environment $pid)"

# More ids than the pipe to statsd takes. The one write waits for a reader that comes after it: the
# call never returns, and its thread is lost to the pool, which has six.
many=$(seq 150000 151600)
writers() { for task in /proc/$pid/task/*; do cat "$task/wchan"; echo; done | grep -c pipe_write; }
writers_are() { [ "$(writers)" -eq "$1" ]; }
callers=
for _ in 1 2 3 4 5; do
    # shellcheck disable=SC2086  # the ids
    statsctl subscribe --any $many --for 60 >/dev/null 2>&1 &
    callers="$callers $!"
done
wait_for 20 writers_are 5 && ok five_block || not_ok five_block "$(writers) wait"
statsctl subscribe --any $many --uid 2000 >/dev/null 2>&1
is others_are_refused_before '1 5' "$? $(writers)"
has one_thread_serves '"fields":[412]' "$(pull 150006)"
is accepted_and_empty '0 ' "$(statsctl subscribe --any --for 1 2>&1; echo "$? ")"
statsctl subscribe --any $many --for 60 >/dev/null 2>&1 &
callers="$callers $!"
wait_for 20 writers_are 6 && ok six_block || not_ok six_block "$(writers) wait"
has nobody_serves 'no answer within 2000 ms' "$(pull 150006)"
# They go, and it stays so: only init helps.
kill $callers
wait $callers 2>/dev/null
is threads_stay_lost 6 "$(writers)"
restart_daemon
has new_daemon_serves '"fields":[412]' "$(pull 150006)"
