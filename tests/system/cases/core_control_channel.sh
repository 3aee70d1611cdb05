# profile: bare
# checks: 4
# An unlocked debug build also opens the core control's channel.

count=$(statsctl pushed 2>/dev/null | grep -c 100207)
kestrel --path /system_ext/bin/zcvt/norda_sched_corectl --type 4 --pe 5 --lnr 6 --bnr 7 --info second
is inject/status 0 $?
wait_for 5 sh -c "[ \"\$(statsctl pushed | grep -c 100207)\" -eq $((count + 1)) ]"
has inject/pushed second "$(statsctl pushed | grep 100207 | tail -n 1)"
kestrel --type 4 --info first
is first-channel/status 0 $?

# An unlocked debug build does so with any release type.
setprop ro.norda.image.my_engineering.type release
restart_daemon
kestrel --path /system_ext/bin/zcvt/norda_sched_corectl --type 1 --info third
is unlocked-release/open 0 $?
