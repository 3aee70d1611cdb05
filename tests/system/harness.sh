# Runs the cases of a boot, inside the device, in the folder that tests/system/boot_script created.

# The processes that a signal ended in this boot, as crashes.awk lists them.
crashes() { { dmesg; logcat -d; } | awk -f crashes.awk | sort -u; }

# without FILE LINES: the lines of the second file that are not in the first.
without() { awk 'FILENAME == ARGV[1] { known[$0]; next } !($0 in known)' "$1" "$2"; }

# Those since the previous check, as "PROGRAM SIGNAL".
new_crashes() {
    crashes >crashes.now
    touch crashes.seen
    without crashes.seen crashes.now | cut -d ' ' -f 1,2 | sort -u
}

# check_crashes NAME EXPECTED: reports crashes since the last check that are unexpected (+) or missing (-). Waits
# until expected ones are logged.
check_crashes() {
    left=20
    new_crashes >crashes.found
    while [ -n "$(without crashes.found "$2")" ] && [ $left -gt 0 ]; do
        usleep 500000
        left=$((left - 1))
        new_crashes >crashes.found
    done
    mv crashes.now crashes.seen
    diff -U 0 "$2" crashes.found | sed -n "s|^\([-+][^-+]\)|not ok $1/crashes: \1|p"
}

# fault_of NAME LIMIT: why the last case failed; empty if it passed.
fault_of() {
    ended=$(cat "$1.status")
    good=$(grep -c '^ok ' "$1.out")
    wanted=$(cat "$1.checks")
    if [ "$ended" -eq 137 ] && [ "$took" -ge "$2" ]; then
        echo "took longer than $2 s"
    elif [ "$ended" -ne 0 ]; then
        echo "ended with status $ended"
    elif [ ! -e "$1.end" ]; then
        echo "ended before its last line"
    elif ! grep -q '^ok \|^not ok ' "$1.out"; then
        echo "printed no result"
    elif [ "$good" != "$wanted" ] && ! grep -q '^not ok ' "$1.out"; then
        echo "made $good checks, and its head says ${wanted:-nothing}"
    fi
}

# run_case NAME LIMIT: in a separate session, which is killed at the end.
run_case() {
    began=$(date +%s)
    {
        setsid timeout -s KILL "$2" sh "./$1.sh" </dev/null 2>"$1.err" &
        wait $!
        echo $? >"$1.status"
        kill -KILL -$! 2>/dev/null
    } | sed "s|^ok |ok $1/|;s|^not ok |not ok $1/|" | tee "$1.out"
    took=$(($(date +%s) - began))
    sed "s|^|# $1: |" "$1.err" | tail -n 20
    check_crashes "$1" "$1.crashes"
    fault=$(fault_of "$1" "$2")
    if [ -z "$fault" ]; then echo "ok $1/ended"; else echo "not ok $1/ended: $fault"; fi
    echo "$1 took $took s" >&2
}

# The denials of SELinux are exactly those that the cases of this boot list.
check_denials() {
    { dmesg; logcat -d; } |
        sed -n 's/ [pug]id=[0-9]*//g;s/ ino=[0-9]*//;s/ permissive=0//;s/[^a-z_0-9}]$//;s/.*avc: *denied *//p' |
        sort -u >denials
    diff -U 0 denials.expected denials | grep '^[-+][^-+]' >denials.wrong
    if [ -s denials.wrong ]; then sed "s/^/not ok denials: /" denials.wrong; else echo "ok denials"; fi
}
