#!/usr/bin/env bash
# Inside the sandbox: a phone with two SIMs, that is a modem and two rild, and the console in front of them.
#   phone.sh MODE [BUILD [OUT]]    the folders of the programs and for what is written
set -u
mode=$1
bin=${2:-build/i386}
out=${3:-build/run}
mkdir -p "$out"
console=$bin/host/console/console

"$bin/host/android/prop" set persist.dual_sim ss
printf '[control]\ngprs_max_pdp_context = 2\n[string]\nmodem_dev_name_1 = data0\nmodem_dev_name_2 = data1\n' \
    >/system/etc/dun-ril/repository.txt
seed=${SEED:-$((RANDOM + 1))}
echo "The order of the modem's packets has the seed $seed; SEED=$seed ./run gives the same again."
"$bin/host/modem/modem" --quiet --seed "$seed" --capture "$out/packets.cap" 2>"$out/modem.log" &
phone=$!
"$bin/host/android/rild/rild" -v -l "$bin/libdun-ril.so" -- --client 1 2>"$out/rild.log" &
phone="$! $phone"
"$bin/host/android/rild/rild" -v -l "$bin/libdun-ril.so" -- --client 2 2>"$out/rild2.log" &
phone="$! $phone"

status=0
if [ "$mode" = tour ]; then
    cat host/tour/tour.txt host/tour/radio.txt host/tour/calls.txt host/tour/data.txt host/tour/services.txt host/tour/messages.txt host/tour/toolkit.txt host/tour/makers.txt host/tour/card.txt host/tour/engineering.txt host/tour/off.txt >"$out/tour.txt"
    PATH=$bin/host/android:$PATH "$console" "$out/tour.txt"
    status=$?
    "$bin/host/modem/uta-print" --file "$out/packets.cap" >"$out/packets.txt"
    cp /dev/log/radio "$out/radio.log"
    echo
    echo "Packets, readable: $out/packets.txt ($(wc -l <"$out/packets.txt") lines). The library's log: $out/radio.log."
    if [ "$status" -eq 0 ]; then
        echo "Every step of the tour was seen."
    else
        echo "The tour failed: see above, $out/rild.log and $out/modem.log."
    fi
fi
if [ -t 0 ] && [ -t 1 ]; then
    echo "The phone is on. \"help\" tells what it understands; leave with \"quit\"."
    "$console"
fi
for process in $phone; do
    kill "$process"
    wait "$process" || {
        echo "A process of the phone ended with status $?: see $out/*.log."
        status=1
    }
done
exit "$status"
