# profile: qcom
# checks: 2
# crash: calda 6
# crash: sh 11
# Processes of init and of a shell that a signal ends. The lines above fail unless both are noticed.

pid=$(pidof calda)
kill -ABRT "$pid"
another_runs() { [ -n "$(pidof calda)" ] && [ "$(pidof calda)" != "$pid" ]; }
wait_for 60 another_runs && ok of_init || not_ok of_init "it did not return"
wait_for 60 service_is_there calda || not_ok of_init/service "it is not there"
sh -c 'kill -SEGV $$' 2>/dev/null
is of_a_shell 139 $?
