#!/usr/bin/env bash
# Fault soak: the master bottom task in a simulated unit (as tools/run-unit.sh
# builds it) under a rotating schedule of faults, then Shutdown.
#
#   tools/soak.sh MINUTES
#
# Faults, five seconds each, in turn: the command pipe flooded with random
# bytes, junk commands, a local bottom file replaced by junk, emptied or made
# a directory, a foreign write lock held on the master bottom record, the
# system settings record removed or replaced by one of another protocol
# version, and a full file system (the unit's non-persisted database is a
# small tmpfs). The task is asked "Are You Alive?" every second throughout.
# The last quarter of the run (at least 10 s) is free of faults.
#
# Prints datagrams sent against turns, acknowledgements against questions,
# open descriptors and RSS at start and end, and every distinct event line
# with its count. Exits non-zero when the task died, leaked descriptors or
# memory, did not broadcast after the faults ended, or did not shut down.
#
# Runs in network and mount namespaces of its own: as root, or as any user
# where the kernel allows user namespaces (exit 77, skipped, where it does
# not). VESK_BUILD names the build directory (default build/release, built
# when missing).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
minutes=${1:?usage: tools/soak.sh MINUTES}
build=${VESK_BUILD:-$top/build/release}

# A cross build's task runs under a user-mode emulator that refuses
# IP_MULTICAST_IF: it cannot start, so there is nothing to soak (77: skipped).
if [ -n "${VESK_EMULATOR:-}" ]; then
    # Said as the other skipped scripts say it, so that tools/test-cross.sh
    # lists the reason.
    printf '%s: Skipped\n%s\n' "$0" "$VESK_EMULATOR refuses IP_MULTICAST_IF: the task cannot start under it"
    exit 77
fi

if [ -z "${VESK_SOAK_NETNS:-}" ]; then
    if [ ! -x "$build/MasterBottomTask" ] || [ ! -x "$build/tools/vesk" ]; then
        if [ ! -f "$build/build.ninja" ]; then
            cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++ >/dev/null
        fi
        ninja -C "$build" MasterBottomTask vesk_tool >/dev/null
    fi
    source "$top/tools/unit-environment.sh"
    if why=$(unit_namespaces_refused --net --mount); then
        printf '%s: Skipped\n%s\n' "$0" "the unit needs network and mount namespaces: $why"
        exit 77
    fi
    exec "${unit_unshare[@]}" -n -m --propagation private env VESK_SOAK_NETNS=1 VESK_BUILD="$build" "$0" "$@"
fi

source "$top/tools/unit-environment.sh"
make_unit_network

unit=$(mktemp -d /tmp/vesk-soak-XXXXXX)
make_unit_environment "$unit"
# Small enough to fill in an instant, large enough for every record.
mount -t tmpfs -o size=256k tmpfs "$unit/nonpersisted"
cleanup() {
    umount -l "$unit/nonpersisted" 2>/dev/null || true
    rm -rf "$unit"
}
trap cleanup EXIT

# Not exec'd: the trap above cleans up after it.
python3 - "$minutes" "$build" "$unit" <<'PY'
import collections, errno, fcntl, os, random, re, signal, socket, struct, subprocess, sys, threading, time

minutes, build, unit = float(sys.argv[1]), sys.argv[2], sys.argv[3]
env = os.environ
nonpersisted, systemdata = env["NONPERSISTED_DATABASE_ROOT"], env["DATABASE_DIR_SYSTEM_DATA"]
vesk = os.path.join(build, "tools", "vesk")
task_out = os.path.join(unit, "task.out")
rng = random.Random(1)
failures = []

def fail(why):
    failures.append(why)
    print("[soak] FAIL: " + why, flush=True)

# Stand-ins around the task: the settings, two ping tasks, the LED task.
subprocess.run([vesk, "db", "set", "SystemSettings", "DepthOffset=-300"], check=True, stdout=subprocess.DEVNULL)
helpers = [subprocess.Popen([vesk, "ping-task", "--interval", "300", "PPT", "2:1500", "2:1480", "1:0", "2:1440"],
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL),
           subprocess.Popen([vesk, "ping-task", "--interval", "400", "SPT", "2:1200", "0:0", "2:1300"],
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)]
led = os.open(env["IPC_LED_TASK"], os.O_RDWR | os.O_NONBLOCK)

# The error handler: counts the task's acknowledgements.
acks = [0]
def error_handler():
    fd = os.open(env["IPC_ERROR_HANDLER_TASK"], os.O_RDWR)
    pending = b""
    while True:
        pending += os.read(fd, 4096)
        *messages, pending = pending.split(b"\0")
        acks[0] += sum(m.endswith(b"ACK_MasterBottomTask") for m in messages)
