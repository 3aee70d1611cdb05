# profile: qcom
# checks: 15
# Invalid configurations end only their own subscription.

running() { cmd stats print-stats | sed -n '1s/.*, \(.*\) subscriptions/\1/p'; }
running_is() { [ "$(running)" = "$1" ]; }
wait_for 20 running_is 0
statsctl subscribe 150005 --json >stream 2>stream.err &
stream=$!
atoms() { grep -c '"atom":150005,' stream; }
wait_for 10 running_is 1

# refused NAME LOG_LINE: the input is not a valid configuration; the command ends.
refused() {
    before=$(log_count "$2")
    cmd stats data-subscribe >out 2>err
    is $1/status "0 " "$? $(cat out err)"
    is $1/logged $((before + 1)) "$(log_count "$2")"
    is $1/others 1 "$(running)"
}
printf '\005\0\0\0\0\0\0\0\377\377\377\377\377' | refused malformed 'subscription: malformed configuration'
printf '\005\0\0\0\0\0\0\0ab' | refused short 'subscription: configuration is cut short'
printf '\005\0\0' | refused no_length 'subscription: no length'

# More than 50 KiB, at 45 bytes for each id. The stream ends.
statsctl subscribe --any $(seq 150000 151299) --for 5 --json >out 2>err
is oversized "1 statsctl: the stream has ended" "$? $(cat out err)"
has oversized/logged 'configuration of 58500 bytes is too large' "$(daemon_log statsd)"
statsctl subscribe --any $(seq 150000 151136) --for 1 --json >out 2>err
is largest "0 " "$? $(grep -vh '"atom":150\|^{"recording"' out err)"
count=$(atoms)
goes_on() { [ "$(atoms)" -ge $((count + 2)) ]; }
wait_for 20 goes_on && ok others_stream || not_ok others_stream "$(atoms) atoms, $count before"
kill $stream
wait $stream 2>/dev/null
is others_go_on "" "$(cat stream.err)"
wait_for 20 running_is 0 && ok all_end || not_ok all_end "$(running) run"
