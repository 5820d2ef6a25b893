#!/bin/bash
# The init script of units without systemd, and the configuration check on
# damaged record files, in the test system's root with a plain shell as
# process 1 and the package installed (automatic starts denied).
. "$(dirname "$0")/checks-lib.sh"
phase=initd
checks=(initd-start initd-status initd-refuses-second-start initd-stop initd-start-with-unrelated-vesk
        initd-stale-pid-file check-findings check-repair-then-start)
init=/etc/init.d/$service

stop_quietly() {
    timeout --kill-after=5 30 "$init" stop >/dev/null 2>&1
    wait_until 15 no_task_runs
}

check_initd_start() {
    local pid user
    "$init" start || { fail "start exited $?"; return; }
    pid=$(task_pid) || { fail "no task with a PID file after the start"; return; }
    user=$(ps -o user= -p "$pid")
    [ "$user" = vesk ] || fail "the task runs as $user, not vesk"
}

check_initd_status() {
    local pid out status=0
    pid=$(task_pid) || { fail "no task runs"; return; }
    out=$("$init" status) || status=$?
    echo "$out"
    [ $status -eq 0 ] || { fail "status of a running task exited $status, not 0"; return; }
    grep -qw "$pid" <<<"$out" || fail "status does not name the task's process $pid"
}

check_initd_refuses_second_start() {
    local pid status=0 count
    pid=$(task_pid) || { fail "no task runs"; return; }
    "$init" start || status=$?
    count=$(task_processes | wc -l)
    [ "$count" -eq 1 ] && [ "$(task_pid)" = "$pid" ] || { fail "$count tasks run after a second start"; return; }
    # Starting a service that already runs is a success for an init script.
    [ $status -eq 0 ] || fail "a second start exited $status, not 0 (already running)"
}

check_initd_stop() {
    local pid status=0
    pid=$(task_pid) || { fail "no task runs"; return; }
    "$init" stop || { fail "stop exited $?"; return; }
    wait_until 15 no_task_runs || { fail "the task still runs after the stop"; return; }
    [ ! -e "$PID_LOCATION/$pid.txt" ] || { fail "$PID_LOCATION/$pid.txt is left after the stop"; return; }
    [ ! -e /run/vesk/MasterBottomTask.pid ] || { fail "/run/vesk/MasterBottomTask.pid is left after the stop"; return; }
    "$init" status || status=$?
    [ $status -eq 3 ] || fail "status of a stopped task exited $status, not 3"
}

check_initd_start_with_unrelated_vesk() {
    local display status=0 pid
    stop_quietly
    vesk display --seconds 120 >/dev/null 2>&1 &
    display=$!
    "$init" start || status=$?
    pid=$(task_pid)
    kill "$display"
    wait "$display" 2>/dev/null
    stop_quietly
    [ -n "$pid" ] || { fail "no task started while vesk display ran (start exited $status)"; return; }
    [ $status -eq 0 ] || fail "start exited $status while vesk display ran"
}

check_initd_stale_pid_file() {
    local sleeper status=0 started out survived=yes
    stop_quietly
    sleep 300 &
    sleeper=$!
    printf 'MasterBottomTask\nIPC_MASTER_BOTTOM_TASK\n%d\n13.34\n' "$sleeper" >"$PID_LOCATION/$sleeper.txt"
    echo "$sleeper" >/run/vesk/MasterBottomTask.pid
    out=$("$init" status) || status=$?
    echo "$out"
    "$init" start
    started=$(task_pid)
    "$init" stop
    kill "$sleeper" 2>/dev/null || survived=no
    rm -f "$PID_LOCATION/$sleeper.txt" /run/vesk/MasterBottomTask.pid
    [ "$survived" = yes ] || { fail "the stop killed the unrelated process named by the stale PID file"; return; }
    [ $status -eq 1 ] || [ $status -eq 3 ] || { fail "status with a stale PID file exited $status"; return; }
    [ -n "$started" ] || { fail "no task started over a stale PID file"; return; }
    no_task_runs || fail "the task still runs after the stop"
}

# One of each thing at a record's name that must neither hang nor abort the
# check: a directory, a FIFO, an endless device, a huge sparse file, and a
# packet of another record (whose id would make the task abort).
damage_records() {
    damaged=("$NONPERSISTED_DATABASE_ROOT/MasterBottomRecord.bin" "$NONPERSISTED_DATABASE_ROOT/ErrorStatus.bin"
             "$DATABASE_DIR_SYSTEM_DATA/SystemSettings.bin" "$DATABASE_DIR_SYSTEM_DATA/ServiceInfo.bin"
             "$NONPERSISTED_DATABASE_ROOT/Command.bin")
    undamage_records
    mkdir "${damaged[0]}"
    mkfifo "${damaged[1]}"
    ln -s /dev/zero "${damaged[2]}"
    truncate -s 2G "${damaged[3]}"
    # The master bottom record's id (0x270108) with the command record's size.
    printf '\010\001\047\000\030\000\000\000\164\000\000\000\000\000\000\000\0\0\0\0\0\0\0\0' >"${damaged[4]}"
}

# What is left at the names and beside them, so that nothing after a check
# meets a damaged file by accident.
undamage_records() {
    local path
    for path in "${damaged[@]}"; do
        rm -rf "$path" "$path".bad-*
    done
}

check_check_findings() {
    local out status=0 path unnamed=""
    stop_quietly || { fail "the task could not be stopped"; return; }
    damage_records
    out=$(timeout --kill-after=5 30 vesk check) || status=$?
    echo "$out"
    undamage_records
    [ $status -ne 124 ] && [ $status -ne 137 ] || { fail "vesk check did not finish within 30 s"; return; }
    [ $status -ne 134 ] || { fail "vesk check aborted"; return; }
    for path in "${damaged[@]}"; do
        grep -F "$path" <<<"$out" | grep -vq "missing" || unnamed+=" $path"
    done
    [ -z "$unnamed" ] || { fail "vesk check did not name:$unnamed"; return; }
    [ $status -eq 1 ] || fail "vesk check exited $status, not 1"
}

check_check_repair_then_start() {
    local status=0 path kept="" started
    stop_quietly || { fail "the task could not be stopped"; return; }
    damage_records
    timeout --kill-after=5 30 vesk check --repair || status=$?
    # The huge sparse file is a record too long, which the task reads the
    # packet of and cuts at its next store: named by the check, left in
    # place by the repair, and the start below meets it.
    for path in "${damaged[0]}" "${damaged[1]}" "${damaged[2]}" "${damaged[4]}"; do
        compgen -G "$path.bad-*" >/dev/null || kept+=" $path"
    done
    # The start meets what the repair left.
    [ $status -eq 0 ] && [ -z "$kept" ] && "$init" start && started=$(task_pid)
    undamage_records
    stop_quietly
    [ $status -eq 0 ] || { fail "vesk check --repair exited $status, not 0"; return; }
    [ -z "$kept" ] || { fail "not moved aside to NAME.bad-N:$kept"; return; }
    [ -n "$started" ] || fail "no task started after the repair"
}

run_checks "$@"
