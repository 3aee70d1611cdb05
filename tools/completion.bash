# shellcheck shell=bash
# Bash completion for ./run, ./vdev, ./test, ./fuzz, ./bench, and for statsctl where it is installed:
#
#   . tools/completion.bash
#
# The words come from the programs' help and the project's tables.

_zstats_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# _zstats_offer WORDS: offers those that begin with the word at the cursor.
_zstats_offer() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current"); }
_zstats_files() { mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen "$1" -- "$current"); }

# _zstats_options COMMAND...: prints the options in its help.
_zstats_options() { "$@" --help 2>/dev/null </dev/null | grep -oE -- '--[a-z][a-z-]*' | sort -u; }

_zstats_atoms() { grep -oE '= 1[0-9]{5};' "$_zstats_root/proto/zstats_atoms.proto" | tr -dc '0-9\n'; }

# _zstats_devices: those that stay.
_zstats_devices() { "$_zstats_root/vdev" status 2>/dev/null </dev/null | cut -d ' ' -f 1; }

# _zstats_value OPTION: offers values of the option; fails if it takes none.
_zstats_value() {
    case $1 in
    --profile) _zstats_offer "$(ls "$_zstats_root/vdevice/profiles")" && _zstats_files -d ;;
    --arch) _zstats_offer "$(sed -nE 's/^(\w+) +machine .*/\1/p' "$_zstats_root/tools/architectures")" ;;
    --scenario)
        _zstats_offer "default $(find "$_zstats_root/vdevice/profiles" -name 'scenario.*' |
            sed 's/.*scenario\.//')"
        ;;
    --add | --log | -o) _zstats_files -f ;;
    --build-dir) _zstats_files -d ;;
    --name) _zstats_offer "$(_zstats_devices)" ;;
    --attach) [[ $current != -* ]] && _zstats_offer "$(_zstats_devices)" ;;
    --for | --timeout) COMPREPLY=() ;;
    *) return 1 ;;
    esac
}

# _zstats_kinds PROGRAM: offers kinds and, after a kind of tests with cases, its cases.
_zstats_kinds() {
    local word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case ${1##*/}/$word in
        test/system) _zstats_offer "$("$_zstats_root/tests/system/run" --list)" && return ;;
        test/faults) _zstats_offer "$("$_zstats_root/tests/system/faults/run" --list)" && return ;;
        esac
    done
    _zstats_offer "$("$1" --list)"
}

_zstats_complete() {
    local program=$_zstats_root/${1##*/} current=$2 commands
    local words=("$program") first=${COMP_WORDS[1]}
    COMPREPLY=()
    _zstats_value "$3" && return
    if [ "${1##*/}" = vdev ]; then
        commands=$("$program" --help | grep -oE -m 1 '[a-z]+(\|[a-z]+)+')
        [[ $COMP_CWORD -gt 1 || $current == -* ]] || { _zstats_offer "${commands//|/ }"; return; }
        [[ "|$commands|" != *"|$first|"* ]] || words+=("$first")
    fi
    if [[ $current == -* ]]; then
        _zstats_offer "$(_zstats_options "${words[@]}")"
    elif [[ ${1##*/}/$first == run/* || ${1##*/}/$first == vdev/trace ]]; then
        _zstats_offer "$(_zstats_atoms)"
    elif [[ ${1##*/}/$first == vdev/@(status|stop) ]]; then
        _zstats_offer "$(_zstats_devices)"
    elif [[ ${1##*/}/$first == vdev/@(push|pull) ]]; then
        _zstats_files -f
    elif [ "${1##*/}" != vdev ]; then
        _zstats_kinds "$program"
    fi
}

_zstats_statsctl() {
    local current=$2 command=${COMP_WORDS[1]}
    COMPREPLY=()
    if [[ $current == -* ]]; then
        if [ "$COMP_CWORD" -gt 1 ]; then
            _zstats_offer "$(_zstats_options "$1" "$command")"
        else
            _zstats_offer "$(_zstats_options "$1")"
        fi
    elif [ "$COMP_CWORD" -eq 1 ]; then
        _zstats_offer "$("$1" --help | sed -nE 's/^.{6} statsctl ([a-z]+).*/\1/p')"
    else
        case $("$1" "$command" --help | head -n 1) in
        *FILE*) _zstats_files -f ;;
        *ID*) _zstats_offer "$("$1" atoms | grep -oE '^[0-9]+')" ;;
        esac
    fi
}

complete -F _zstats_complete ./run ./vdev ./test ./fuzz ./bench run vdev fuzz bench
complete -F _zstats_statsctl statsctl