threading.Thread(target=error_handler, daemon=True).start()

# A display unit: counts the master bottom datagrams as they arrive.
received = [0]
last_received = [0.0]
def display():
    s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    s.bind(("", 3201))
    s.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, socket.inet_aton("224.0.0.64") + socket.inet_aton("10.0.0.2"))
    while True:
        data = s.recv(2048)
        if len(data) == 22 and struct.unpack_from("<I", data)[0] == 0x270108:
            received[0] += 1
            last_received[0] = time.monotonic()
threading.Thread(target=display, daemon=True).start()
time.sleep(0.3)

def led_drain():
    try:
        while os.read(led, 65536):
            pass
    except BlockingIOError:
        pass

# The task, started as the unit's scripts start it.
with open(task_out, "wb") as out:
    launcher = subprocess.run([os.path.join(build, "MasterBottomTask")], stdout=out, stderr=subprocess.STDOUT)
if launcher.returncode != 0:
    print(open(task_out, errors="replace").read())
    sys.exit("[soak] the task did not start")
pid = int(os.listdir(env["PID_LOCATION"])[0].split(".")[0])

def alive():
    try:
        os.kill(pid, 0)
        with open("/proc/%d/stat" % pid) as f:
            return f.read().split(")")[1].split()[0] != "Z"
    except OSError:
        return False

def resources():
    # The fewest descriptors seen over a second: a turn holds a record file
    # open for a moment, a leak holds it for good.
    fds = []
    for _ in range(50):
        fds.append(len(os.listdir("/proc/%d/fd" % pid)))
        time.sleep(0.02)
    rss = int(re.search(r"VmRSS:\s+(\d+)", open("/proc/%d/status" % pid).read()).group(1))
    return min(fds), rss

