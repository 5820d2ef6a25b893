#!/usr/bin/env bash
# One loop turn of the task beside the floor program (the same visible work
# with the fewest system calls), in a simulated unit, both pinned to one
# core, in interleaved repetitions; then the task's turn with 0, 64 and 256
# other files in the record directories.
#
#   bench/turn-vs-floor.sh [build-dir]      (default build/release)
#   TURNS=20000 REPS=9 FLOOR_C=path/to/floor.c bench/turn-vs-floor.sh
#
# The floor program's source is not part of this repository: it is taken
# from FLOOR_C, by default shared/perf/floor.c beside the repository, and
# built into the build directory. Absolute times on a shared machine move
# from run to run; the ratio of a task run to the floor run beside it does
# not, so the ratios are taken pair by pair and their median is reported.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$top/build/release}" 2>/dev/null && pwd || echo "${1:-$top/build/release}")
turns=${TURNS:-20000}
reps=${REPS:-9}
floor_c=${FLOOR_C:-$top/../shared/perf/floor.c}

if [ -z "${VESK_UNIT_NETNS:-}" ]; then
    if [ ! -f "$floor_c" ]; then
        echo "floor program not found at $floor_c (set FLOOR_C)" >&2
        exit 1
    fi
    if [ ! -f "$build/build.ninja" ]; then
        cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++ >/dev/null
    fi
    ninja -C "$build" vesk_turn_bench >/dev/null
    mkdir -p "$build/bench"
    # Built as the floor's own notes build it: the product's hardening flags.
    gcc -O2 -fstack-protector-strong -D_FORTIFY_SOURCE=2 -fPIE -pie -Wl,-z,relro,-z,now \
        -o "$build/bench/floor" "$floor_c"
    source "$top/tools/unit-environment.sh"
    if why=$(unit_namespaces_refused -n); then
        echo "the unit needs a network namespace: $why" >&2
        exit 1
    fi
    exec "${unit_unshare[@]}" -n env VESK_UNIT_NETNS=1 FLOOR_C="$floor_c" TURNS="$turns" REPS="$reps" \
        "$0" "$build"
fi

# The unit: its own network namespace, eth0 at 10.0.0.2/24, a temporary
# directory with the database directories and the task pipes.
source "$top/tools/unit-environment.sh"
make_unit_network
unit=$(mktemp -d /tmp/vesk-bench-XXXXXX)
trap 'rm -rf "$unit"' EXIT
make_unit_environment "$unit"

task_bench="$build/bench/vesk_turn_bench"
floor="$build/bench/floor"
# The first run creates the records with their defaults; then both ping
# tasks report a valid bottom, so every turn computes a real master bottom.
"$task_bench" turns 1 >/dev/null
printf '1500\n2\n' >"$NONPERSISTED_DATABASE_ROOT/LocalBottomStatePPT.txt"
printf '1480\n2\n' >"$NONPERSISTED_DATABASE_ROOT/LocalBottomStateSPT.txt"

cpu_of() { sed -n 's/.*cpu_ns_per_turn=\([0-9]*\).*/\1/p'; }
median() { sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

echo "turn of the task beside the floor: $reps interleaved runs of $turns turns each, CPU ns per turn, core 0"
task_runs=() floor_runs=() ratios=()
for rep in $(seq 1 "$reps"); do
    t=$(taskset -c 0 "$task_bench" turns "$turns" | cpu_of)
    f=$(taskset -c 0 "$floor" turns "$turns" | cpu_of)
    r=$(awk -v t="$t" -v f="$f" 'BEGIN { printf "%.2f", t / f }')
    printf '  run %d: task %6d ns  floor %6d ns  ratio %s\n' "$rep" "$t" "$f" "$r"
    task_runs+=("$t") floor_runs+=("$f") ratios+=("$r")
done
task_median=$(printf '%s\n' "${task_runs[@]}" | median)
floor_median=$(printf '%s\n' "${floor_runs[@]}" | median)
ratio_median=$(printf '%s\n' "${ratios[@]}" | median)
printf 'median: task %.0f ns  floor %.0f ns  ratio (median of pairs) %.2f\n' \
    "$task_median" "$floor_median" "$ratio_median"

# Other files in both record directories, as a unit's database holds them:
# the turn must not pay for them.
echo
echo "turn of the task with other files in the record directories: $reps interleaved runs each"
declare -A flat
for rep in $(seq 1 "$reps"); do
    for extra in 0 64 256; do
        rm -f "$unit"/nonpersisted/Other*.bin "$unit"/systemdata/Other*.bin
        for i in $(seq 1 "$extra"); do
            : >"$unit/nonpersisted/Other$i.bin"
            : >"$unit/systemdata/Other$i.bin"
        done
        flat[$extra]+="$(taskset -c 0 "$task_bench" turns "$turns" | cpu_of) "
    done
done
base=$(printf '%s\n' ${flat[0]} | median)
for extra in 0 64 256; do
    m=$(printf '%s\n' ${flat[$extra]} | median)
    printf '  %3d other files: median %6.0f ns  (%+.1f %% against none)\n' "$extra" "$m" \
        "$(awk -v m="$m" -v b="$base" 'BEGIN { print (m - b) * 100 / b }')"
done
