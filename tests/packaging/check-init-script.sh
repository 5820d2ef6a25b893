#!/usr/bin/env bash
# The init script of units without systemd, run for real in a network
# namespace of its own (eth0 10.0.0.2/24) on a unit directory in /tmp:
# start, status, a refused second start, stop.
# Usage: check-init-script.sh INIT_SCRIPT ENV_FILE TASK TOOL
set -euo pipefail
if [ -n "${VESK_EMULATOR:-}" ]; then
    # A cross build's task: the script starts it directly, and under the
    # emulator it cannot start (IP_MULTICAST_IF is refused).
    echo "$0: Skipped"
    echo "$VESK_EMULATOR refuses PR_SET_CHILD_SUBREAPER and IP_MULTICAST_IF"
    exit 77
fi
if [ -z "${VESK_INIT_NETNS:-}" ]; then
    exec unshare -n env VESK_INIT_NETNS=1 "$0" "$@"
fi
init=$1 env_file=$2 task=$3 tool=$4
dir=$(mktemp -d /tmp/vesk-init-XXXXXX)
trap '"$dir/init" stop >/dev/null 2>&1 || true; rm -rf "$dir"' EXIT
ip link set lo up
ip link add eth0 type veth peer name eth0-peer
ip addr add 10.0.0.2/24 dev eth0
ip link set eth0 up
ip link set eth0-peer up
sed -e "s|/run/vesk|$dir/run|g" -e "s|/var/lib/vesk|$dir/lib|g" \
    -e "s|^#EMBEDDED_SERIAL_NUMBER_OVERRIDE=|EMBEDDED_SERIAL_NUMBER_OVERRIDE=|" "$env_file" >"$dir/env"
# The unit's user does not exist here: the script then runs the task as its caller.
sed -e "s|^TASK=.*|TASK=$task|" -e "s|^TOOL=.*|TOOL=$tool|" -e "s|^ENV_FILE=.*|ENV_FILE=$dir/env|" \
    -e "s|^USER_NAME=.*|USER_NAME=vesk-test-nobody|" "$init" >"$dir/init"
chmod +x "$dir/init"

fail() { echo "FAILED: $*"; cat "$dir/start.out" 2>/dev/null; exit 1; }
"$dir/init" start >"$dir/start.out" 2>&1 || fail "start"
[ -p "$dir/run/pipes/MasterBottomTask.fifo" ] || fail "the start made no command pipe"
"$dir/init" status | grep -q "runs as process" || fail "status of a running task"
if "$dir/init" start >"$dir/second.out" 2>&1; then fail "a second instance was started"; fi
grep -q "the task already runs" "$dir/second.out" || fail "the second start did not say why"
"$dir/init" stop | grep -q "the task has ended" || fail "stop"
status=0
"$dir/init" status >/dev/null || status=$?
[ $status -eq 3 ] || fail "status of a stopped task is $status, not 3"
echo "init script: started, refused a second instance, stopped"
