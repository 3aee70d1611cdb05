# profile: qcom
# checks: 87
# The device's programs print help and refuse wrong calls.

# program COMMAND...: its help is on standard output, and begins with its usage.
program() {
    "$@" --help >out 2>err
    is "help/$*" "0 usage: $*" "$? $(head -n 1 out | cut -d ' ' -f "1-$(($# + 1))")$(cat err)"
}

# wrong LINE COMMAND...: it says this one line on standard error and ends with 2.
wrong() {
    line=$1
    shift
    "$@" >out 2>err </dev/null
    is "wrong/$*" "2 $line" "$? $(cat out err)"
}

shell_tools="asuid chcon inpty logcat runcon"
for command in pull load registrations pushed explain subscribe trace watch; do
    program statsctl $command
    wrong "statsctl $command: unknown option '--nonsense'" statsctl $command --nonsense
done
for name in statsctl kestrel zstats_record pullbench svcwait scenario "cmd openfileprobe" $shell_tools; do
    program $name
done
for name in statsctl kestrel zstats_record pullbench svcwait scenario $shell_tools; do
    wrong "$name: unknown option '--nonsense'" $name --nonsense
done

wrong "statsctl: wants a command (--help lists them)" statsctl
wrong "statsctl: unknown command 'frob' (--help lists them)" statsctl frob
for command in pull load explain; do
    wrong "statsctl $command: no such pulled atom: 150999" statsctl $command 150999
    wrong "statsctl $command: no such pulled atom: 100207" statsctl $command 100207
    wrong "statsctl $command: unknown option '-1'" statsctl $command -1
    wrong "statsctl $command: not an atom id: 'level'" statsctl $command level
done
for command in "subscribe --for 1" "watch --for 1" "trace --for 1 file"; do
    wrong "statsctl ${command%% *}: no such atom: 2 150999" statsctl $command 2 150005 150999
    wrong "statsctl ${command%% *}: unknown option '-1'" statsctl $command -1
done
is no_file "no" "$([ -e file ] || echo no)"
wrong "statsctl subscribe: wants atom ids" statsctl subscribe --for 1
wrong "statsctl trace: wants FILE, or -" statsctl trace
wrong "statsctl explain: takes one atom id" statsctl explain
wrong "statsctl registrations: takes no atom id" statsctl registrations 150005
wrong "statsctl pull: --json takes no value" statsctl pull --json=3
wrong "statsctl load: a value must follow --count" statsctl load --count
wrong "statsctl load: --threads: 'x' is no number from 0 to 2147483647" statsctl load --threads x
wrong "kestrel: --type: '1x' is no number from -2147483648 to 2147483647" kestrel --type 1x
wrong "kestrel: --data-type: '40000' is no number from -32768 to 32767" kestrel --data-type 40000
wrong "kestrel: --path: wants 1 to 1023 characters" kestrel --path ''
wrong "kestrel: takes no word ('x')" kestrel x
wrong "zstats_record: wants DIR" zstats_record
wrong "zstats_record: --samples: '0' is no number from 1 to 2147483647" zstats_record /tmp/r --samples 0
wrong "scenario: wants FILE" scenario
wrong "scenario: takes --now or --values, not both" scenario --now --values 1 file
wrong "pullbench: wants a command (--help lists them)" pullbench
wrong "pullbench soak: wants PULLS PAUSE" pullbench soak
wrong "pullbench latency: '0' is no number from 1" pullbench latency 5 0
wrong "pullbench registrations: takes no word" pullbench registrations 3
wrong "openfileprobe: wants [--late] PATH CONTEXT MODE, or --label PATH CONTEXT" cmd openfileprobe
wrong "asuid: wants UID COMMAND..." asuid 2000
wrong "asuid: no such user: 'x'" asuid x id
wrong "chcon: wants LABEL FILE..." chcon u:object_r:system_file:s0
wrong "inpty: wants COMMAND..." inpty
wrong "logcat: takes no word ('x')" logcat -d x
wrong "runcon: wants LABEL COMMAND..." runcon u:r:shell:s0
is options_of_a_command "--help" "$(asuid 2000 sh -c 'echo "$1"' sh --help)"
