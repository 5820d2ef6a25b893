#!/usr/bin/env bash
# The init script of units without systemd, run for real as root in a
# network namespace of its own (eth0 10.0.0.2/24) on a unit directory in
# /tmp, with a throwaway system user as the tasks' user, so that the task
# goes through start-stop-daemon --chuid as on a unit. Around it: another
# copy of the tool running, and pid files (the script's and the task's)
# naming an unrelated live process, which must neither count as the task
# nor be signalled.
# Usage: check-init-script.sh INIT_SCRIPT ENV_FILE TASK TOOL
set -euo pipefail
if [ -n "${VESK_EMULATOR:-}" ]; then
    # A cross build's task: the script starts it directly, and under the
    # emulator it cannot start (IP_MULTICAST_IF is refused).
    echo "$0: Skipped"
    echo "$VESK_EMULATOR refuses PR_SET_CHILD_SUBREAPER and IP_MULTICAST_IF"
    exit 77
fi
if [ "$(id -u)" -ne 0 ] || ! command -v useradd >/dev/null; then
    echo "$0: Skipped"
    echo "needs root and useradd: it adds a system user and starts the task as that user, which a user" \
        "namespace of one uid cannot"
    exit 77
fi
if [ -z "${VESK_INIT_NETNS:-}" ]; then
    exec unshare -n env VESK_INIT_NETNS=1 "$0" "$@"
fi
init=$1 env_file=$2 task=$3 tool=$4
dir=$(mktemp -d /tmp/vesk-init-XXXXXX)
user=vesk-t$$
others=()
cleanup() {
    timeout 60 "$dir/init" stop >/dev/null 2>&1 || true
    [ ${#others[@]} -eq 0 ] || kill "${others[@]}" 2>/dev/null || true
    userdel "$user" 2>/dev/null || true
    rm -rf "$dir"
}
trap cleanup EXIT
useradd --system --user-group --no-create-home --home-dir /nonexistent --shell /usr/sbin/nologin "$user"
chmod 0755 "$dir"

ip link set lo up
ip link add eth0 type veth peer name eth0-peer
ip addr add 10.0.0.2/24 dev eth0
ip link set eth0 up
ip link set eth0-peer up

# Copies the user can reach, whatever the build tree's permissions.
mkdir "$dir/bin"
cp "$task" "$dir/bin/MasterBottomTask"
cp "$tool" "$dir/bin/vesk"
chmod 0755 "$dir"/bin/*

sed -e "s|/run/vesk|$dir/run|g" -e "s|/var/lib/vesk|$dir/lib|g" \
    -e "s|^#EMBEDDED_SERIAL_NUMBER_OVERRIDE=|EMBEDDED_SERIAL_NUMBER_OVERRIDE=|" "$env_file" >"$dir/env"
sed -e "s|^TASK=.*|TASK=$dir/bin/MasterBottomTask|" -e "s|^TOOL=.*|TOOL=$dir/bin/vesk|" \
    -e "s|^ENV_FILE=.*|ENV_FILE=$dir/env|" -e "s|^PIDFILE=.*|PIDFILE=$dir/run/MasterBottomTask.pid|" \
    -e "s|^USER_NAME=.*|USER_NAME=$user|" "$init" >"$dir/init"
chmod 0755 "$dir/init" && chmod 0644 "$dir/env"
pidfile=$dir/run/MasterBottomTask.pid

fail() { echo "FAILED: $*"; exit 1; }
# Captured through a pipe: a task left holding the script's stdout would
# keep it open and the capture waiting until the time-out.
run() { timeout 60 "$dir/init" "$@" 2>&1; }
task_pids() { pgrep -x -f "$dir/bin/MasterBottomTask" || true; }

# Another copy of the tool at the same path, and an unrelated process that
# the left-over pid files name.
mkdir -p "$dir/other" "$dir/run/pid"
NONPERSISTED_DATABASE_ROOT=$dir/other "$dir/bin/vesk" ping-task --interval 1000 OTHER 2:100 >/dev/null 2>&1 &
others+=($!)
sleep 1000 &
decoy=$!
others+=("$decoy")
plant() {
    echo "$decoy" >"$pidfile"
    printf 'MasterBottomTask\nIPC_MASTER_BOTTOM_TASK\n%s\n13.34\n' "$decoy" >"$dir/run/pid/$decoy.txt"
}
plant

status=0
out=$(run status) || status=$?
[ $status -eq 1 ] || [ $status -eq 3 ] || fail "status with pid files of an unrelated process: $status, $out"

out=$(run start) || fail "start beside another vesk and left-over pid files: $out"
[ -p "$dir/run/pipes/MasterBottomTask.fifo" ] || fail "the start made no command pipe"
pid=$(task_pids)
[ "$(wc -w <<<"$pid")" -eq 1 ] || fail "want one task, found: $pid"
[ "$(ps -o user= -p "$pid")" = "$user" ] || fail "the task runs as $(ps -o user= -p "$pid"), not $user"
[ "$(readlink "/proc/$pid/fd/1")" = /dev/null ] || fail "the task writes to $(readlink "/proc/$pid/fd/1")"
[ "$(cat "$pidfile")" = "$pid" ] || fail "the pid file says $(cat "$pidfile"), the task is $pid"
out=$(run status) || fail "status of a running task: $out"
grep -q "running as process $pid" <<<"$out" || fail "status does not name process $pid: $out"

out=$(run start) || fail "a second start: $out"
grep -q "already running" <<<"$out" || fail "the second start did not say the task runs: $out"
[ "$(task_pids)" = "$pid" ] || fail "a second instance was started: $(task_pids)"

out=$(run stop) || fail "stop: $out"
[ -z "$(task_pids)" ] || fail "the task still runs after stop"
[ ! -e "$pidfile" ] || fail "stop left the pid file"
[ -z "$(ls "$dir/run/pid")" ] || fail "stop left task PID files: $(ls "$dir/run/pid")"
status=0
run status >/dev/null || status=$?
[ $status -eq 3 ] || fail "status of a stopped task is $status, not 3"

# A stop of a stopped task must not act on what a left-over pid file names.
plant
out=$(run stop) || fail "stop of a stopped task: $out"
for other in "${others[@]}"; do
    kill -0 "$other" 2>/dev/null || fail "process $other, not the task, did not survive"
done
echo "init script: started as $user beside another vesk and planted pid files," \
     "refused a second instance, stopped; nothing else signalled"
