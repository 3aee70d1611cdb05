# profile: qcom
# checks: 7
# Successive contents of a node are counted for each reading process.

is each_tag_once '150030 150005' "$(pull 150030 150005 150030 | sed 's/.*"atom":\([0-9]*\).*/\1/' | xargs)"

mv /profile/nodes/battery_dod /tmp/battery_dod
echo 40 >/profile/nodes/battery_dod
echo 41 >/profile/nodes/battery_dod.1
echo 42 >/profile/nodes/battery_dod.2
restart_daemon
has first '"fields":[40]' "$(pull 150006)"
text=$(statsctl explain 150006)
has other_reader 'battery_dod: "40\n"' "$text"
has second 'depth_of_discharge 41' "$text"
has third '"fields":[42]' "$(pull 150006)"
has last_stays '"fields":[42]' "$(pull 150006)"
rm /profile/nodes/battery_dod.2
has shortened '"fields":[41]' "$(pull 150006)"
rm /profile/nodes/battery_dod.1
mv /tmp/battery_dod /profile/nodes/battery_dod
