# profile: tests/system/profiles/absent
# checks: 14
# Services that the profile lists as absent, or has no file for, wait for "start".

running() { getprop | sed -n 's/^\[init\.svc\.\(.*\)\]: \[running\]$/\1/p' | grep -x "$1"; }
is ready registered "$(getprop vdev.ready)"
for service in charger touch audio calda; do is $service/not_started '' "$(running $service)"; done
for service in handlefactory thermalservice; do is $service/started $service "$(running $service)"; done
out=$(statsctl pull --json 150006 150010 150031 150131)
is answers '[1] 0 [0,40] 0' "$(echo "$out" | sed 's/.*"fields":\([^]]*]\).*/\1/;s/.*"events":\([0-9]*\).*/\1/' | xargs)"

start charger
start touch
svcwait vendor.norda.hardware.charger.ICharger/default vendor.norda.hardware.touch.INordaTouch/default
out=$(pull 150010 150131)
is started '[4000] [2]' "$(echo "$out" | sed 's/.*"fields":\([^]]*]\).*/\1/' | xargs)"

# Files of the profile at paths that the kernel lacks.
is overlay/file_for_folder "$(cat /profile/root/sys/kernel/slab)" "$(cat /sys/kernel/slab)"
is overlay/link ../bus "$(readlink /sys/kernel/elsewhere)"
is overlay/beside "$(ls /.kernel/sys/kernel/mm)" "$(ls /sys/kernel/mm)"
rm -f /sys/kernel/elsewhere
is overlay/names "$(ls /.kernel/sys/kernel)" "$(ls /sys/kernel)"

# A file below /data.
is maker_data "kept by the maker" "$(cat /data/vendor/maker)"
