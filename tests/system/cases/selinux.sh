# profile: qcom
# checks: 25
# The domains of processes, and the answers of the service manager and init to them.
# denial: { set } for property=ctl.stop$statsd scontext=u:r:zstats_pullerd:s0 tcontext=u:object_r:ctl_stop_prop:s0 tclass=property_service
# denial: { set } for property=ctl.start$zstats_pullerd scontext=u:r:zstats_pullerd:s0 tcontext=u:object_r:ctl_start_prop:s0 tclass=property_service
# denial: { set } for property=persist.sys.zstats_pullerd.start scontext=u:r:zstats_pullerd:s0 tcontext=u:object_r:system_prop:s0 tclass=property_service

is enforcing 1 "$(cat /sys/fs/selinux/enforce)"
is policy_denies_what_it_does_not_know 1 "$(cat /sys/fs/selinux/deny_unknown)"
is domain/init u:r:init:s0 "$(tr -d '\0' </proc/1/attr/current)"
is domain/script u:r:su:s0 "$(tr -d '\0' </proc/$$/attr/current)"
while read -r program domain; do
    is "domain/$program" "u:r:$domain:s0" "$(tr -d '\0' </proc/"$(pidof "$program")"/attr/current)"
done <<'END'
audio system_server
calda calda
charger hal_norda_charger_default
handlefactory hal_norda_handlefactory_default
openfileprobe openfileprobe
servicemanager servicemanager
statsd statsd
thermalservice system_server
touch hal_norda_touch_default
zstats_pullerd zstats_pullerd
END

# as DOMAIN UID COMMAND...: with pipes, the only files of this shell that the domains may use.
as() {
    as_domain=$1
    as_uid=$2
    shift 2
    asuid "$as_uid" runcon "u:r:$as_domain:s0" "$@" </dev/null 2>&1 | cat
}

# A platform process finds and calls "atomacq", and statsd writes into its pipe.
for domain in system_server system_app; do
    has "atomacq_serves_$domain" '{"atom":150005,' \
        "$(as $domain 1000 statsctl subscribe 150005 --for 3 --json)"
done
has main_service_is_not_for_it "Can't find service: zstats_pullerd" \
    "$(as system_server 1000 dumpsys zstats_pullerd)"

# A bug report asks each service for its dump: the daemon's are refused without a logged denial.
for service in zstats_pullerd atomacq; do
    is "dumpstate_gets_nothing/$service" \
        "Error with service '$service' while dumping: FAILED_TRANSACTION" \
        "$(as dumpstate 2000 dumpsys $service)"
done

# The daemon may only have itself stopped. (Last, because the other checks need it.)
statsd=$(pidof statsd)
as zstats_pullerd 0 setprop ctl.stop statsd >/dev/null
is statsd_is_not_its_to_stop "$statsd" "$(pidof statsd)"
daemon=$(daemon_pid)
override=$(getprop persist.sys.zstats_pullerd.start)
as zstats_pullerd 0 setprop ctl.start zstats_pullerd >/dev/null
as zstats_pullerd 0 setprop persist.sys.zstats_pullerd.start 1 >/dev/null
is override_is_not_its_to_set "$override" "$(getprop persist.sys.zstats_pullerd.start)"
as zstats_pullerd 0 setprop ctl.stop zstats_pullerd >/dev/null
wait_for 5 sh -c '[ -z "$(pidof zstats_pullerd)" ]' && ok stops_itself ||
    not_ok stops_itself "it runs as $daemon"
start zstats_pullerd
wait_for 10 service_is_there zstats_pullerd || not_ok starts_again 'it is not there'

# init starts no program without a domain.
stop calda
wait_for 5 sh -c '[ -z "$(pidof calda)" ]'
chcon u:object_r:system_file:s0 /system/bin/calda
start calda
has no_domain_no_start \
    'File /system/bin/calda(labeled "u:object_r:system_file:s0") has incorrect label or no domain transition from u:r:init:s0' \
    "$(init_log | grep calda | tail -n 2)"
is no_domain_no_process '' "$(pidof calda)"
chcon u:object_r:calda_exec:s0 /system/bin/calda
start calda
wait_for 10 service_is_there calda && ok its_domain_back || not_ok its_domain_back 'no calda'
