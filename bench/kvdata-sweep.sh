#!/usr/bin/env bash
# End-to-end speed of kvdata's main job: a sweep of ROWS fault points written as CSV and
# as JSON lines, in rows per second, beside what the computation alone costs per row
# (the synthesis and the two transforms, from kv_bench). Wall-clock time follows the load
# of a shared machine and the kernel's work on the file; the CPU time beside it is steadier.
#   bench/kvdata-sweep.sh [BUILD_DIR] [ROWS]      (defaults: build, 1000000)
# KV_CORE=N runs it on core N rather than 0 (another job on core 0).
set -euo pipefail
build=${1:-build}
rows=${2:-1000000}
kvdata=$build/tools/kvdata/kvdata
bench=$build/bench/kv_bench
[ -x "$kvdata" ] || { echo "no $kvdata: build the project first" >&2; exit 1; }

# ROWS points of U from 0 in steps of 0.0001 V, on one core.
last=$(awk -v n="$rows" 'BEGIN { printf "%.4f", (n - 1) * 0.0001 }')
sweep=(fault FaultAB --u "0:$last:0.0001" --max-rows "$rows")
out=$(mktemp)
times=$(mktemp)
trap 'rm -f "$out" "$times"' EXIT

run() {  # label, extra arguments
    local seconds user system bytes
    /usr/bin/time -f "%e %U %S" -o "$times" taskset -c ${KV_CORE:-0} "$kvdata" "${sweep[@]}" "${@:2}" >"$out"
    read -r seconds user system <"$times"
    bytes=$(stat -c %s "$out")
    awk -v l="$1" -v s="$seconds" -v u="$user" -v k="$system" -v n="$rows" -v b="$bytes" \
        'BEGIN { printf "%-12s %8.3f s  %10.0f rows/s  %6.0f bytes/row  CPU %.2f s user + %.2f s system\n", l, s, n / s, b / n, u, k }'
}

echo "kvdata ${sweep[*]}"
run "CSV"
run "JSON lines" --json

if [ -x "$bench" ]; then
    per_row=$(taskset -c ${KV_CORE:-0} "$bench" --benchmark_filter='^BM_(SetUIFaza|FazToSim|FazToLin)$' \
                  --benchmark_min_time=0.2 --benchmark_format=json 2>/dev/null |
              awk -F: '/"real_time"/ { gsub(/[ ,]/, "", $2); sum += $2 } END { printf "%.1f", sum }')
    awk -v ns="$per_row" -v n="$rows" \
        'BEGIN { printf "%-12s %8.3f s  %10.0f rows/s  (SetUIFaza + FazToSim + FazToLin, %.1f ns a row)\n", "computation", ns * n / 1e9, 1e9 / ns, ns }'
fi
