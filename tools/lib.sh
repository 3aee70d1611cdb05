# shellcheck shell=bash
# Shared by the project's shell scripts: progress with the elapsed time, failing with one line,
# waiting for each other, and what differs between architectures. The time counts from ZSTATS_START (seconds), so that scripts which call
# each other agree.

ZSTATS_START=${ZSTATS_START:-$(date +%s)}
export ZSTATS_START

progress() {
    printf '[%4d s] %s\n' $(($(date +%s) - ZSTATS_START)) "$*" >&2
}

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# take_lock FILE WHAT: waits until no other script holds FILE. The lock lasts until this script and
# all programs that it started have ended, so that one which outlives the script still holds it.
take_lock() {
    local lock
    mkdir -p "$(dirname "$1")"
    exec {lock}>>"$1"
    flock --nonblock "$lock" && return
    progress "waiting for $2"
    flock "$lock"
}

readonly ARCHITECTURES=${BASH_SOURCE[0]%/*}/architectures

# value_of ARCHITECTURE KEY: from tools/architectures; empty where there is none.
value_of() { sed -nE "s/^$1 +$2( +(.*))?$/\2/p" "$ARCHITECTURES"; }

# own_architecture: this machine's.
own_architecture() {
    local machine own
    machine=$(uname -m)
    own=$(sed -nE "s/^([^# ]+) +machine +$machine$/\1/p" "$ARCHITECTURES")
    echo "${own:-$machine}"
}

# check_architecture NAME: ends the script unless the table has it.
check_architecture() {
    [ -n "$(value_of "$1" machine)" ] || die "unknown architecture '$1' (see tools/architectures)"
}
