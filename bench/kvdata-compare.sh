#!/usr/bin/env bash
# Whether two kvdata programs write the same bytes for the same sweeps: CSV and JSON lines,
# standard error and the exit status, over fault types, every synthesis, sweeps of each
# input and of several at once, device limits, exceeded limits, special numbers and errors.
# Run it before and after a change to how the rows are written.
#   bench/kvdata-compare.sh REFERENCE_KVDATA NEW_KVDATA
set -uo pipefail
[ $# -eq 2 ] && [ -x "$1" ] && [ -x "$2" ] || { echo "usage: $0 REFERENCE_KVDATA NEW_KVDATA" >&2; exit 2; }
reference=$1
new=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

sweeps=(
    "fault FaultAB --u 0:99.99:0.01"
    "fault FaultAN --i 0:20:0.005"
    "fault FaultABC --phi -180:360:0.05"
    "fault FaultAN --function voltage --u 10:30:0.5 --phi 0:90:1"
    "fault FaultBN --function current --i 0:10:0.1 --phi 0:360:2.5"
    "fault FaultAB --function record --u 0:200:0.5 --i 0:50:5"
    "fault FaultCA --u 0:300:1 --i 0:100:2 --device 20"
    "fault FaultABC --u 50:250:0.5 --i 10:40:10 --device 21"
    "fault FaultBC --u 0:400:2 --i 0:60:3 --device 23"
    "fault FaultCN --u 0:200:1 --phi 0:360:30 --device 30"
    "fault FaultAN --i 0:50:0.25 --device 31 --function current"
    "fault FaultABC --u 0:300:0.5 --device 35 --function voltage"
    "fault FaultAB --u 0:500:1 --i 0:30:6 --device 900"
    "fault FaultBC --phi 0:720:0.5 --no-fold"
    "fault FaultAN --nominal 110 --u 0:120:0.1"
    "fault FaultAB --unom 50 --u 0:100:0.1 --phi 60:90:15"
    "fault FaultAB --u 1e-4:0.01:1e-4 --i 0.5:1.5:0.25"
    "fault 82 --u -1:1:0.0125 --phi 0:90:22.5"
    "fault 82 --u -50:50:0.1 --aux 10 --aux-angle 30"
    "fault FaultABUn --uhealthy 40 --u 0:60:0.1"
    "--decimals 2 fault FaultAB --u 0:10:0.01"
    "fault FaultAN --u 1e-5:1e-3:1e-6"
    "fault FaultAN --u 0:1e-310:1e-312"
    "fault FaultAB --i 1e5:1e7:1e4"
    "fault FaultAB --u 0:100:0.001 --i 1:2:1 --max-rows 300000"
    "fault FaultKZ012 --u 0:100:5 --i 0:10:2.5 --phi 0:360:45 --aux 57.7 --aux-angle 10"
    "fault FaultAB --u 0:1e300:1e299"
    "fault FaultAB"
    "fault FaultAN --u 200 --unom 500"
)
# Every fault type under each synthesis that handles it (the others end in an error).
for code in $("$reference" types | awk '$1 ~ /^[0-9]+$/ { print $1 } /^Test code/ { exit }'); do
    for function in full voltage current record; do
        sweeps+=("fault $code --function $function --u 0:120:15 --i 0:20:5 --phi 0:360:60")
    done
done

differ=0
compared=0
for sweep in "${sweeps[@]}"; do
    for format in "" "--json"; do
        read -ra args <<<"$sweep $format"
        "$reference" "${args[@]}" >"$work/a.out" 2>"$work/a.err"
        echo "status $?" >>"$work/a.err"
        "$new" "${args[@]}" >"$work/b.out" 2>"$work/b.err"
        echo "status $?" >>"$work/b.err"
        compared=$((compared + 1))
        if ! cmp -s "$work/a.out" "$work/b.out" || ! cmp -s "$work/a.err" "$work/b.err"; then
            echo "differs: kvdata ${args[*]}"
            cmp "$work/a.out" "$work/b.out" | head -1
            differ=$((differ + 1))
        fi
    done
done
# A sweep written into a file with -o.
"$reference" fault FaultAB --u 0:50:0.01 --json -o "$work/a.jsonl"
"$new" fault FaultAB --u 0:50:0.01 --json -o "$work/b.jsonl"
compared=$((compared + 1))
cmp -s "$work/a.jsonl" "$work/b.jsonl" || { echo "differs: -o"; differ=$((differ + 1)); }

echo "$compared outputs compared, $differ differ"
[ "$differ" -eq 0 ]
