#!/usr/bin/env bash
# Runs the master bottom task inside a simulated unit on this machine and
# shows what it does; ends on its own after about 20 seconds.
#
# The unit lives in namespaces of its own: a network namespace (nothing
# reaches this machine's interfaces) where eth0 has 10.0.0.2/24, as on a
# real unit; a PID namespace whose first process is this script, so that
# when the script ends, however it ends, the kernel ends every process of
# the unit with it; and a mount namespace where the unit's directory (its
# database, pipes and PID files) is a tmpfs that disappears with the last
# of those processes. Around the task run stand-ins: the two ping tasks
# writing their local bottoms, the error handler and LED tasks reading their
# pipes, and a display unit that prints the master bottom as it changes.
# The script asks the task "Are You Alive?", sends it a command it does not
# know, and shuts it down.
#
# VESK_BUILD names the build directory (default build/release), built or
# brought up to date first.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
build=${VESK_BUILD:-$top/build/release}

if [ -z "${VESK_UNIT_NAMESPACES:-}" ]; then
    "$top/tools/install-deps.sh"
    source "$top/tools/unit-environment.sh"
    if why=$(unit_namespaces_refused --net --pid --mount --fork --mount-proc); then
        echo "[unit] cannot make the unit's namespaces: $why" >&2
        echo "[unit] run it as root instead (sudo $0)" >&2
        exit 1
    fi
    # exec: this process becomes the namespaces' keeper (unshare), and its
    # end, even by SIGKILL, kills the script's second run (--kill-child),
    # the PID namespace's first process, and with it the whole unit.
    exec "${unit_unshare[@]}" --net --pid --mount --propagation private --fork --kill-child \
        env VESK_UNIT_NAMESPACES=1 VESK_UNIT_KEEPER=$$ VESK_BUILD="$build" "$0" "$@"
fi

say() { printf '[unit] %s\n' "$*"; }
trap 'say "interrupted"; exit 130' INT TERM
# The keeper blocks INT and TERM while it waits for us, and the first
# process of a PID namespace gets no signal it has no handler for: a Ctrl-C
# before the trap above, or an INT or TERM sent to the script's own pid (the
# keeper's), would be lost. A watcher passes what the keeper holds pending
# on to the unit, as a Ctrl-C would; it reads the keeper's status through
# the machine's /proc, kept as its working directory.
keeper_interrupted() {
    local name mask pending=0
    while read -r name mask; do
        [[ $name == ShdPnd: || $name == SigPnd: ]] && pending=$((pending | 0x$mask))
    done <status
    (( pending & (1 << (2 - 1) | 1 << (15 - 1)) ))   # bit n-1 for signal n: INT, TERM
}
cd "/proc/$VESK_UNIT_KEEPER"
(
    while ! keeper_interrupted; do
        sleep 0.2
    done
    kill -INT -1 1
) &
cd "$OLDPWD"
# From here /proc shows the unit's processes only.
mount -t proc proc /proc
# The unit's directory, seen only inside its mount namespace; /run of the
# machine is not needed in here.
mount -t tmpfs -o mode=0755,size=64m vesk-unit /run
unit=/run/vesk-unit
mkdir "$unit"

# Quiet when the build works; its errors are shown when it does not. Built
# in here, so that an interrupted build ends with the rest.
if ! { [ -f "$build/build.ninja" ] ||
       cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++; } >"$unit/build.log" 2>&1 ||
   ! ninja -C "$build" MasterBottomTask vesk_tool MakeTransducerFiles >>"$unit/build.log" 2>&1; then
    cat "$unit/build.log" >&2
    echo "[unit] verdict: FAILED, the build failed (errors above)" >&2
    exit 1
fi

source "$top/tools/unit-environment.sh"
make_unit_network

checks=()
failed=()
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
# Nothing to clean up by hand: this script is the first process of the
# unit's PID namespace, and its exit ends every other one (the task forked
# away from us included) and takes the unit's tmpfs with them.

make_unit_environment "$unit"
"$build/tools/MakeTransducerFiles" "$SUPPORTED_TRANSDUCER_DIR" "$TRANSDUCER_ID_FILE_PREFIX" \
    "$SPEED_TRANSDUCER_ID_FILE_PREFIX"

vesk="$build/tools/vesk"
say "unit directory $unit, eth0 10.0.0.2/24, product $PRODUCT_ID, serial $EMBEDDED_SERIAL_NUMBER_OVERRIDE"
say "legacy transducer files: $(cd "$SUPPORTED_TRANSDUCER_DIR" && echo *)"

# Pipe readers of the error handler and LED tasks: NUL-terminated messages.
# The error handler's reader notes each acknowledgement for the verdict.
serve_pipe() {
    local name=$1 fifo=$2 message
    while IFS= read -r -d '' message; do
        printf '[%s] received "%s"\n' "$name" "$message"
        [[ $message == *:ACK_* ]] && touch "$unit/acknowledged"
    done <>"$fifo"
}
serve_pipe "error handler" "$IPC_ERROR_HANDLER_TASK" &
serve_pipe "led task" "$IPC_LED_TASK" &

say "depth offset -300"
"$vesk" db set SystemSettings DepthOffset=-300 >/dev/null
# Primary: a valid bottom that shoals, then loses it for a moment.
"$vesk" ping-task --interval 900 PPT 2:1500 2:1480 2:1460 1:0 2:1440 &
# Secondary: a valid bottom, then out of use for a while.
"$vesk" ping-task --interval 1300 SPT 2:1200 2:1250 0:0 0:0 2:1300 &
# Shown as it arrives, and kept for the verdict's count: tee writes each
# line out before it lands in the file, so a line counted was also shown.
"$vesk" display | tee "$unit/display.out" &
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
passed "Shutdown ended the task and removed its PID file"
sleep 0.3
verdict
