# The rows of docs/faults.md: program, service, and the columns that differ. Sourced after row.sh.
# shellcheck disable=SC2034,SC2086,SC2154  # used there, lists of words, and set there

handle_factory() {
    program=handlefactory
    service=vendor.norda.hardware.handlefactory.IHandleFactory/default
}

charger() {
    program=charger
    service=vendor.norda.hardware.charger.ICharger/default
}

touch_service() {
    program="touch"
    service=vendor.norda.hardware.touch.INordaTouch/default
}

# calda, thermalservice, audio
of_one_name() {
    program=$1
    service=$1
}

# The library's substitute reads the file at each pull.
usage_data() {
    records_become() {
        begin_load $all_tags
        mv /profile/uah /tmp/uah
        "$@" >/profile/uah
        sample during
        mv /tmp/uah /profile/uah
        sample after
        end_load
    }
    absent_at_start() { records_become true; }
    error() { records_become echo '!fail'; }
    wrong_interface() { records_become echo '!nontext'; }
    megabytes() { records_become awk 'BEGIN { for (i = 0; i < 65536; ++i) printf "0123456789abcdef"; print ",1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16" }'; }
    garbage() { records_become echo ZZZZZZZZ; }
}

# Its atoms are all atoms. There are no pulls while it is away.
statsd() {
    program=statsd
    service=stats
    start_daemon_anew() {
        stop zstats_pullerd
        wait_for 20 state_is zstats_pullerd stopped
        [ -z "$(pidof statsd)" ] || wait_for 20 none_registered
        start zstats_pullerd
        wait_for 20 service_is_there zstats_pullerd
    }
    absent_at_start() {
        stop_service
        start_daemon_anew
        sample during
        start_service
        wait_for 20 service_is_there stats
        sample after
    }
    # It returns while the daemon's pull library looks for it.
    kill_statsd() {
        crash statsd
        wait_for 20 service_is_there stats
        wait_for 20 all_registered
    }
    killed_before_calls() {
        restart_daemon
        kill_statsd
        sample after
    }
    killed_during_calls() {
        begin_load $all_tags
        sleep 1
        kill_statsd
        sample after
        end_load
    }
    killed_between_calls() {
        kill_statsd
        sample after
    }
    stopped_and_continued() {
        begin_load $all_tags
        freeze
        sleep 3
        thaw
        sample after
        end_load
    }
    # The daemon registers once, at its start.
    answers_with() {
        set_fault "$1"
        start_daemon_anew
        wait_for 2 all_registered
        sample during
        clear_fault
        sample after
    }
    wrong_interface() {
        stop_service
        set_fault interface
        start_service
        start_daemon_anew
        sample during
        stop_service
        clear_fault
        start_service
        wait_for 20 service_is_there stats
        sample after
    }
}

# No service can be looked up while it is away, and after its return it has none: the tools look statsd up first.
servicemanager() {
    program=servicemanager
    prepare() {
        mkfifo "go.$1"
        statsctl load --threads 4 --count 1 --wait $own_tags <>"go.$1" 2>"waits.$1" |
            sed "s/^/$1 /" >"sampled.$1" &
        eval "sampler_$1=$!"
        wait_for 20 grep -q waiting "waits.$1"
    }
    prepare_samples() {
        rm -f go.* waits.*
        prepare during
        prepare after
    }
    sample() {
        echo 1<>"go.$1"
        eval "wait \$sampler_$1"
        cat "sampled.$1"
    }
    everything() { statsctl load --count 1 | sed 's/^/now /'; }
    manager_is_back() { service_is_there manager; }
    kill_and_sample() {
        prepare_samples
        kill -9 "$(pidof servicemanager)"
        sample during
        wait_for 20 manager_is_back
        sample after
    }
    killed_before_calls() {
        restart_daemon
        kill_and_sample
    }
    killed_during_calls() {
        begin_load $all_tags
        sleep 1
        kill_and_sample
        end_load
    }
    killed_between_calls() { kill_and_sample; }
    stopped_and_continued() {
        prepare_samples
        begin_load $all_tags
        freeze
        sample during
        thaw
        wait_for 20 service_is_there audio
        sample after
        end_load
    }
    # No service registers again by itself.
    bring_back() {
        for name in handlefactory charger touch calda thermalservice audio systemserver statsd; do
            stop $name
            wait_for 20 state_is $name stopped
            start $name
        done
        svcwait stats statscompanion audio thermalservice calda
        restart_daemon
    }
}

# Its atom is pushed when a record arrives.
kernel_channel() {
    last_pushed() { statsctl pushed --json | grep 100207 | tail -n 1 | sed 's/.*"fields":\([^]]*]\).*/\1/'; }
    pushes() { statsctl pushed --json | grep -c 100207; }
    push_came() { [ "$(pushes)" -gt "$pushed_before" ]; }
    # inject STAGE ARGUMENT...: injects a record and prints its atom.
    inject() {
        stage=$1
        shift
        pushed_before=$(pushes)
        answer=none
        if kestrel "$@" 2>/dev/null && wait_for 2 push_came; then answer=$(last_pushed); fi
        echo "$stage 100207 1 0 $answer"
    }
    sample() { inject "$1" --type 7 --pe 1 --lnr 2 --bnr 3 --info x; }
    # features_at_start LINE
    features_at_start() {
        touch /profile/features
        cp /profile/features /tmp/features
        echo "$1" >>/profile/features
        restart_daemon
        cp /tmp/features /profile/features
        begin_load $all_tags
        sample during
        sample after
        end_load
    }
    absent_at_start() { features_at_start bpf=unsupported; }
    error() { features_at_start bpf_connect=-5; }
    call_fails() { features_at_start bpf_region=0; }
    killed_between_calls() {
        begin_load $all_tags
        kestrel --disconnect
        sample during
        sample after
        end_load
    }
    megabytes() {
        begin_load $all_tags
        inject during --type 7 --pe 1 --lnr 2 --bnr 3 --info "$(head -c 4000 /dev/zero | tr '\0' x)"
        sample after
        end_load
    }
    garbage() {
        begin_load $all_tags
        inject during --flag 2 --type 7
        inject during --null
        sample after
        end_load
    }
    random_order() {
        begin_load $all_tags
        pushed_before=$(pushes)
        for i in 1 2 3 4 5 6 7 8; do kestrel --type 7 --pe 1 --lnr 2 --bnr 3 --info x & senders="$senders $!"; done
        wait $senders
        all_came() { [ "$(pushes)" -eq $((pushed_before + 8)) ]; }
        wait_for 5 all_came && echo "during 100207 8 0 $(last_pushed)"
        sample after
        end_load
    }
}
