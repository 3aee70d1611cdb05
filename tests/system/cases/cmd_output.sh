# profile: qcom
# checks: 5
# A service may write into the output and errors of a shell's command: pipes, like this case's, and a
# pseudo-terminal.

in_a_terminal() { inpty "$@" | tr -d '\r'; }

expected='39 pullers, 0 subscriptions'
cmd stats print-stats && ok pipe || not_ok pipe "status $?"
is pipe/text "$expected" "$(cmd stats print-stats | head -n 1)"
is terminal/text "$expected" "$(in_a_terminal cmd stats print-stats | grep pullers)"
expected='openfileprobe: wants [--late] PATH CONTEXT MODE, or --label PATH CONTEXT'
is pipe/other_service "$expected" "$(cmd openfileprobe 2>&1)"
is terminal/other_service "$expected" "$(in_a_terminal cmd openfileprobe)"
