# The last table of docs/faults.md, inside the device, after row.sh.

# provoke FILE CONTENT PULL: pulls the atom with this content of the profile's file; for pids.max, subscribes while
# the daemon may not start threads.
provoke() {
    if [ "$1" = pids.max ]; then
        statsctl load --count 1 >/dev/null
        echo "$(daemon_pid)" >$group/cgroup.procs
        cat $group/pids.current >$group/pids.max
        statsctl subscribe 150005 --for 1 >/dev/null 2>&1
        return
    fi
    cp "/profile/$1" /tmp/saved
    printf '%b' "$2" >"/profile/$1"
    statsctl pull "$3" >/dev/null 2>&1
}
relieve() {
    if [ "$1" = pids.max ]; then echo max >$group/pids.max; else cp /tmp/saved "/profile/$1"; fi
}

# crash FILE CONTENT PULL: the exception that ends the daemon, and the outcome, as "EXCEPTION; OUTCOME".
crash() {
    stop zstats_pullerd
    wait_for 20 none_registered
    # Not by init, which discards the standard error.
    /system_ext/bin/zstats_pullerd 2>/tmp/errors &
    by_hand=$!
    wait_for 20 all_registered
    provoke "$@"
    wait_for 10 has_ended || kill -9 $by_hand
    wait $by_hand
    status=$?
    exception=$(sed -n "s/^terminate called after throwing an instance of '\(.*\)'.*/\1/p" /tmp/errors)
    relieve "$1"
    wait_for 20 none_registered
    start zstats_pullerd
    wait_for 20 all_registered
    pid=$(daemon_pid)
    provoke "$@"
    outcome="not back"
    wait_for 10 has_ended_by_signal
    relieve "$1"
    if wait_for 20 another_runs && wait_for 20 all_registered; then outcome="back, registered"; fi
    [ $status -eq 134 ] || signal="status $status"
    echo "\`$exception\`; $signal, $outcome"
}

another_runs() { [ -n "$(daemon_pid)" ] && [ "$(daemon_pid)" != "$pid" ]; }
has_ended() { ! kill -0 $by_hand; }
has_ended_by_signal() {
    signal=$(logcat -d | sed -n "s/.*Service 'zstats_pullerd' (pid $pid) received //p")
    [ -n "$signal" ]
}

wait_for 20 all_registered
# The device's policy knows no control groups.
group=/tmp/groups/zstats
echo 0 >/sys/fs/selinux/enforce
mkdir -p ${group%/*}
mount -t cgroup2 none ${group%/*}
echo +pids >${group%/*}/cgroup.subtree_control
mkdir $group
