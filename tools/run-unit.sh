#!/usr/bin/env bash
# Runs the master bottom task inside a simulated unit on this machine and
# shows what it does; ends on its own after about 20 seconds.
#
# The unit lives in a network namespace of its own (nothing reaches this
# machine's interfaces) where eth0 has 10.0.0.2/24, as on a real unit, and in
# a temporary directory that holds its database, pipes and PID files. Around
# the task run stand-ins: the two ping tasks writing their local bottoms, the
# error handler and LED tasks reading their pipes, and a display unit that
# prints the master bottom as it changes. The script asks the task
# "Are You Alive?", sends it a command it does not know, and shuts it down.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build="$top/build/release"

if [ -z "${VESK_UNIT_NETNS:-}" ]; then
    "$top/tools/install-deps.sh"
    # Quiet when the build works; its errors are shown when it does not.
    log=$(mktemp)
    trap 'rm -f "$log"' EXIT
    if ! { [ -f "$build/build.ninja" ] ||
           cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++; } >"$log" 2>&1 ||
       ! ninja -C "$build" MasterBottomTask vesk_tool >>"$log" 2>&1; then
        cat "$log" >&2
        echo "[unit] verdict: FAILED, the build failed (errors above)" >&2
        exit 1
    fi
    rm -f "$log"
    trap - EXIT
    as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    exec "${as_root[@]}" unshare -n env VESK_UNIT_NETNS=1 "$0" "$@"
fi

say() { printf '[unit] %s\n' "$*"; }

ip link set lo up
ip link add eth0 type veth peer name eth0-peer
ip addr add 10.0.0.2/24 dev eth0
ip link set eth0 up
ip link set eth0-peer up

