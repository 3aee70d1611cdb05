# shellcheck shell=bash
# Shared by the project's shell scripts: progress with the elapsed time, failing with one line, and
# waiting for each other. The time counts from ZSTATS_START (seconds), so that scripts which call
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