# Turns (polls of the command pipe) and datagrams sent, counted by strace
# attached to the task for the whole run, where strace is there.
tracer = None
trace_file = os.path.join(unit, "strace.out")
if subprocess.run(["sh", "-c", "command -v strace"], stdout=subprocess.DEVNULL).returncode == 0:
    tracer = subprocess.Popen(["strace", "-c", "-e", "trace=poll,sendto", "-o", trace_file, "-p", str(pid)],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

time.sleep(3)
start_fds, start_rss = resources()
received_at_start = received[0]

questions = [0, 0]  # written, refused (the pipe was full)
def send(message):
    try:
        fd = os.open(env["IPC_MASTER_BOTTOM_TASK"], os.O_WRONLY | os.O_NONBLOCK)
    except OSError:
        return False
    try:
        return os.write(fd, message) == len(message)
    except BlockingIOError:
        return False
    finally:
        os.close(fd)

def ask():
    if send(b"Are You Alive?\0"):
        questions[0] += 1
    else:
        questions[1] += 1

# --- the faults ---
ppt = os.path.join(nonpersisted, "LocalBottomStatePPT.txt")
spt = os.path.join(nonpersisted, "LocalBottomStateSPT.txt")
record = os.path.join(nonpersisted, "MasterBottomRecord.bin")
settings = os.path.join(systemdata, "SystemSettings.bin")

def remove(path):
    try:
        if os.path.isdir(path):
            os.rmdir(path)
        else:
            os.unlink(path)
    except OSError:
        pass

def flood(end):
    fd = os.open(env["IPC_MASTER_BOTTOM_TASK"], os.O_WRONLY | os.O_NONBLOCK)
    while time.monotonic() < end:
        try:
            os.write(fd, rng.randbytes(4096))
        except BlockingIOError:
            time.sleep(0.01)
    os.close(fd)
    send(b"\0")  # ends whatever message the flood left open

def junk_commands(end):
    words = [b"UpdateSystemSettings", b"shutdown", b"Shutdow", b" Shutdown", b"ACK_", b"x" * 700, b"",
             b"Are You Alive", b"\xff\xfe", b"LedSetPattern:4"]
    while time.monotonic() < end:
        send(rng.choice(words) + b"\0")
        time.sleep(0.005)

def junk_bottom(end):
    path = rng.choice([ppt, spt])
    kind = rng.choice(["junk", "empty", "directory", "digits"])
    while time.monotonic() < end:
        remove(path)
        try:
            if kind == "directory":
                os.mkdir(path)
            else:
                content = {"junk": rng.randbytes(200), "empty": b"", "digits": b"9" * 100000}[kind]
                with open(path, "wb") as f:
                    f.write(content)
        except OSError:
            pass
        time.sleep(0.2)
    remove(path)

def foreign_lock(end):
    try:
        fd = os.open(record, os.O_WRONLY)
    except OSError:
        return
    try:
        while time.monotonic() < end:
            try:
                fcntl.lockf(fd, fcntl.LOCK_EX | fcntl.LOCK_NB)
                time.sleep(end - time.monotonic())
            except OSError:
                time.sleep(0.001)
    finally:
        os.close(fd)

def other_settings(end):
    while time.monotonic() < end:
        if rng.random() < 0.5:
            remove(settings)
        else:
            try:
                data = bytearray(open(settings, "rb").read())
                if len(data) >= 12:
                    struct.pack_into("<I", data, 8, 115)
                    with open(settings, "r+b") as f:
                        f.write(data)
            except OSError:
                pass
        time.sleep(0.5)

def full_disk(end):
    filler = os.path.join(nonpersisted, "filler")
    try:
        with open(filler, "wb") as f:
            while True:
                f.write(b"\0" * 4096)
                f.flush()
    except OSError:
        pass  # full
    time.sleep(max(0, end - time.monotonic()))
    remove(filler)

faults = [("pipe flood", flood), ("junk commands", junk_commands), ("local bottom junk", junk_bottom),
          ("foreign write lock", foreign_lock), ("settings removed or of another version", other_settings),
          ("full file system", full_disk)]

total = minutes * 60
quiet = max(10.0, total / 4)
began = time.monotonic()
faults_end = began + total - quiet
phase = 5.0
turn = 0
schedule = collections.Counter()
while time.monotonic() + phase <= faults_end and alive():
    name, action = faults[turn % len(faults)]
    turn += 1
    schedule[name] += 1
    end = time.monotonic() + phase
    worker = threading.Thread(target=action, args=(end,))
    worker.start()
    while time.monotonic() < end:
        ask()
        led_drain()
        time.sleep(1)
    worker.join()

# --- no more faults: the task must be back to normal ---
received_after_faults = received[0]
while time.monotonic() < began + total:
    ask()
    led_drain()
    time.sleep(1)
if not alive():
    fail("the task died")
else:
    end_fds, end_rss = resources()
    if received[0] == received_after_faults or time.monotonic() - last_received[0] > 2:
        fail("no broadcast after the faults ended")
    if end_fds > start_fds:
        fail("descriptors leaked: %d at start, %d at end" % (start_fds, end_fds))
    if end_rss > start_rss + 2048:
        fail("memory grew: %d kB at start, %d kB at end" % (start_rss, end_rss))
acks_before_shutdown = acks[0]
if tracer:
    tracer.send_signal(signal.SIGINT)
    tracer.wait()

send(b"Shutdown\0")
deadline = time.monotonic() + 10
while alive() and time.monotonic() < deadline:
    time.sleep(0.1)
if alive():
    fail("the task did not shut down")
elif os.listdir(env["PID_LOCATION"]):
    fail("the PID file is still there")
for helper in helpers:
    helper.terminate()
    helper.wait()

# --- summary ---
turns = sent = send_errors = None
if tracer and os.path.exists(trace_file):
    for line in open(trace_file):
        fields = line.split()
        if fields and fields[-1] in ("poll", "sendto"):
            calls = int(fields[3])
            errors = int(fields[4]) if len(fields) == 6 else 0
            if fields[-1] == "poll":
                turns = calls
            else:
                sent, send_errors = calls - errors, errors
elapsed = time.monotonic() - began
print("[soak] %.0f s, fault phases: %s" % (elapsed, ", ".join("%s x%d" % kv for kv in schedule.items())))
if turns is not None:
    print("[soak] turns %d, datagrams sent %d (%d sends failed), received %d"
          % (turns, sent or 0, send_errors or 0, received[0] - received_at_start))
else:
    print("[soak] datagrams received %d (no strace: turns not counted)" % (received[0] - received_at_start))
print("[soak] questions %d (%d more refused by a full pipe), acknowledgements %d"
      % (questions[0], questions[1], acks_before_shutdown))
if "end_fds" in dir():
    print("[soak] descriptors %d -> %d, RSS %d kB -> %d kB" % (start_fds, end_fds, start_rss, end_rss))
print("[soak] event lines (time masked), by count:")
stamp = re.compile(r"[A-Z][a-z]{2} [A-Z][a-z]{2} [ 1-3][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}")
lines = collections.Counter(stamp.sub("<time>", l.rstrip("\n")) for l in open(task_out, errors="replace"))
for line, count in lines.most_common():
    print("%8d  %s" % (count, line[:240]))
print("[soak] %s" % ("PASSED" if not failures else "FAILED: " + "; ".join(failures)), flush=True)
os._exit(1 if failures else 0)
PY
