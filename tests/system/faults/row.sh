# One row of docs/faults.md, inside the device. Comes after lib.sh and before rows.sh, which says what
# the rows are and what differs in some.
#
# Prints "cell COLUMN" for each column, and for each answer of an atom a line
#     STAGE TAG COUNT SLOWEST_MS ANSWER
# where STAGE is "during" or "after", for the row's own atoms, or "meanwhile", for what eight threads
# were answered from before the fault until after it. "cost PID THREADS DESCRIPTORS HEAP_KB" stands for
# the daemon before the column and after it.
# shellcheck disable=SC2046,SC2086  # lists of tags are several words
# shellcheck disable=SC2154  # set by the rows

# The atoms that are not the row's own.
other_tags() {
    for tag in $all_tags; do
        case " $own_tags " in *" $tag "*) ;; *) echo "$tag" ;; esac
    done
}

descriptors() { ls "/proc/$(daemon_pid)/fd" | wc -l; }
# A connection of the kernel channel's may be about to be closed.
at_rest() { [ "$(descriptors)" -le "$descriptors_before" ]; }

# What the daemon holds.
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

# sample STAGE: each of the row's own atoms once.
sample() { statsctl load --threads 4 --count 1 $own_tags | sed "s/^/$1 /"; }
answers_again() { ! statsctl load --threads 4 --count 1 $own_tags | grep -q failed; }
# All atoms' answers, and what else the row looks at.
everything() {
    statsctl load --count 1
    sample now
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

# Without the service, with it again, and the end of the load.
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

# Frozen first, so that calls are under way when it dies.
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

# As many of its atoms as leave the daemon's pool a thread to spare.
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

# What brings a row's atoms back that do not come back by themselves.
bring_back() { restart_daemon; }

answers_only() { cut -d ' ' -f 1,2,5- | sort; }
run_row() {
    wait_for 20 all_registered
    all_tags=$(statsctl registrations | awk 'NR > 1 { print $2 }')
    # The counters stand still, and at 0: an atom that counts from the pull before then gives the same
    # whenever that was.
    rm -f /profile/nodes/*.[0-9]
    sed -i 's/Time(msec):[0-9]*/Time(msec):0/' /profile/nodes/power_ddr_residency
    sed -i 's/[0-9][0-9]*/0/g' /profile/nodes/gpu_freq_time_qual
    restart_daemon
    everything >/dev/null
    everything | answers_only >whole
    for column in $columns; do
        echo "cell $column"
        descriptors_before=$(descriptors)
        cost
        "$column"
        wait_for 5 at_rest
        cost
        everything | answers_only >now
        if ! cmp -s whole now; then
            bring_back
            everything >/dev/null
        fi
    done
}
