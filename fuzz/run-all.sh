#!/usr/bin/env bash
# Runs every fuzz target of a build for a bounded time each, one after the other, and
# fails on any finding: a crash, a sanitizer report, a leak, a hang (an input that runs
# longer than the time-out) or memory beyond the limit.
#
#   fuzz/run-all.sh <build-dir> [seconds-per-target] [target ...]
#
# The committed seed corpus of each target is read, never written: new inputs go to a
# scratch corpus, and the input of a finding to <build-dir>/fuzz/findings/<target>/.
# Environment: KV_FUZZ_TIMEOUT (seconds per input, default 10), KV_FUZZ_RSS_MB
# (default 2048), KV_FUZZ_KEEP=1 keeps the scratch corpora in <build-dir>/fuzz/work.
set -euo pipefail

if [ $# -lt 1 ]; then
    echo "usage: $0 <build-dir> [seconds-per-target] [target ...]" >&2
    exit 2
fi
build=$(cd "$1" && pwd)
seconds=${2:-30}
shift $(( $# < 2 ? $# : 2 ))
here=$(cd "$(dirname "$0")" && pwd)
timeout=${KV_FUZZ_TIMEOUT:-10}
rss=${KV_FUZZ_RSS_MB:-2048}

if [ $# -gt 0 ]; then
    targets=("$@")
else
    targets=()
    for corpus in "$here"/corpus/*/; do
        targets+=("$(basename "$corpus")")
    done
fi

work="$build/fuzz/work"
findings="$build/fuzz/findings"
rm -rf "$work"
mkdir -p "$work" "$findings"
[ "${KV_FUZZ_KEEP:-0}" = 1 ] || trap 'rm -rf "$work"' EXIT

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"

failed=()
summary=()
for name in "${targets[@]}"; do
    exe="$build/fuzz/fuzz_$name"
    if [ ! -x "$exe" ]; then
        echo "== fuzz_$name: not built ($exe)" >&2
        failed+=("$name")
        continue
    fi
    echo "== fuzz_$name for ${seconds}s"
    mkdir -p "$work/$name" "$findings/$name"
    log="$work/$name.log"
    status=0
    "$exe" "$work/$name" "$here/corpus/$name" \
        -max_total_time="$seconds" -timeout="$timeout" -rss_limit_mb="$rss" \
        -print_final_stats=1 -artifact_prefix="$findings/$name/" >"$log" 2>&1 || status=$?
    # A sanitizer report that did not end the run is a finding all the same.
    if grep -qE 'ERROR: (AddressSanitizer|LeakSanitizer|libFuzzer)|runtime error:|SUMMARY: ' "$log"; then
        [ "$status" -ne 0 ] || status=99
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n 1)
    summary+=("$(printf '%-24s %12s exec/s %14s runs  %s' "fuzz_$name" "${rate:-?}" "${runs:-?}" \
        "$([ "$status" -eq 0 ] && echo ok || echo FAILED)")")
    if [ "$status" -ne 0 ]; then
        echo "-- fuzz_$name FAILED (exit $status); the log follows, the input is in $findings/$name/" >&2
        tail -n 80 "$log" >&2
        failed+=("$name")
    else
        rmdir "$findings/$name" 2>/dev/null || true
    fi
done

echo "== fuzzing summary (${seconds}s per target)"
printf '%s\n' "${summary[@]}"
if [ ${#failed[@]} -gt 0 ]; then
    echo "== findings in: ${failed[*]}" >&2
    exit 1
fi
