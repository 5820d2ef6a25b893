#!/usr/bin/env bash
# Runs COMMAND in a network namespace of its own where eth0 has 10.0.0.2/24,
# as on a unit (for programs that look up the unit's own address): as root,
# or as any other user inside a user namespace of its own where the kernel
# allows one. Exits 77 (skipped), naming the reason, where it does not.
#   tools/unit-netns.sh COMMAND [ARG...]
set -euo pipefail
source "$(dirname "$0")/unit-environment.sh"
if [ -z "${VESK_UNIT_NETNS_INSIDE:-}" ]; then
    if why=$(unit_namespaces_refused --net); then
        printf '%s: Skipped\n%s\n' "$0" "a network namespace is needed: $why"
        exit 77
    fi
    exec "${unit_unshare[@]}" --net env VESK_UNIT_NETNS_INSIDE=1 "$0" "$@"
fi
unset VESK_UNIT_NETNS_INSIDE
make_unit_network
exec "$@"
