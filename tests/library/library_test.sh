#!/usr/bin/env bash
# What a device's loader sees of the library: its symbols, what it is linked against, its size.
set -eu
library=$1
status=0

expect() {
    local what=$1 expected=$2 actual=$3
    if [ "$expected" != "$actual" ]; then
        printf '%s:\n  expected %s\n  actual   %s\n' "$what" "$expected" "$actual"
        status=1
    fi
}

exported="RIL_Init ShutdownCb
    cached_clear decrypt em_cell_info_list_rate em_set_mode_req encrypt get_cached_pin get_sim_pin get_use_cached_pin
    mtpm_get_tx_power_info mtpm_nvm_write mtpm_select_tx_power_table pin_cache_store reset_pin_to_default
    ril_request_sim_close_channel ril_request_sim_open_channel
    ril_request_sim_transmit_basic ril_request_sim_transmit_channel
    set_use_cached_pin silent_pin_entry store_sim_pin"
expect "exported symbols" "$(echo $exported)" \
    "$(nm -D --defined-only "$library" | awk '{print $3}' | LC_ALL=C sort | xargs)"
expect "platform libraries" "libModemLink.so libcutils.so liblog.so librilutils.so" \
    "$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
        grep -E '^lib(cutils|log|rilutils|ModemLink)\.so$' | LC_ALL=C sort | xargs)"
expect "other libraries" "" \
    "$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
        grep -vE '^(lib(cutils|log|rilutils|ModemLink)\.so|lib(stdc\+\+|m|gcc_s|c|pthread)\.so\.[0-9]+|ld-linux.*)$' |
        xargs)"
expect "a stack that can run code" "" "$(readelf -lW "$library" | awk '$1 == "GNU_STACK" && /RWE/')"
expect "path of the machine that built it" "" \
    "$(readelf -d "$library" | grep -E 'RUNPATH|RPATH' | grep -v '\[\$ORIGIN' | xargs)"

stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
strip -o "$stripped" "$library"
echo "stripped: $(stat -c %s "$stripped") bytes"
[ "$status" -eq 0 ] && echo "the library is as it should be"
exit "$status"
