# shellcheck shell=bash
# Counts what tests print, in `passed` and `failed`. Comes after tools/lib.sh. Each program has a limit;
# one that exceeds it, or that ends early, is a failure that names the test that ran.

passed=0
failed=0

# count NAME LOG LIMIT STATUS GOOD BAD RUNNING: adds up a program's results. A program that failed
# without a failed test counts as one, and RUNNING, the test that it did not end, is named.
count() {
    local name=$1 log=$2 limit=$3 status=$4 good=$5 bad=$6 running=$7
    if [ "$status" -ne 0 ]; then
        [ "$bad" -gt 0 ] && [ -z "$running" ] || bad=$((bad + 1))
        cat "$log"
        [ -z "$(tail -c 1 "$log")" ] || echo
        case $status in
        124 | 137) echo "$name took longer than $limit s${running:+, in $running}" ;;
        *) echo "$name ended with status $status${running:+, in $running}" ;;
        esac
    fi
    progress "$name: $good passed, $bad failed"
    passed=$((passed + good))
    failed=$((failed + bad))
}

# run_gtest SECONDS FOLDER PROGRAM...: two at a time, each with a log in FOLDER; counted in their order.
run_gtest() { run_two_at_a_time gtest "$@"; }
start_gtest() { within "$1" "$2" --gtest_shuffle --gtest_brief=0; }
count_gtest() {
    local log=$2 good bad running
    good=$(grep -c '^\[       OK \]' "$log" || true)
    bad=$(grep -c '^\[  FAILED  \] .*ms)$' "$log" || true)
    # A test's own output may precede the line that ends it.
    running=$(awk '/^\[ RUN      \] / { test = $4 } /\[       OK \] |\[  FAILED  \] / { test = "" }
        END { print test }' "$log")
    count "$@" "$good" "$bad" "$running"
}

# run_python SECONDS FOLDER PROGRAM...: in the same way; each method counts.
run_python() { run_two_at_a_time python "$@"; }
start_python() { within "$1" /usr/bin/python3 -B "$2" -v; }
count_python() {
    local log=$2 good bad running
    good=$(grep -c ' \.\.\. ok$' "$log" || true)
    bad=$(grep -c -E ' \.\.\. (FAIL|ERROR)$' "$log" || true)
    running=$(sed -n '$s/^\(test_[^ ]*\) .* \.\.\. *$/\1/p' "$log")
    count "$@" "$good" "$bad" "$running"
}

# run_two_at_a_time KIND SECONDS FOLDER PROGRAM...
run_two_at_a_time() {
    local kind=$1 limit=$2 folder=$3 program status started=()
    shift 3
    for program in "$@"; do
        while [ "$(jobs -rp | wc -l)" -ge 2 ]; do wait -n || true; done
        "start_$kind" "$limit" "$program" >"$folder/${program##*/}.log" 2>&1 </dev/null &
        started+=($!)
    done
    for program in "$@"; do
        status=0
        wait "${started[0]}" || status=$?
        started=("${started[@]:1}")
        "count_$kind" "${program##*/}" "$folder/${program##*/}.log" "$limit" "$status"
    done
}

# verdicts SECONDS COMMAND...: counts the lines "ok NAME" and "not ok NAME: reason" that it prints.
verdicts() {
    local line status=0 before=$failed limit=$1
    shift
    while IFS= read -r line; do
        case $line in
        "ok "*) passed=$((passed + 1)) ;;
        "not ok "*) failed=$((failed + 1)); echo "$line" ;;
        *) echo "$line" ;;
        esac
    done < <(within "$limit" "$@")
    wait $! || status=$?
    [ "$status" -ne 124 ] || echo "$1 took longer than $limit s"
    if [ "$status" -ne 0 ] && [ "$failed" -eq "$before" ]; then
        echo "$1 ended with status $status and named no failure"
        failed=$((failed + 1))
    fi
}
