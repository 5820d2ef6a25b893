#!/usr/bin/env bash
# Builds the Debian package and checks that everything a unit needs is in
# it, in its place, for the architecture the compiler builds for.
# Usage: check-package.sh BUILD_DIR DEBIAN_ARCH LUA_PLUGIN_DIR
set -euo pipefail
build=$1 arch=$2 plugins=${3#/}
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
(cd "$build" && cpack -G DEB -B "$out" >"$out/cpack.log" 2>&1) || { cat "$out/cpack.log"; exit 1; }
deb=$(ls "$out"/*.deb)
contents=$(dpkg-deb -c "$deb" | awk '{print $1, $NF}')
status=0
expect() {
    local mode=$1 path=$2
    if ! grep -qE "^${mode} \./${path}\$" <<<"$contents"; then
        echo "missing or wrong mode: $path (want $mode)"
        status=1
    fi
}
expect '-rwxr-xr-x' usr/sbin/MasterBottomTask
expect '-rwxr-xr-x' usr/bin/vesk
expect '-rw-r--r--' etc/vesk/master-bottom-task.env
expect '-rw-r--r--' usr/lib/systemd/system/vesk-master-bottom-task.service
expect '-rwxr-xr-x' etc/init.d/vesk-master-bottom-task
expect '-rw-r--r--' usr/lib/tmpfiles.d/vesk.conf
expect '-rw-r--r--' usr/lib/sysusers.d/vesk.conf
expect '-rw-r--r--' "${plugins}/vesk-sonar4.lua"
expect '-rw-r--r--' usr/share/doc/vesk-master-bottom-task/running-a-unit.md
expect '-rw-r--r--' usr/share/doc/vesk-master-bottom-task/record-files.md
expect '-rw-r--r--' usr/share/doc/vesk-master-bottom-task/wire-protocol.md
[ "$(dpkg-deb -f "$deb" Architecture)" = "$arch" ] || { echo "architecture $(dpkg-deb -f "$deb" Architecture), want $arch"; status=1; }
dpkg-deb --ctrl-tarfile "$deb" | tar -t | grep -q '^./conffiles$' || { echo "no conffiles"; status=1; }
dpkg-deb -I "$deb" conffiles | grep -qx /etc/vesk/master-bottom-task.env || { echo "env file is no conffile"; status=1; }
[ $status -eq 0 ] && echo "$(basename "$deb"): every file in its place"
exit $status
