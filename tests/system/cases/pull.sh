# profile: qcom
# What statsctl pull says of tags that are named twice, unknown or not answered, and whose values a
# reader of the handle factory gets.

is each_tag_once '150030 150005' "$(pull 150030 150005 150030 | sed 's/.*"atom":\([0-9]*\).*/\1/' | xargs)"
out=$(pull 150999)
is unknown_tag '1 {"atom":150999,"name":"unknown","failed":"no puller registered"}' "$? $out"
statsctl pull 150abc >out 2>err
is no_tag "2 statsctl pull: not an atom id: '150abc'" "$? $(cat out err)"

late=$(log_count 'late answer to a pull of 150005 dropped')
kill -STOP $(daemon_pid)
out=$(pull 150005)
is unanswered '1 {"atom":150005,"name":"battery_level","failed":"no answer within 2000 ms"}' "$? $out"
kill -CONT $(daemon_pid)
wait_for 10 log_has_more 'late answer to a pull of 150005 dropped' "$late" &&
    ok late_answer || not_ok late_answer 'statsd took it'
has answered_again '"fields":[80,82,-2,2]' "$(pull 150005)"

# A node's series is counted for each process that reads it.
mv /profile/nodes/battery_dod /tmp/battery_dod
for turn in '' .1 .2; do echo "4${turn:-.0}" | tr -d . >/profile/nodes/battery_dod$turn; done
restart_daemon
has series_first '"fields":[40]' "$(pull 150006)"
sleep 1.1
text=$(statsctl explain 150006)
has series_of_another 'battery_dod: "40\n"' "$text"
has series_second 'depth_of_discharge 41' "$text"
has series_third '"fields":[42]' "$(pull 150006)"
has series_last '"fields":[42]' "$(pull 150006)"
rm /profile/nodes/battery_dod.[12]
mv /tmp/battery_dod /profile/nodes/battery_dod
