# profile: qcom
# checks: 9
# Calls with long lists succeed with any number of open pipes, because each pipe is as large as its frame. With
# pipes of 64 KiB, those of a user without capabilities would shrink to 8 KiB from the 1,025th on.

# Without statsd, the threads of the subscriptions end at once.
stop statsd
pid=$(daemon_pid)
is many_lists "1 ids, 1100 times: 1" "$(timeout 120 pullbench register 1100 1)"
for row in "181 1" "182 1" "1137 1" "1600 1" "23301 1" "23302 -1"; do
    ids=${row% *}
    is of_$ids "$ids ids, 1 times: ${row#* }" "$(timeout 20 pullbench register 1 $ids)"
done
writers() { for task in /proc/$pid/task/*; do cat "$task/wchan"; echo; done | grep -c pipe_write; }
is no_thread_waits 0 "$(writers)"
is daemon_lives "$pid" "$(daemon_pid)"

# A daemon without those pipes for the next case.
start statsd
wait_for 20 service_is_there stats
restart_daemon
