# Shared by the check scripts that run inside the test system.
# A script sets `phase` and `checks` (the names in order; check NAME is the
# function check_NAME with '-' as '_') and ends with `run_checks "$@"`.
# `SCRIPT --list` prints the names, so that the driver knows which checks
# did not run when the system died under them.

service=vesk-master-bottom-task
env_file=/etc/vesk/master-bottom-task.env
task=/usr/sbin/MasterBottomTask
results_dir=/vesk-results

# The reason of a failed check: the last line of its log.
fail() {
    echo "$*"
    return 1
}

# Runs CONDITION every half second until it holds or SECONDS have passed.
wait_until() {
    local tries=$(($1 * 2))
    shift
    until "$@"; do
        tries=$((tries - 1))
        [ $tries -gt 0 ] || return 1
        sleep 0.5
    done
}

# A process of the installed task (also when its file was replaced).
is_task() {
    case "$(readlink "/proc/$1/exe" 2>/dev/null)" in
        "$task" | "$task (deleted)") return 0 ;;
        *) return 1 ;;
    esac
}

task_processes() {
    local dir
    for dir in /proc/[0-9]*; do
        if is_task "${dir#/proc/}"; then echo "${dir#/proc/}"; fi
    done
}

# The running task's PID as its PID file gives it. A PID file whose process
# is something else (a stale file, a reused PID) does not count.
task_pid() {
    local file pid
    for file in /run/vesk/pid/*.txt; do
        [ -f "$file" ] && [ "$(sed -n 2p "$file")" = IPC_MASTER_BOTTOM_TASK ] || continue
        pid=$(sed -n 3p "$file")
        if is_task "$pid"; then
            echo "$pid"
            return 0
        fi
    done
    return 1
}

no_task_runs() {
    [ -z "$(task_processes)" ]
}

run_checks() {
    if [ "${1:-}" = --list ]; then
        printf '%s\n' "${checks[@]}"
        exit 0
    fi
    # The operator's view: the tool reads the unit's environment file.
    set -a
    . "$env_file"
    set +a
    local name results=$results_dir/$phase.txt
    : >"$results"
    for name in "${checks[@]}"; do
        local began=$SECONDS
        if "check_${name//-/_}" >"$results_dir/$name.log" 2>&1; then
            echo "PASS $name" >>"$results"
        else
            echo "FAIL $name: $(tail -n 1 "$results_dir/$name.log")" >>"$results"
        fi
        echo "$(tail -n 1 "$results") ($((SECONDS - began)) s)"
    done
}
