#!/bin/bash
# The package's life cycle under systemd: run by a oneshot unit once the
# booted test system has reached multi-user.target, with the package installed.
. "$(dirname "$0")/checks-lib.sh"
phase=systemd
checks=(service-active-after-boot group-receives-master-bottom alive-acknowledged stop-removes-pid-file
        kill9-restarts journal-one-copy upgrade-runs-new-binary remove-stops purge-removes-state)
higher_package=/var/tmp/vesk-debs/higher.deb

is_active() {
    [ "$(systemctl is-active "$service")" = active ]
}

check_service_active_after_boot() {
    local state
    wait_until 30 is_active && return
    state="$(systemctl is-active "$service"), $(systemctl is-enabled "$service")"
    systemctl status --no-pager "$service"
    # The checks after this one are about their own step, not about the boot.
    systemctl start "$service"
    fail "not active after boot ($state)"
}

check_group_receives_master_bottom() {
    local received
    timeout 30 vesk dump --group 224.0.0.64 --port 3201 --count 3 --seconds 10 | tee "$results_dir/dump.txt"
    received=$(grep -c 'MasterBottomRecord' "$results_dir/dump.txt")
    [ "$received" -ge 3 ] || fail "$received master bottom packets on 224.0.0.64:3201 in 10 s, not 3"
}

check_alive_acknowledged() {
    timeout 30 vesk send --wait=10 alive || fail "Are You Alive? was not acknowledged (exit $?)"
}

check_stop_removes_pid_file() {
    local pid
    pid=$(task_pid) || { fail "no task runs before the stop"; return; }
    systemctl stop "$service" || { fail "systemctl stop failed"; return; }
    ! is_task "$pid" || { fail "task $pid still runs after systemctl stop"; return; }
    [ ! -e "$PID_LOCATION/$pid.txt" ] || { fail "$PID_LOCATION/$pid.txt is left after the stop"; return; }
    systemctl start "$service" && wait_until 10 is_active || fail "no start after the stop"
}

check_kill9_restarts() {
    local old restart
    old=$(task_pid) || { fail "no task runs"; return; }
    restart=$(systemctl show -P RestartUSec "$service" | sed -n 's/^\([0-9]*\)s$/\1/p')
    restarted() {
        local pid
        pid=$(task_pid) && [ "$pid" != "$old" ] && is_active
    }
    kill -9 "$old"
    wait_until $((${restart:-5} + 30)) restarted ||
        fail "no new task within RestartSec ${restart:-?} s + 30 s ($(systemctl is-active "$service"))"
}

# Event lines as the system log has them; a copy on standard output
# carries the level in front ("3::").
event_lines() {
    sed -E 's/^[0-7]:://' | grep -E '^[A-Za-z]+:.* \(-?[0-9]+\) @ .* because .*Build\)$' | sort -u
}

check_journal_one_copy() {
    local both wrong_level
    # A command the task does not serve is reported, so that there is at
    # least one event of this boot besides the start's.
    timeout 30 vesk send "No Such Command" || true
    sleep 1
    journalctl -u "$service" -o cat _TRANSPORT=stdout | event_lines >"$results_dir/stdout-events.txt"
    journalctl -u "$service" -o cat _TRANSPORT=syslog | event_lines >"$results_dir/syslog-events.txt"
    journalctl -u "$service" -o cat -p err | event_lines >"$results_dir/error-events.txt"
    journalctl -u "$service" -o cat -p info..info | event_lines >"$results_dir/info-events.txt"
    cat "$results_dir"/{stdout,syslog}-events.txt | grep -q . || { fail "no event line in the journal"; return; }
    both=$(comm -12 "$results_dir/stdout-events.txt" "$results_dir/syslog-events.txt" | wc -l)
    [ "$both" -eq 0 ] || { fail "$both event lines are in the journal twice (standard output and system log)"; return; }
    grep -q . "$results_dir/error-events.txt" || { fail "journalctl -p err shows no level-3 event line"; return; }
    wrong_level=$(comm -12 "$results_dir/error-events.txt" "$results_dir/info-events.txt" | wc -l)
    [ "$wrong_level" -eq 0 ] || fail "$wrong_level level-3 event lines are in the journal at level 6 too"
}

check_upgrade_runs_new_binary() {
    local old pid
    old=$(task_pid) || { fail "no task runs before the upgrade"; return; }
    upgraded() {
        pid=$(task_pid) && [ "$pid" != "$old" ] && is_active && [ "$(readlink "/proc/$pid/exe")" = "$task" ]
    }
    dpkg -i "$higher_package" || { fail "dpkg -i of the higher version failed"; return; }
    wait_until 30 upgraded && return
    pid=$(task_pid)
    fail "after the upgrade: task ${pid:-none} (was $old) runs $(readlink "/proc/${pid:-0}/exe")," \
        "$(systemctl is-active "$service")"
}

check_remove_stops() {
    local left
    dpkg -r vesk-master-bottom-task || { fail "dpkg -r failed"; return; }
    wait_until 15 no_task_runs && return
    left=$(task_processes | xargs)
    # The purge check that follows is about the files, not about this.
    systemctl stop "$service"
    kill -9 $left 2>/dev/null
    fail "MasterBottomTask still runs after dpkg -r (processes $left)"
}

check_purge_removes_state() {
    local dir left=""
    dpkg -P vesk-master-bottom-task || { fail "dpkg -P failed"; return; }
    for dir in /var/lib/vesk /run/vesk; do
        [ ! -e "$dir" ] || left+=" $dir"
    done
    getent passwd vesk >/dev/null || { fail "the user vesk is gone after the purge"; return; }
    [ -z "$left" ] || fail "left after dpkg -P:$left"
}

run_checks "$@"
journalctl -b --no-pager >"$results_dir/journal.txt" 2>&1 || true
