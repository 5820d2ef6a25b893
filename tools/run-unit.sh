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
    if [ ! -f "$build/build.ninja" ]; then
        cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++ >/dev/null
    fi
    ninja -C "$build" MasterBottomTask UnitSimulator MakeTransducerFiles >/dev/null
    as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    exec "${as_root[@]}" unshare -n env VESK_UNIT_NETNS=1 "$0" "$@"
fi

say() { printf '[unit] %s\n' "$*"; }

source "$top/tools/unit-environment.sh"
make_unit_network

unit=$(mktemp -d /tmp/vesk-unit-XXXXXX)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$unit"
}
trap cleanup EXIT

make_unit_environment "$unit"
"$build/tools/MakeTransducerFiles" "$SUPPORTED_TRANSDUCER_DIR" "$TRANSDUCER_ID_FILE_PREFIX" \
    "$SPEED_TRANSDUCER_ID_FILE_PREFIX"

sim="$build/tools/UnitSimulator"
say "unit directory $unit, eth0 10.0.0.2/24, product $PRODUCT_ID, serial $EMBEDDED_SERIAL_NUMBER_OVERRIDE"
say "legacy transducer files: $(cd "$SUPPORTED_TRANSDUCER_DIR" && echo *)"

# Pipe readers of the error handler and LED tasks: NUL-terminated messages.
serve_pipe() {
    local name=$1 fifo=$2 message
    while IFS= read -r -d '' message; do
        printf '[%s] received "%s"\n' "$name" "$message"
    done <>"$fifo"
}
serve_pipe "error handler" "$IPC_ERROR_HANDLER_TASK" & pids+=($!)
serve_pipe "led task" "$IPC_LED_TASK" & pids+=($!)

say "depth offset -300"
"$sim" set-offset -300
# Primary: a valid bottom that shoals, then loses it for a moment.
"$sim" ping-task PPT 2:1500 2:1480 2:1460 1:0 2:1440 -i 900 & pids+=($!)
# Secondary: a valid bottom, then out of use for a while.
"$sim" ping-task SPT 2:1200 2:1250 0:0 0:0 2:1300 -i 1300 & pids+=($!)
"$sim" listen & pids+=($!)
sleep 0.5

say "starting MasterBottomTask"
set +e
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
wait_for_parent
set -e
pid_file=$(compgen -G "$PID_LOCATION/*.txt" | head -n 1 || true)
if [ -z "$pid_file" ]; then
    say "no PID file appeared: the task did not start"
    exit 1
fi
task_pid=$(basename "$pid_file" .txt)
say "PID file $(basename "$pid_file"): $(tr '\n' ' ' <"$pid_file")"

sleep 5
say "depth offset +250"
"$sim" set-offset 250
sleep 3
say "asking the task: Are You Alive?"
printf 'Are You Alive?\0' >"$IPC_MASTER_BOTTOM_TASK"
sleep 1
say "sending a command this task does not serve: UpdateSystemSettings"
printf 'UpdateSystemSettings\0' >"$IPC_MASTER_BOTTOM_TASK"
sleep 3
say "depth offset 0"
"$sim" set-offset 0
sleep 2
say "master bottom record file: $(od -An -tx1 "$NONPERSISTED_DATABASE_ROOT/MasterBottomRecord.bin" | tr -s ' \n' ' ')"
say "sending Shutdown"
printf 'Shutdown\0' >"$IPC_MASTER_BOTTOM_TASK"
for i in $(seq 1 50); do
    kill -0 "$task_pid" 2>/dev/null || break
    sleep 0.1
done
if kill -0 "$task_pid" 2>/dev/null; then
    say "the task did not stop"
    exit 1
fi
wait "$task_pipeline" || true
if [ -e "$pid_file" ]; then
    say "the PID file is still there"
    exit 1
fi
say "the task has ended and removed its PID file"
sleep 0.3
