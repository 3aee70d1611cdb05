# profile: qcom
# checks: 27
# Files that `cmd` opens for a command: SELinux decides for the context that the command names.
caller=u:r:probe_caller:s0
dir=/tmp/probe
old="old text"

enforced=$(cat /sys/fs/selinux/enforce)
echo 1 >/sys/fs/selinux/enforce
is enforcing 1 "$(cat /sys/fs/selinux/enforce)"

# A file system that is mounted after the policy was loaded, so that it stores labels.
mkdir -p $dir && mount -t tmpfs tmpfs $dir
for kind in open read write sealed; do
    echo "$old" >$dir/$kind
    cmd openfileprobe --label $dir/$kind u:object_r:probe_${kind}_file:s0 >/dev/null ||
        not_ok "label_$kind" "setfilecon failed"
done

# probe ARGUMENT...: the outcome as "STATUS OUTPUT / ERRORS" in one line, without the SELinux library's messages
# about denials, which are lines or, in newer versions, beginnings of lines.
probe() {
    cmd openfileprobe "$@" >$dir/.out 2>$dir/.err
    echo "$? $(tr '\n' ' ' <$dir/.out)/$(sed 's/^avc: .* tclass=[a-z]*\( permissive=[01]\)*//; /^$/d' $dir/.err | tr '\n' ' ')"
}

# refusal KIND ACCESS: the output of probe for a refusal.
refusal() {
    echo "1 not opened /System server has no access to $2 file context" \
        "u:object_r:probe_$1_file:s0 (from path $dir/$1, context $caller) "
}

wrote="wrote: 25 /"
while read -r kind mode outcome; do
    echo "$old" >$dir/$kind
    case $outcome in
    reads) expected="0 opened read: $old  /" ;;
    writes) expected="0 opened $wrote" ;;
    both) expected="0 opened read: $old  $wrote" ;;
    cleared) expected="0 opened read:  $wrote" ;;
    no_*) expected=$(refusal $kind ${outcome#no_}) ;;
    esac
    is "${kind}_file/$mode" "$expected" "$(probe $dir/$kind $caller $mode)"
done <<'END'
open r reads
open r+ both
open w writes
open w+ cleared
read r reads
read r+ no_write
read w no_write
read w+ no_write
write r no_read
write r+ no_read
write w writes
write w+ no_read
sealed r no_read
sealed r+ no_write
sealed w no_write
sealed w+ no_write
END

# The file has the state after the last refused open, because the open precedes the check.
echo "$old" >$dir/sealed
probe $dir/sealed $caller r+ >/dev/null
is sealed_is_not_written "$old" "$(cat $dir/sealed)"

is without_context_no_check "0 opened read: $old  /" "$(probe $dir/sealed '' r)"
has unknown_context "1 not opened /System server has no access to read file context" \
    "$(probe $dir/open u:r:no_such_domain:s0 r)"
is missing_file "1 not opened /" "$(probe $dir/missing $caller r)"
has new_file "no access to write file context u:object_r:tmpfs:s0 (from path $dir/new," \
    "$(probe $dir/new $caller w)"
is new_file_mode 770 "$(cd $dir && umask 0 && rm -f new && cmd openfileprobe new '' w >/dev/null && stat -c %a new)"
is invalid_mode "1 not opened /Invalid mode requested: a " "$(probe $dir/open $caller a)"
is after_the_call "1 not opened /Open attempt after active for: $dir/open " \
    "$(probe --late $dir/open $caller r)"
is relative_path "0 opened read: $old  /" "$(cd $dir && echo "$old" >open && probe open $caller r)"

echo 0 >/sys/fs/selinux/enforce
is permissive_lets_it_pass "0 opened read: $old  /" "$(probe $dir/sealed $caller r)"
echo "$enforced" >/sys/fs/selinux/enforce
umount $dir
