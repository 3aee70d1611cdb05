# profile: qcom
# checks: 15
# crash: statsd 9
# Without statsd at its start, the daemon serves but gets no pulls. A statsd that dies later gets the
# registrations again.

answered() { statsctl pull --json 150005 2>/dev/null | grep -q '"fields"'; }

registers start/registered

stop zstats_pullerd
stop statsd
wait_for 10 state_is statsd stopped
before=$(log_count 'pullerd:  Get statsd service fail')
start zstats_pullerd
wait_for 10 service_is_there zstats_pullerd
is absent/logged $((before + 1)) "$(log_count 'pullerd:  Get statsd service fail')"
has absent/second-line 'pullerd: mStatsd is null' "$(daemon_log)"
has absent/dumps 'ZstatsPullerService::dump' "$(dumpsys zstats_pullerd --rgbLog 1)"
has absent/other-service atomacq "$(dumpsys -l)"
start statsd
wait_for 10 service_is_there stats
sleep 1
is absent/no-later-registration 0 "$(registered)"

restart_daemon
registers back/registered

before=$(log_count 'statsd service died, will try to reconnect.')
pid=$(daemon_pid)
# statsd returns while the library looks for it, although its restart may take 5 s.
crash statsd
wait_for 10 log_has_more 'statsd service died, will try to reconnect.' "$before" &&
    ok death/logged || not_ok death/logged 'no line'
registers death/registered-again
is death/same-daemon "$pid" "$(daemon_pid)"
if wait_for 10 answered; then ok death/answered; else not_ok death/answered 'no event'; fi

# A statsd that returns after the library has given up gets no registrations.
gave_up="Service stats didn't start. Returning NULL"
before=$(log_count "$gave_up")
stop statsd
wait_for 20 log_has_more "$gave_up" "$before" && ok late/given_up || not_ok late/given_up 'no line'
start statsd
wait_for 10 service_is_there stats
sleep 1
is late/not_registered 0 "$(registered)"
is late/same_daemon "$pid" "$(daemon_pid)"
restart_daemon
if all_registered; then ok late/registered_by_a_new_daemon; else not_ok late/registered_by_a_new_daemon "$(registered) of $ATOMS"; fi
