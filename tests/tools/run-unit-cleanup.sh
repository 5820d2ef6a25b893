#!/usr/bin/env bash
# tools/run-unit.sh stopped at several moments of its run, by Ctrl-C (SIGINT
# to its process group, as a terminal sends it), by SIGINT or SIGTERM to the
# script alone, and by SIGKILL of the script alone, and once left to finish:
# each time it must end, with no process of the unit left and no trace of
# its unit directory.
# Usage: run-unit-cleanup.sh RUN_UNIT BUILD_DIR
set -euo pipefail
run_unit=$1 build=$2
if [ -n "${VESK_EMULATOR:-}" ]; then
    echo "$0: Skipped"
    echo "$VESK_EMULATOR refuses IP_MULTICAST_IF: the task cannot start under it"
    exit 77
fi
source "$(dirname "$run_unit")/unit-environment.sh"
if why=$(unit_namespaces_refused --net --pid --mount --fork --mount-proc); then
    echo "$0: Skipped"
    echo "the unit needs network, PID and mount namespaces: $why"
    exit 77
fi

out=$(mktemp)
script_pid=
# Only this shell's own end, not that of a subshell, cleans up.
trap '[ "$BASHPID" != $$ ] || { [ -z "$script_pid" ] || kill -KILL "$script_pid" 2>/dev/null; rm -f "$out"; }' EXIT
failures=0
fail() { echo "FAILED ($what): $*"; sed 's/^/    /' "$out"; failures=$((failures + 1)); }

# Processes of the unit: everything the script runs inherits this mark.
mark=VESK_CLEANUP_CHECK=$$
unit_processes() {
    local proc
    for proc in /proc/[0-9]*; do
        # Files named as arguments, not redirected: a process may be gone
        # by the time its files are read.
        if grep -qaxzF "$mark" "$proc/environ" 2>/dev/null; then
            echo "${proc#/proc/}: $(cat "$proc/cmdline" 2>/dev/null | tr '\0' ' ')"
        fi
    done
}

# Runs the script until Trigger appears in its output ("" at once), sends
# Signal ("" none), and checks that it ends with Status and leaves nothing.
run_case() {
    local signal=$1 trigger=$2 status=$3 got=0 left i
    what="${signal:-no signal} at ${trigger:-once}"
    # In a process group of its own, as a shell at a terminal runs a command
    # (and with SIGINT not ignored): a group signal reaches the script and
    # all it runs.
    set -m
    env "$mark" VESK_BUILD="$build" "$run_unit" >"$out" 2>&1 &
    script_pid=$!
    set +m
    # "At once" is once the script runs, not while this shell's child is
    # still on its way to starting it.
    until grep -qaF "$run_unit" "/proc/$script_pid/cmdline" 2>/dev/null; do
        [ -e "/proc/$script_pid" ] || break
        sleep 0.01
    done
    if [ -n "$trigger" ]; then
        until grep -q "$trigger" "$out"; do
            if ! kill -0 "$script_pid" 2>/dev/null || grep -q "verdict:" "$out"; then
                fail "ended before \"$trigger\""
                break
            fi
            sleep 0.02
        done
    fi
    case $signal in
        Ctrl-C) kill -INT -- "-$script_pid" ;;
        ?*) kill "-$signal" "$script_pid" ;;
    esac
    # An interrupted script ends at once; the limit only keeps a hang from
    # stopping the test.
    ended() { [ ! -e "/proc/$script_pid" ] || grep -q '^State:.*zombie' "/proc/$script_pid/status" 2>/dev/null; }
    # (Without the shell's notice of how it ended: its output is the script's.)
    {
        for i in $(seq 1 "$([ -n "$signal" ] && echo 400 || echo 1200)"); do
            ended && break
            sleep 0.05
        done
        ended || { fail "did not end"; kill -KILL "$script_pid"; }
        wait "$script_pid" || got=$?
    } 2>/dev/null
    [ "$got" -eq "$status" ] || fail "exit status $got, expected $status"
    # After SIGKILL of the script the kernel ends the rest just after it.
    for i in $(seq 1 100); do
        left=$(unit_processes)
        [ -z "$left" ] && break
        sleep 0.1
    done
    [ -z "$left" ] || fail "processes of the unit left: $left"
    local dir
    dir=$(sed -n 's/^\[unit\] unit directory \([^,]*\),.*/\1/p' "$out")
    [ -z "$dir" ] || [ ! -e "$dir" ] || fail "the unit directory $dir is still there"
    ! compgen -G "/tmp/vesk-unit*" >/dev/null || fail "a unit directory was left in /tmp: $(echo /tmp/vesk-unit*)"
    ! grep -q vesk-unit /proc/self/mountinfo || fail "the unit's tmpfs is mounted outside the unit"
    script_pid=
}

run_case Ctrl-C "" 130
run_case Ctrl-C "unit directory" 130
run_case Ctrl-C "starting MasterBottomTask" 130
run_case Ctrl-C "PID file" 130
run_case Ctrl-C "asking the task" 130
run_case INT "starting MasterBottomTask" 130
run_case TERM "PID file" 130
run_case KILL "" 137
run_case KILL "legacy transducer files" 137
run_case KILL "starting MasterBottomTask" 137
run_case KILL "PID file" 137
run_case "" "" 0
for line in "^\[task\] " "master bottom:" "^\[unit\] verdict: PASSED"; do
    grep -q "$line" "$out" || fail "no line like $line"
done

[ "$failures" -eq 0 ] && echo "run-unit.sh left nothing behind in 12 runs"
exit $(( failures > 0 ))
