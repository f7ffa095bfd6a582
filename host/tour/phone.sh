#!/usr/bin/env bash
# Inside the sandbox: a phone with two SIMs, that is a modem and two rild, and the console in front of them.
set -u
mode=$1
bin=build/i386
out=build/run
console=$bin/host/console/console

"$bin/host/android/prop" set persist.dual_sim ss
"$bin/host/modem/modem" --quiet --capture "$out/packets.cap" 2>"$out/modem.log" &
"$bin/host/android/rild/rild" -v -l "$bin/libdun-ril.so" -- --client 1 2>"$out/rild.log" &
"$bin/host/android/rild/rild" -v -l "$bin/libdun-ril.so" -- --client 2 2>"$out/rild2.log" &

status=0
if [ "$mode" = tour ]; then
    cat host/tour/tour.txt host/tour/calls.txt host/tour/off.txt >"$out/tour.txt"
    "$console" "$out/tour.txt"
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
exit "$status"
