#!/usr/bin/env bash
# The sandbox program: what is inside, that nothing of it gets out, and how it ends. Arguments: sandbox and prop.
set -eu
sandbox=$1 prop=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"; kill $(jobs -p) 2>/dev/null || true' EXIT
status=0

expect() {
    local what=$1 expected=$2 actual=$3
    if [ "$expected" != "$actual" ]; then
        printf '%s:\n  expected %s\n  actual   %s\n' "$what" "$expected" "$actual"
        status=1
    fi
}

# Says what is missing, line by line.
cat >"$folder/check" <<'CHECK'
for d in /data /data/rpcd /dev/socket /dev/log /dev/shm /system/etc/dun-ril; do
    test -d $d && echo text > $d/made_by_test && test "$(cat $d/made_by_test)" = text || echo missing $d
done
s=/sys/devices/platform/tqz_boot/state
test "$(cat $s)" = ON && printf OFF > $s && test "$(cat $s)" = OFF || echo missing $s
for d in null zero urandom tty; do test -c /dev/$d || echo missing /dev/$d; done
echo x > /dev/null && test "$(head -c 64 /dev/urandom | wc -c)" = 64 || echo devices do not work
test "$(id -u)" = 0 || echo not root
test "$(ls /proc | grep -c '^[0-9]')" -lt 9 || echo sees other processes
n=/sys/class/net
test "$(echo $(ls $n))" = "lo veth0 veth1" || echo interfaces: $(ls $n)
test "$(cat $n/lo/flags)" = 0x9 || echo lo is down
CHECK
host() { ls /sys/class/net; cat /proc/self/mountinfo; ls -d /data/made_by_test /dev/made_by_test /dev/shm/made_by_test /.host 2>&1 || true; }

before=$(host)
expect "the phone's paths and interfaces" "" "$("$sandbox" /bin/sh -c "$(cat "$folder/check")" 2>&1)"
expect "the host is left alone" "$before" "$(host)"

# The commands' exit status, and the sandbox's own.
ends() {
    local wanted=$1 seen=0
    shift
    "$@" >"$folder/said" 2>&1 || seen=$?
    expect "$*" "$wanted" "$seen"
    case $wanted in 12[0-7]) grep -q sandbox "$folder/said" || expect "$*" "a word about it" "none" ;; esac
}
ends 0 "$sandbox" /bin/true
ends 7 "$sandbox" -- /bin/sh -c 'exit 7'
ends 137 "$sandbox" /bin/sh -c 'kill -KILL $$'
ends 125 "$sandbox"
ends 125 "$sandbox" --veth 65 /bin/true
ends 125 "$sandbox" --bind /no/such/file=/data/x /bin/true
ends 126 "$sandbox" /etc/passwd
ends 127 "$sandbox" /no/such/file
if unshare -Ur /bin/true 2>/dev/null; then
    ends 120 unshare -Ur /bin/sh -c 'echo 0 > /proc/sys/user/max_mnt_namespaces; exec "$0" /bin/true' "$sandbox"
fi

# Two beside each other: properties, addresses and files are each one's own.
mkfifo "$folder/go" "$folder/stay"
"$sandbox" --bind "$folder=/dev/log" /bin/sh -c \
    '$0 set test.key 1; echo > /dev/log/go; cat /sys/class/net/veth0/address /dev/log/stay' "$prop" >"$folder/first" &
read -r line <"$folder/go"
expect "the second's property and data" "unset rpcd" \
    "$("$sandbox" /bin/sh -c '$0 get test.key unset; ls /data; cat /sys/class/net/veth0/address >&2' "$prop" \
        2>"$folder/second" | xargs)"
echo "from the host" >"$folder/stay"
wait $!
[ "$(sed 2d "$folder/first")" != "$(cat "$folder/second")" ] || expect "addresses" different "the same"
expect "what is bound" "from the host" "$(sed 1d "$folder/first")"

# Signals are passed on, and what is left running ends: its output is over then.
signalled() {
    local signal=$1 wanted=$2 script=$3 seen=0
    mkfifo "$folder/out.$signal"
    "$sandbox" /bin/sh -c "$script" >"$folder/out.$signal" &
    local job=$!
    exec 3<"$folder/out.$signal"
    read -r line <&3
    kill -"$signal" $job
    expect "output behind $signal" "" "$(cat <&3)"
    wait $job || seen=$?
    expect "the end by $signal" "$wanted" "$seen"
}
signalled TERM 9 "trap 'exit 9' TERM; echo ready; sleep 1000 & wait"
signalled KILL 137 "trap '' TERM HUP INT; echo ready; sleep 1000"

expect "the interfaces asked for" "veth0" "$("$sandbox" --veth 1 -- /bin/sh -c 'ls /sys/class/net | grep veth')"

# For a user without rights, where the machine gives such a one namespaces.
nobody="setpriv --reuid 65534 --regid 65534 --clear-groups"
if [ "$(id -u)" = 0 ] && $nobody unshare -Ur /bin/true 2>/dev/null; then
    cp "$sandbox" "$folder/sandbox"  # the build tree may be root's alone
    chmod -R a+rX "$folder"
    expect "without rights" "" "$(cd / && $nobody "$folder/sandbox" /bin/sh -c "$(cat "$folder/check")" 2>&1)"
fi
exit $status
