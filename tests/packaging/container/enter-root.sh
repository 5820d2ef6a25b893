#!/bin/bash
# Runs COMMAND chrooted in ROOT with a plain shell's world around it: meant
# to be process 1 of `unshare --pid --fork --mount-proc --net --mount`, so
# that the network (eth0 10.0.0.2/24), the mounts and every process end
# with it. RESULTS is seen inside as /vesk-results.
# Usage: enter-root.sh ROOT RESULTS COMMAND...
set -euo pipefail
root=$1 results=$2
shift 2
. "$(dirname "$0")/../../../tools/unit-environment.sh"
make_unit_network
mount -t proc proc "$root/proc"
mount -t tmpfs tmpfs "$root/run"
mount -t tmpfs tmpfs "$root/tmp"
mkdir -p "$root/vesk-results"
mount --bind "$results" "$root/vesk-results"
exec chroot "$root" "$@"
