# shellcheck shell=bash
# Shared by the project's shell scripts: options, progress with the elapsed time, one-line errors, locks, and
# the table of architectures. The time counts from ZSTATS_START (seconds), which scripts pass to scripts that
# they call. Source it before changing the folder.

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

# wrong_call TEXT: ends the script with status 2, for a wrong call.
wrong_call() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 2
}

# print_help: prints the comment at the head of the script.
print_help() { sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$SCRIPT"; }

# help_alone WORD...: prints the help and ends the script if a word is --help or -h.
help_alone() {
    case " $* " in
    *" --help "* | *" -h "*) print_help && exit ;;
    esac
}

# take_options LONG_OPTIONS WORD...: sets the array `words` to the options of a call, "--", and the other
# words. LONG_OPTIONS is getopt's list; "+" before it ends the options at the first other word. Ends the
# script after printing the help (--help, -h), or an error for a wrong option.
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

# within SECONDS COMMAND...: the command's status, or 124 after the time limit. The command is killed ten
# seconds after the request to end.
within() {
    local seconds=$1
    shift
    timeout --foreground --kill-after=10 "$seconds" "$@"
}

# take_lock FILE WHAT: waits until no other script holds FILE. The lock lasts until this script and all
# programs that it started have ended.
take_lock() {
    local lock
    mkdir -p "$(dirname "$1")"
    exec {lock}>>"$1"
    flock --nonblock "$lock" && return
    progress "waiting for $2"
    flock "$lock"
}

readonly ARCHITECTURES=$PROJECT/tools/architectures

# value_of ARCHITECTURE KEY: the value in tools/architectures; empty if missing.
value_of() { sed -nE "s/^$1 +$2( +(.*))?$/\2/p" "$ARCHITECTURES"; }

# own_architecture: this machine's architecture.
own_architecture() {
    local machine own
    machine=$(uname -m)
    own=$(sed -nE "s/^([^# ]+) +machine +$machine$/\1/p" "$ARCHITECTURES")
    echo "${own:-$machine}"
}

# check_architecture NAME: ends the script if the table lacks it.
check_architecture() {
    [ -n "$(value_of "$1" machine)" ] || wrong_call "unknown architecture '$1' (see tools/architectures)"
}
