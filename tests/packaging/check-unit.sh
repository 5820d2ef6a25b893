#!/usr/bin/env bash
# The systemd unit as installed, checked by systemd itself: its programs are
# pointed at the build tree, everything else stays as shipped. The manual
# page it names is looked up among the build's.
# Usage: check-unit.sh UNIT_FILE TOOL TASK ENV_FILE MAN_PAGE.8.gz
set -euo pipefail
unit=$1 tool=$2 task=$3 env_file=$4 man_page=$5
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
name=$(basename "$unit")
sed -e "s|/usr/bin/vesk|$tool|g" -e "s|/usr/sbin/MasterBottomTask|$task|g" \
    -e "s|^EnvironmentFile=.*|EnvironmentFile=$env_file|" "$unit" >"$dir/$name"
# What the unit must say to do its job, beside what systemd accepts.
for line in 'Type=forking' "ExecStartPre=$tool check --repair" "ExecStop=$tool send --wait" \
            "ExecStopPost=-$tool check --repair" 'KillMode=control-group' 'User=vesk' 'ProtectSystem=strict' \
            'ReadWritePaths=/run/vesk /var/lib/vesk' 'Restart=on-failure' 'StandardOutput=null' \
            'LogRateLimitIntervalSec=' 'LogRateLimitBurst='; do
    grep -qF "$line" "$dir/$name" || { echo "the unit lacks: $line"; exit 1; }
done
mkdir "$dir/man8"
cp "$man_page" "$dir/man8/"
# Without man the references cannot be looked up.
man_check=--man=yes
command -v man >/dev/null || man_check=--man=no
output=$(MANPATH=$dir systemd-analyze verify $man_check "$dir/$name" 2>&1) || { echo "$output"; exit 1; }
# verify reports some faults without failing.
if grep -v "^$" <<<"$output" | grep -q .; then
    echo "$output"
    exit 1
fi
echo "$name verifies"
