# profile: qcom
# checks: 8
# Each hanging handler blocks a thread. There are six: four of the pool, its first, and the main thread.

pid=$(daemon_pid)
# Threads of the binder pool wait in an ioctl, for calls and for replies.
pool() { threads_in ioctl "$pid"; }
hang='"failed":"no answer within 2000 ms"'
cycles=$(pull 150009)
kill -STOP "$(pidof handlefactory)"
is four_hang 4 "$(statsctl pull --json --parallel 150005 150006 150123 150167 | grep -c "$hang")"
is others_are_answered "$cycles" "$(pull 150009)"
is two_more_hang 2 "$(statsctl pull --json --parallel 150013 150018 | grep -c "$hang")"
is then_nobody_answers 1 "$(pull 150009 | grep -c "$hang")"
is threads 6 "$(pool)"

late=$(log_count 'late answer to a pull of 150')
kill -CONT "$(pidof handlefactory)"
all_late() { [ "$(log_count 'late answer to a pull of 150')" -ge $((late + 7)) ]; }
wait_for 20 all_late && ok late_answers || not_ok late_answers "$(log_count 'late answer')"
is answered_again "$cycles" "$(pull 150009)"
is threads_stay 6 "$(pool)"
