#!/usr/bin/env bash
# Inside the sandbox: a phone with two SIMs, that is a modem and two rild, and the console in front of them.
set -u
mode=$1
bin=build/i386
out=build/run

"$bin/host/android/prop" set persist.dual_sim ss
"$bin/host/modem/modem" --quiet --capture "$out/packets.cap" 2>"$out/modem.log" &
modem=$!
"$bin/host/android/rild/rild" -v -l "$bin/libdun-ril.so" -- --client 1 2>"$out/rild.log" &
"$bin/host/android/rild/rild" -v -l "$bin/libdun-ril.so" -- --client 2 2>"$out/rild2.log" &

status=0
if [ "$mode" = tour ]; then
    "$bin/host/console/console" host/tour/tour.txt
    status=$?
    kill -TERM "$modem"
    wait "$modem"
    packets=$("$bin/host/modem/uta-print" --file "$out/packets.cap" 2>/dev/null | tee "$out/packets.txt" | wc -l)
    echo
    echo "The trace of all packets is in $out/packets.txt ($packets lines), the log of the library in $out/radio.log."
    cp /dev/log/radio "$out/radio.log" 2>/dev/null
    if [ "$status" -eq 0 ]; then
        echo "Every step of the tour was seen."
    else
        echo "The tour failed: see above, $out/rild.log and $out/modem.log."
    fi
fi
if [ "$mode" = console ]; then
    exec "$bin/host/console/console"
fi
exit "$status"
