# profile: qcom
# checks: 5
# A recording has its device and time; `diff` shows what changed between two.

# All atoms for some seconds, into a file.
record() {
    statsctl atoms | sed -n 's/^\([0-9]*\) .*/\1/p' |
        xargs statsctl subscribe --for 4 --json >"$1"
}

# After each node's series of contents, differences to the previous pull are constant. One pull more: a recording may
# begin with the last one, from statsd's cache.
for tag in 150027 150029 150027 150029 150027 150029 150027 150029; do pull $tag >/dev/null; done
record before
is header "$(printf '{"recording":"subscribe","device":"%s","fingerprint":"%s","boot_id":"%s"}' \
    "$(getprop ro.product.device)" "$(getprop ro.build.fingerprint)" \
    "$(cat /proc/sys/kernel/random/boot_id)")" \
    "$(sed -n '1s/,"daemon":"[0-9a-f]\{40\}"//;1s/,"elapsed_ns":[0-9]*,"time":"[-0-9T:.]*Z"//p' before)"
is one_header 1 "$(grep -c '^{"recording"' before)"
is each_line_of_this_boot "$(grep -c '"atom"' before)" \
    "$(grep -c "\"boot_id\":\"$(cat /proc/sys/kernel/random/boot_id)\"" before | awk '{print $1 - 1}')"

record again
is unchanged "0 " "$? $(statsctl diff before again)"

cp /profile/charger charger.kept
cp /profile/touch touch.kept
sed -i 's/^getUIsohValue=.*/getUIsohValue=90/' /profile/charger
rm /profile/touch
record after
is changed "gone   150131  touch_refresh_rate_level
moved  150008  battery_health  state_of_health 94 % -> 90 % (-4 %)" \
    "$(statsctl diff before after)"
cp charger.kept /profile/charger
cp touch.kept /profile/touch
