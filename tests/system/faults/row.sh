# One row of docs/faults.md, inside the device. Sourced after lib.sh and before rows.sh, which has the rows and
# their exceptions.
#
# Prints "cell COLUMN" for each column, and for each answer of an atom a line
#     STAGE TAG COUNT SLOWEST_MS ANSWER
# where STAGE is "during" or "after", for the row's atoms, or "meanwhile", for the answers to eight threads during
# the whole column. "cost PID THREADS DESCRIPTORS HEAP_KB" describes the daemon before and after the column.
# "stream is silent" reports a subscription that stays open without data after the column.
# shellcheck disable=SC2046,SC2086  # lists of tags are several words
# shellcheck disable=SC2154  # set by the rows

# The atoms of other rows.
other_tags() {
    for tag in $all_tags; do
        case " $own_tags " in *" $tag "*) ;; *) echo "$tag" ;; esac
    done
}

descriptors() { ls "/proc/$(daemon_pid)/fd" | wc -l; }
# A connection of the kernel channel may be closing.
at_rest() { [ "$(descriptors)" -le "$descriptors_before" ]; }

# The daemon's threads, descriptors and heap.
cost() {
    pid=$(daemon_pid)
    echo "cost $pid $(sed -n 's/^Threads:[^0-9]*//p' "/proc/$pid/status")" \
        "$(descriptors) $(sed -n 's/^RssAnon:[^0-9]*\([0-9]*\).*/\1/p' "/proc/$pid/status")"
}

# Eight threads pull the given atoms from begin_load until end_load.
begin_load() {
    statsctl load --pause 50 "$@" >meanwhile &
    load=$!
}
end_load() {
    kill $load
    wait $load
    sed 's/^/meanwhile /' meanwhile
}

# sample STAGE: pulls each of the row's atoms once.
sample() { statsctl load --threads 4 --count 1 $own_tags | sed "s/^/$1 /"; }
answers_again() { ! statsctl load --threads 4 --count 1 $own_tags | grep -q failed; }
# The answers of all atoms, and the row's other checks.
everything() {
    statsctl load --count 1
    sample now
}

# A subscription through the daemon is open during each column. After it, the stream continues or has ended.
begin_stream() {
    statsctl subscribe 150005 --json >stream 2>/dev/null &
    stream=$!
    wait_for 20 grep -q 150005 stream
}
stream_moves() { ! kill -0 $stream 2>/dev/null || [ "$(wc -l <stream)" -gt "$streamed" ]; }
end_stream() {
    streamed=$(wc -l <stream)
    wait_for 20 stream_moves || echo "stream is silent"
    kill $stream 2>/dev/null
    wait $stream
}

service_is_gone() { ! service_is_there "$service"; }
stop_service() {
    stop "$program"
    wait_for 20 service_is_gone
}
start_service() {
    start "$program"
    wait_for 20 service_is_there "$service"
}
freeze() { kill -STOP "$(pidof "$program")"; }
thaw() { kill -CONT "$(pidof "$program")"; }
set_fault() { echo "$service=$1" >/profile/faults; }
clear_fault() { rm -f /profile/faults; }

# The columns.

absent_at_start() {
    stop_service
    restart_daemon
    begin_load $all_tags
    sample during
    start_service
    sample after
    end_load
}

# Samples without the service and after its return, and ends the load.
dies_and_returns() {
    stop_service
    sample during
    start_service
    sample after
    end_load
}

killed_before_calls() {
    restart_daemon
    begin_load $(other_tags)
    dies_and_returns
}

# Stopped first, so that calls are pending when it dies.
killed_during_calls() {
    begin_load $all_tags
    freeze
    sleep 1
    dies_and_returns
}

killed_between_calls() {
    sample warm >/dev/null
    begin_load $(other_tags)
    dies_and_returns
}

# As many of its atoms as leave one thread of the daemon's pool free.
stopped_and_continued() {
    begin_load $(other_tags)
    freeze
    statsctl load --threads 4 --count 1 $(echo $own_tags | cut -d ' ' -f 1-4) | sed 's/^/during /'
    thaw
    wait_for 20 answers_again
    sample after
    end_load
}

stopped_and_all_pulled() {
    begin_load $all_tags
    freeze
    statsctl load --count 1 $own_tags | sed 's/^/during /'
    thaw
    wait_for 20 answers_again
    sample after
    end_load
}

# answers_with FAULT
answers_with() {
    begin_load $all_tags
    set_fault "$1"
    sample during
    clear_fault
    sample after
    end_load
}
error() { answers_with error; }
call_fails() { answers_with status; }
megabytes() { answers_with megabytes; }
garbage() { answers_with garbage; }
random_order() { answers_with disorder; }

# The name is taken by a service of another interface, from its start to its end.
wrong_interface() {
    begin_load $all_tags
    stop_service
    set_fault interface
    start_service
    sample during
    stop_service
    clear_fault
    start_service
    sample after
    end_load
}

# Restores the row's atoms if they do not return by themselves.
bring_back() { restart_daemon; }

answers_only() { cut -d ' ' -f 1,2,5- | sort; }
run_row() {
    wait_for 20 all_registered
    all_tags=$(statsctl registrations | awk 'NR > 1 { print $2 }')
    # Constant counters of 0, so that differences do not depend on the previous pull.
    rm -f /profile/nodes/*.[0-9]
    sed -i 's/Time(msec):[0-9]*/Time(msec):0/' /profile/nodes/power_ddr_residency
    sed -i 's/[0-9][0-9]*/0/g' /profile/nodes/gpu_freq_time_qual
    restart_daemon
    everything >/dev/null
    everything | answers_only >whole
    for column in $columns; do
        echo "cell $column"
        begin_stream
        descriptors_before=$(descriptors)
        cost
        "$column"
        wait_for 5 at_rest
        cost
        end_stream
        everything | answers_only >now
        if ! cmp -s whole now; then
            bring_back
            everything >/dev/null
        fi
    done
}
