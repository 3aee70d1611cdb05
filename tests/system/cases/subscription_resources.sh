# profile: qcom
# checks: 20
# What subscriptions leave in the daemon: a descriptor for each accepted call, and no thread.
pid=$(daemon_pid)
fds() { ls /proc/$pid/fd | wc -l; }
# Threads that are not in the system call in which the pool and the main thread wait for work. The pool grows to
# its limit when calls are concurrent.
others() {
    pool=$(cut -d ' ' -f 1 /proc/$pid/syscall)
    cat /proc/$pid/task/*/syscall | grep -vc "^$pool "
}
# Pipe ends by their mode.
# Only ls prints the mode.
# shellcheck disable=SC2010
pipes() { ls -l /proc/$pid/fd | grep "^$1.* -> pipe:" | wc -l; }
runs() { log_count "AtomsAcquire cmdMain $1!!!"; }
runs_done() { [ "$(runs "done")" -ge "$1" ]; }
running() { cmd stats print-stats | sed -n '1s/.*, \(.*\) subscriptions/\1/p'; }
running_is() { [ "$(running)" = "$1" ]; }

# subscribe NUMBER SECONDS: callers alternate between root and system.
subscribe() {
    statsctl subscribe 150005 100207 --uid $(($1 % 2 * 1000)) --for $2 --json >out.$1 2>err.$1 &
}

# A first round, so that one-time descriptors and threads exist.
base=$(runs "done")
for i in 1 2 3 4 5 6 7 8 9 10; do subscribe $i 1; done
wait
wait_for 20 runs_done $((base + 10))
wait_for 20 running_is 0 || not_ok warm_up "$(running) still run"

base=$(runs "done")
fds_before=$(fds)
writers_before=$(pipes l-wx)
readers_before=$(pipes lr-x)
others_before=$(others)
clients=
for i in $(seq 1 20); do
    subscribe $i 60
    clients="$clients $!"
done
wait_for 40 runs_done $((base + 20)) && ok twenty_accepted || not_ok twenty_accepted "$(runs "done")"
is twenty_run 20 "$(running)"
is one_descriptor_each $((fds_before + 20)) "$(fds)"
is it_is_the_write_end "$((writers_before + 20)) $readers_before" "$(pipes l-wx) $(pipes lr-x)"

refused=$(log_count "subscription refused: 20 are running")
for i in 21 22 23 24 25; do subscribe $i 60; done
wait_for 20 runs_done $((base + 25)) && ok five_more_accepted || not_ok five_more_accepted "$(runs "done")"
wait_for 10 log_has_more "subscription refused: 20 are running" $((refused + 4))
is five_turned_away $((refused + 5)) "$(log_count "subscription refused: 20 are running")"
for i in 21 22 23 24 25; do
    wait_for 5 grep -q "the stream has ended" err.$i
    is turned_away_stream_ends_$i "statsctl: the stream has ended" "$(cat err.$i)"
done
is descriptors_of_all_calls $((fds_before + 25)) "$(fds)"
is no_thread_more "$others_before" "$(others)"
is no_run_goes_on "$(runs in)" "$(runs "done")"

# Half of the readers are killed; statsd notices, and the daemon is not affected.
# shellcheck disable=SC2046
kill -9 $(echo $clients | cut -d ' ' -f 1-10)
wait_for 20 running_is 10 && ok vanished_readers_end || not_ok vanished_readers_end "$(running) run"
is descriptors_stay $((fds_before + 25)) "$(fds)"
is threads_stay "$others_before" "$(others)"
streaming=0
for i in $(seq 11 20); do grep -q '"atom":150005,' out.$i && streaming=$((streaming + 1)); done
is others_still_stream 10 $streaming
# shellcheck disable=SC2046
kill -9 $(echo $clients | cut -d ' ' -f 11-20)
wait_for 20 running_is 0 && ok all_end || not_ok all_end "$(running) run"
is daemon_lives "$pid" "$(daemon_pid)"
