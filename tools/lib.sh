# shellcheck shell=bash
# Shared by the project's shell scripts: reading options, progress with the elapsed time, failing with
# one line, waiting for each other, and what differs between architectures. The time counts from
# ZSTATS_START (seconds), so that scripts which call each other agree. It is sourced before a script
# changes its folder.

PROJECT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
SCRIPT=$(cd "$(dirname "$0")" && pwd)/${0##*/}
readonly PROJECT SCRIPT
ZSTATS_START=${ZSTATS_START:-$(date +%s)}
export ZSTATS_START
words=()

progress() {
    printf '[%4d s] %s\n' $(($(date +%s) - ZSTATS_START)) "$*" >&2
}

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# wrong_call TEXT: ends the script as one that was called wrongly.
wrong_call() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 2
}

# print_help: the comment at the head of the script, which says how it is called.
print_help() { sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$SCRIPT"; }

# help_alone WORD...: prints the help and ends the script if the call asks for it; reads nothing else.
help_alone() {
    case " $* " in
    *" --help "* | *" -h "*) print_help && exit ;;
    esac
}

# take_options LONG_OPTIONS WORD...: leaves in the array `words` the options of a call, then "--" and
# its other words. LONG_OPTIONS is getopt's list; "+" before it ends the options at the first other
# word. With --help or -h the script prints its help and ends, and with a wrong option it ends, too.
take_options() {
    local order="" options=${1#+} word parsed
    [ "$options" = "$1" ] || order=+
    shift
    parsed=$(LC_ALL=C getopt -n "${0##*/}" -o "${order}h" -l "help${options:+,$options}" -- "$@" 2>&1) || {
        printf '%s\n' "${parsed%%$'\n'*}" >&2
        exit 2
    }
    eval "words=($parsed)"
    for word in "${words[@]}"; do
        case $word in
        -h | --help) print_help && exit ;;
        --) break ;;
        esac
    done
}

# within SECONDS COMMAND...: the command's status, or 124 if it took longer. It has ten more seconds to
# end when it is told to.
within() {
    local seconds=$1
    shift
    timeout --foreground --kill-after=10 "$seconds" "$@"
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

readonly ARCHITECTURES=$PROJECT/tools/architectures

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
    [ -n "$(value_of "$1" machine)" ] || wrong_call "unknown architecture '$1' (see tools/architectures)"
}