unit=$(mktemp -d /tmp/vesk-unit-XXXXXX)
pids=()
task_pid=
checks=()
failed=()
cleanup() {
    # Everything started here ends with the script, on Ctrl-C too; the task
    # was forked away from us and is found through its PID file.
    [ -n "$task_pid" ] && kill "$task_pid" 2>/dev/null
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$unit"
}
verdict() {
    if [ ${#failed[@]} -eq 0 ]; then
        say "verdict: PASSED, $(IFS=,; echo "${checks[*]}" | sed 's/,/, /g')"
    else
        say "verdict: FAILED, $(IFS=,; echo "${failed[*]}" | sed 's/,/, /g')"
        exit 1
    fi
}
passed() { checks+=("$1"); }
fail() { failed+=("$1"); say "FAILED: $1"; verdict; }
trap cleanup EXIT
trap 'say "interrupted"; exit 130' INT TERM

mkdir -p "$unit"/{nonpersisted,systemdata,pingparameters,root,pid}
export NONPERSISTED_DATABASE_ROOT="$unit/nonpersisted"
export DATABASE_DIR_SYSTEM_DATA="$unit/systemdata"
export DATABASE_DIR_PING_PARAMETERS="$unit/pingparameters"
export ROOT_DIR="$unit/root"
export PID_LOCATION="$unit/pid"
export IPC_MASTER_BOTTOM_TASK="$unit/MasterBottomTask.fifo"
export IPC_ERROR_HANDLER_TASK="$unit/ErrorHandlerTask.fifo"
export IPC_LED_TASK="$unit/LedTask.fifo"
export PRIMARY_PING_TASK_FILE_EXTENSTION=PPT
export SECONDARY_PING_TASK_FILE_EXTENSTION=SPT
export EMBEDDED_SERIAL_NUMBER_OVERRIDE=40321
models=(ORVA1 ORVA2 ORVA3 ORVA4 ORVA5 ORVA6 ORVA7 ORVA8 ORVA9 ORVA10 ORVA11
        BELTA BELTA2 CIRNA1 CIRNA2 CIRNA3 CIRNA4 DUSKO1 DUSKO2 DUSKO3 DUSKO4 DUSKO5)
number=100
for model in "${models[@]}"; do
    export "PRODUCT_ID_$model=M${number}-$model"
    number=$((number + 1))
done
export PRODUCT_ID="${PRODUCT_ID_DUSKO5}-rev2"
mkfifo "$IPC_MASTER_BOTTOM_TASK" "$IPC_ERROR_HANDLER_TASK" "$IPC_LED_TASK"

vesk="$build/tools/vesk"
say "unit directory $unit, eth0 10.0.0.2/24, product $PRODUCT_ID, serial $EMBEDDED_SERIAL_NUMBER_OVERRIDE"

# Pipe readers of the error handler and LED tasks: NUL-terminated messages.
# The error handler's reader notes each acknowledgement for the verdict.
serve_pipe() {
    local name=$1 fifo=$2 message
    while IFS= read -r -d '' message; do
        printf '[%s] received "%s"\n' "$name" "$message"
        [[ $message == *:ACK_* ]] && touch "$unit/acknowledged"
    done <>"$fifo"
}
serve_pipe "error handler" "$IPC_ERROR_HANDLER_TASK" & pids+=($!)
serve_pipe "led task" "$IPC_LED_TASK" & pids+=($!)

say "depth offset -300"
"$vesk" db set SystemSettings DepthOffset=-300 >/dev/null
# Primary: a valid bottom that shoals, then loses it for a moment.
"$vesk" ping-task --interval 900 PPT 2:1500 2:1480 2:1460 1:0 2:1440 & pids+=($!)
# Secondary: a valid bottom, then out of use for a while.
"$vesk" ping-task --interval 1300 SPT 2:1200 2:1250 0:0 0:0 2:1300 & pids+=($!)
"$vesk" display >"$unit/display.out" & pids+=($!)
tail -f "$unit/display.out" 2>/dev/null & pids+=($!)
sleep 0.5

say "vesk check (what the service runs before a start):"
"$vesk" check --quiet | sed -u 's/^/[check] /' && passed "configuration checked" || fail "vesk check found problems"

say "starting MasterBottomTask"
"$build/MasterBottomTask" | sed -u 's/^/[task] /' &
task_pipeline=$!
wait_for_parent() {
    # The parent exits once the child's PID file is there.
    local i
    for i in $(seq 1 150); do
        compgen -G "$PID_LOCATION/*.txt" >/dev/null && return 0
        sleep 0.1
    done
    return 1
}
wait_for_parent || fail "no PID file appeared: the task did not start"
pid_file=$(compgen -G "$PID_LOCATION/*.txt" | head -n 1)
task_pid=$(basename "$pid_file" .txt)
say "PID file $(basename "$pid_file"): $(tr '\n' ' ' <"$pid_file")"
passed "task started (PID $task_pid)"

sleep 5
say "depth offset +250"
"$vesk" db set SystemSettings DepthOffset=250 >/dev/null
sleep 3
say "asking the task: Are You Alive?"
"$vesk" send alive
sleep 1
[ -e "$unit/acknowledged" ] && passed "Are You Alive? acknowledged" || fail "no acknowledgement of Are You Alive?"
say "sending a command this task does not serve: UpdateSystemSettings"
"$vesk" send UpdateSystemSettings
sleep 3
say "depth offset 0"
"$vesk" db set SystemSettings DepthOffset=0 >/dev/null
sleep 2
say "master bottom record file, decoded:"
"$vesk" db show MasterBottomRecord | sed 's/^/[db] /' || fail "the master bottom record did not decode"
changes=$(grep -c 'master bottom:' "$unit/display.out" || true)
[ "$changes" -gt 0 ] && passed "$changes master bottom changes received" || fail "no master bottom reached the display"
say "sending Shutdown and waiting for the task to end"
"$vesk" send --wait=5 Shutdown || fail "the task did not stop"
wait "$task_pipeline" || true
[ -e "$pid_file" ] && fail "the PID file is still there"
task_pid=
passed "Shutdown ended the task and removed its PID file"
sleep 0.3
verdict
