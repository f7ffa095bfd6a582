#!/usr/bin/env bash
# Inside the sandbox: a phone with two SIMs as host/tour/phone.sh starts it, with oFono on its sockets and a D-Bus of its
# own in front.
#   phone.sh BUILD OUT [COMMAND...]    runs COMMAND with DBUS_SYSTEM_BUS_ADDRESS, PHONE_CONSOLE and PHONE_OUT set; without one the
#                                      user is left at the console
set -u
bin=$1
out=$(realpath "$2")
shift 2
mkdir -p "$out"
rm -f "$out/bus" "$out/ofono.log"
export PHONE_CONSOLE=$bin/host/console/console PHONE_OUT=$out
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$out/bus

# What oFono knows of cards it has seen is not the host's, and begins empty.
mount -t tmpfs ofono /var/lib/ofono
"$bin/host/android/prop" set persist.dual_sim ss
seed=${SEED:-$((RANDOM + 1))}
echo "The order of the modem's packets has the seed $seed; SEED=$seed gives the same again."
"$bin/host/modem/modem" --quiet --seed "$seed" --capture "$out/packets.cap" 2>"$out/modem.log" &
phone=$!
for client in 1 2; do
    "$bin/host/android/rild/rild" -v -l "$bin/libdun-ril.so" -- --client "$client" 2>"$out/rild$client.log" &
    phone="$! $phone"
done

# oFono ends by itself when it finds a card whose application is not known yet, which is so before the radio was on: after
# the modem's start, after each crash, and for a moment after a card is put in or its PIN is entered. A card's menu after
# flight mode ends it too, since its handler from before is still called: so the cards' commands do not reach this phone.
cat >"$out/on.txt" <<'SCRIPT'
wait connected 30
sim2 wait connected 30
expect unsol RADIO_STATE_CHANGED 30 off|on
sim2 expect unsol RADIO_STATE_CHANGED 30 off|on
radio on
expect RADIO_POWER SUCCESS 10
sim2 radio on
sim2 expect RADIO_POWER SUCCESS 10
modem drop UtaMsSimTkProactiveCommandIndCb
sim
expect GET_SIM_STATUS SUCCESS 10 *state=PIN*|*state=PUK*|*state=ready*
sim2 sim
sim2 expect GET_SIM_STATUS SUCCESS 10 *state=PIN*|*state=PUK*|*state=ready*
SCRIPT

dbus-daemon --session --nofork --nopidfile --address="$DBUS_SYSTEM_BUS_ADDRESS" 2>"$out/bus.log" &
bus=$!
until [ -S "$out/bus" ]; do sleep 0.1; done

# What the phone's user would do first, which goes as far as a PIN that is asked for; the stories do it themselves.
go_online() {
    for switch in Powered Online; do
        until dbus-send --bus="$DBUS_SYSTEM_BUS_ADDRESS" --print-reply --dest=org.ofono "$1" org.ofono.Modem.SetProperty \
            string:$switch variant:boolean:true; do
            kill -0 "$daemon" || return
            sleep 0.2
        done
    done
}

# A service that is started again when it ends, as on a phone; at most twenty times. It is started without a card after a
# while.
(
    trap 'kill "$daemon" 2>/dev/null; exit' TERM
    for _ in {1..20}; do
        for _ in {1..30}; do
            "$PHONE_CONSOLE" "$out/on.txt" >"$out/on.log" && break
            sleep 0.1
        done
        OFONO_RIL_DEVICE=ril OFONO_RIL_NUM_SIM_SLOTS=2 ofonod -n -d >>"$out/ofono.log" 2>&1 &
        daemon=$!
        if [ $# -eq 0 ]; then
            go_online /ril_0 >/dev/null 2>&1 &
            go_online /ril_1 >/dev/null 2>&1 &
        fi
        wait "$daemon"
        echo "oFono ended with status $?" >>"$out/ofono.log"
    done
) &
service=$!

status=0
if [ $# -gt 0 ]; then
    "$@"
    status=$?
else
    echo "oFono serves org.ofono at DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SYSTEM_BUS_ADDRESS"
    echo "The console speaks to the modem: \"modem help\". A command for rild takes the place of oFono there. Leave with \"quit\"."
    "$PHONE_CONSOLE" -m
fi
kill "$service"
wait "$service" 2>/dev/null
cp /dev/log/radio "$out/radio.log"
kill "$bus" $phone
for process in $phone; do
    wait "$process" || {
        echo "A process of the phone ended with status $?: see $out/*.log."
        status=1
    }
done
exit "$status"
