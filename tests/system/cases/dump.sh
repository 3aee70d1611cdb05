# profile: qcom
# checks: 14
# The dump changes levels only for root and system.

has root/help 'dumpsys zstats_pullerd --rgbLog INPUT_1_OR_0' "$(dumpsys zstats_pullerd 2>&1)"
has system/level 'Zstats_pullerd set gLogLevel: 2' \
    "$(asuid 1000 dumpsys zstats_pullerd --loglevel 2 2>&1)"
pull 150006 >/dev/null
has system/level-in-force 'find matching handler for atomTag = 150006' "$(daemon_log)"
refused=$(asuid 2000 dumpsys zstats_pullerd --loglevel 1 2>&1)
is shell/refused "Error with service 'zstats_pullerd' while dumping: PERMISSION_DENIED" "$refused"
seen=$(log_count 'find matching handler for atomTag = 150009')
pull 150009 >/dev/null
is shell/no-change $((seen + 1)) "$(log_count 'find matching handler for atomTag = 150009')"
has root/flag 'Zstats_pullerd set RGB Histogram Log: 1' "$(dumpsys zstats_pullerd --rgbLog 5 2>&1)"
dumpsys zstats_pullerd --rgbLog 0 >/dev/null
has root/negative 'Zstats_pullerd set gLogLevel: 0' "$(dumpsys zstats_pullerd --loglevel -3 2>&1)"
is root/unknown-option 1 "$(dumpsys zstats_pullerd --RGBLOG 1 2>/dev/null | grep -c .)"
has root/restored 'gLogLevel: 1' "$(dumpsys zstats_pullerd --loglevel 1 2>&1)"
has transaction-logged 'BnZstatsPullerService onTransact code 1598311760' "$(daemon_log)"

# A stopped daemon later writes its dump to a closed pipe, and continues.
pid=$(daemon_pid)
dumps() { log_count 'BnZstatsPullerService onTransact code 1598311760'; }
before=$(dumps)
kill -STOP "$pid"
has gone/given-up "TIMEOUT" "$(dumpsys -T 500 zstats_pullerd --loglevel 1 2>&1)"
kill -CONT "$pid"
dumped() { [ "$(dumps)" -gt "$before" ]; }
wait_for 20 dumped && ok gone/answered || not_ok gone/answered "no transaction"
has gone/pull '"fields"' "$(pull 150006)"
is gone/same-daemon "$pid" "$(daemon_pid)"
