#!/usr/bin/env bash
# Runs every libFuzzer target one after the other, each for SECONDS (and at
# most RUNS inputs when given), from the checked-in seeds plus what earlier
# sessions found. Prints one summary line per target: inputs run, coverage
# (cov: edges, ft: features) and findings.
#
#   tools/fuzz.sh SECONDS [RUNS]
#
# VESK_FUZZ_TARGETS="A B" runs only those targets.
#
# Needs a clang build with -DVESK_FUZZERS=ON in $VESK_FUZZ_BUILD (default
# build/sanitize, as tools/test.sh makes it); the targets that need a
# network namespace with a 10. interface get one from tools/unit-netns.sh.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:?usage: tools/fuzz.sh SECONDS [RUNS]}
runs=${2:--1}
build=${VESK_FUZZ_BUILD:-$top/build/sanitize}
work=$build/fuzz/work
# Their records live on a tmpfs: a disk's journal makes every rewrite of a
# record file cost milliseconds.
export TMPDIR=/dev/shm

status=0
for binary in "$build"/fuzz/*Fuzzer; do
    name=$(basename "$binary" Fuzzer)
    if [ -n "${VESK_FUZZ_TARGETS:-}" ] && [[ " $VESK_FUZZ_TARGETS " != *" $name "* ]]; then
        continue
    fi
    mkdir -p "$work/$name"
    log=$work/$name.log
    max_len=()
    [ "$name" = TaskLoop ] && max_len=(-max_len=256)
    command=("$binary" -runs="$runs" -max_total_time="$seconds" -print_final_stats=1 "${max_len[@]}"
             -artifact_prefix="$work/$name-" "$work/$name" "$top/fuzz/corpus/$name")
    case $name in
        ServiceInfo|Sonar4Decode|RecordMessage|RecordFile|TaskLoop)
            "$top/tools/unit-netns.sh" "${command[@]}" >"$log" 2>&1 || true ;;
        *)
            "${command[@]}" >"$log" 2>&1 || true ;;
    esac
    execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    coverage=$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -1)
    findings=$(find "$work" -maxdepth 1 \( -name "$name-crash-*" -o -name "$name-leak-*" -o -name "$name-timeout-*" \
        -o -name "$name-oom-*" \) | wc -l)
    printf '%-18s execs %10s  %-22s findings %s\n' "$name" "${execs:-?}" "$coverage" "$findings"
    [ "$findings" -eq 0 ] && [ -n "$execs" ] || status=1
done
exit $status
