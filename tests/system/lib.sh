# Sourced before every case of the system tests, inside the device. A case prints a line for each check: "ok NAME"
# or "not ok NAME: reason". $ATOM_ORDER has the tags of tests/registered_atoms.

ATOMS=$(echo "$ATOM_ORDER" | wc -w)

ok() { echo "ok $1"; }
not_ok() { echo "not ok $1: $2"; }

# is NAME EXPECTED ACTUAL: the two texts are equal.
is() {
    if [ "$2" = "$3" ]; then ok "$1"; else not_ok "$1" "expected '$2', got '$3'"; fi
}

# has NAME PATTERN TEXT: the text holds the fixed string.
has() {
    case $3 in
    *"$2"*) ok "$1" ;;
    *) not_ok "$1" "no '$2' in '$(echo "$3" | tail -n 5)'" ;;
    esac
}

# has_not NAME PATTERN TEXT
has_not() {
    case $3 in
    *"$2"*) not_ok "$1" "'$2' in '$(echo "$3" | tail -n 5)'" ;;
    *) ok "$1" ;;
    esac
}

# wait_for SECONDS COMMAND...: waits until the command succeeds; fails after the time. $PATIENCE, if set, is a factor
# for busy machines.
wait_for() {
    deadline=$(($(seconds) + $1 * ${PATIENCE:-1}))
    shift
    while ! "$@" >/dev/null 2>&1; do
        [ "$(seconds)" -lt $deadline ] || return 1
        usleep 100000
    done
}
seconds() { date +%s; }

# Registered services; the log of the daemon, or of another tag.
service_is_there() { dumpsys -l | grep -qx "  $1"; }
daemon_log() { logcat -d | grep " ${1:-zstats_pullerd}: "; }
# The messages of init, from the kernel's log, which has them before the device's log.
init_log() { dmesg | sed -n 's/^.*\] init: //p'; }
# The number of lines of the log with the fixed string.
log_count() { logcat -d | grep -cF -- "$1"; }
log_has_more() { [ "$(log_count "$1")" -gt "$2" ]; }

# The last line of a tag as "PRIORITY TEXT".
last_line() { logcat -d | sed -n "s/^[-0-9]* [.:0-9]* *[0-9]* *[0-9]* *[0-9]* \([VDIWEF]\) $1: /\1 /p" | tail -n 1; }

# Pulls as JSON, after the cool-down of the previous pull.
pull() { statsctl pull --json --fresh "$@"; }

# The events of a recording, in the format of a pull.
without_times() { sed 's/,"elapsed_ns":[0-9]*,"time":"[^"]*","boot_id":"[^"]*"//'; }

# Registrations of living processes.
registered() { statsctl registrations 2>/dev/null | tail -n +2 | grep -vc 'has died'; }
all_registered() { [ "$(registered)" -eq "$ATOMS" ]; }
# registers CHECK: the daemon registers all atoms. A constant other number ends the case; later cases of the boot do
# not wait as long.
registers() {
    standstill=$(cat /tmp/standstill 2>/dev/null || echo 30)
    atoms_now=$(registered)
    atoms_since=$(seconds)
    while [ "$atoms_now" -lt "$ATOMS" ] && [ $(($(seconds) - atoms_since)) -lt "$standstill" ]; do
        usleep 100000
        atoms_before=$atoms_now
        atoms_now=$(registered)
        [ "$atoms_now" -eq "$atoms_before" ] || atoms_since=$(seconds)
    done
    if [ "$atoms_now" -ne "$ATOMS" ]; then
        echo 3 >/tmp/standstill
        not_ok "${1:-registers}" "$atoms_now atoms are registered, and tests/registered_atoms has $ATOMS"
        exit 1
    fi
    [ "$1" = "" ] || ok "$1"
}

# threads_in CALL PID: the number of threads of a process in that system call, whose number depends on the
# processor.
threads_in() {
    case $1-$(uname -m) in
    read-x86_64) number=0 ;;
    write-x86_64) number=1 ;;
    ioctl-x86_64) number=16 ;;
    read-aarch64) number=63 ;;
    write-aarch64) number=64 ;;
    ioctl-aarch64) number=29 ;;
    esac
    cat "/proc/$2"/task/*/syscall | grep -c "^$number "
}

state_of() { getprop "init.svc.$1"; }
state_is() { [ "$(state_of "$1")" = "$2" ]; }
# has_gone PID: the process has ended, and init has noticed.
has_gone() { [ ! -d "/proc/$1" ]; }
# crash NAME: kills a service and starts it at once, without init's 5 s.
crash() {
    crashed=$(pidof "$1")
    kill -9 "$crashed"
    wait_for 10 has_gone "$crashed"
    start "$1"
}
daemon_pid() { pidof zstats_pullerd; }
# statsd notices a dead puller when it asks it. A pull of each atom removes the old daemon's registrations before
# the next daemon registers.
none_registered() {
    statsctl load --count 1 >/dev/null
    [ "$(registered)" -eq 0 ]
}
# Restarts the daemon and waits for the registration of its last atom.
restart_daemon() {
    stop zstats_pullerd
    wait_for 20 none_registered
    start zstats_pullerd
    wait_for 20 service_is_there zstats_pullerd
    registers ""
}
