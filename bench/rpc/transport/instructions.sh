#!/bin/sh
# User-space instructions of our own per synchronous call, libc and kernel not counted:
#   bench/rpc/transport/instructions.sh build/bench
# The difference of two runs under callgrind leaves the calls alone and the start-up out.
set -eu
build=$(realpath "$1")
few=200
many=1200
out=$(mktemp -d "$build/callgrind.XXXXXX")
trap 'rm -rf "$out"' EXIT

own_instructions() {
    "$build/host/sandbox/sandbox" valgrind --tool=callgrind --callgrind-out-file="$out/$1" \
        "$build/bench/rpc/transport/rpc_transport_bench" --calls "$1" 2>"$out/log" || { cat "$out/log" >&2; exit 1; }
    callgrind_annotate --threshold=100 --auto=no "$out/$1" | tr -d , |
        awk '/rpc_transport_bench\]/ { own += $1 } END { if (!own) exit 1; print own }'
}

a=$(own_instructions $few)
b=$(own_instructions $many)
echo "own instructions per call: $(((b - a) / (many - few))) (limit 2000)"
