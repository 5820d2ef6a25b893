#!/usr/bin/env bash
# Builds the Debian package and its debug-symbols package as a release
# would, checks that everything a unit needs is in it, in its place, for the
# architecture the compiler builds for, and has lintian review both.
# Usage: check-package.sh BUILD_SCRIPT BUILD_DIR DEBIAN_ARCH LUA_PLUGIN_DIR SANITIZED
set -euo pipefail
build_deb=$1 build=$2 arch=$3 plugins=${4#/} sanitized=$5
# The capture tools' global plugins are under the architecture's multiarch
# library directory; dpkg knows its name, the build only says where it put it.
if multiarch=$(dpkg-architecture -a"$arch" -qDEB_HOST_MULTIARCH 2>/dev/null); then
    plugins=usr/lib/$multiarch/wireshark/plugins
fi
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
"$build_deb" "$build" "$out" 1.2.3 >"$out/build.log" 2>&1 || { cat "$out/build.log"; exit 1; }
deb=$out/vesk-master-bottom-task_1.2.3_${arch}.deb
dbgsym=$out/vesk-master-bottom-task-dbgsym_1.2.3_${arch}.deb
dev=$out/libvesk-dev_1.2.3_${arch}.deb
if [ ! -f "$deb" ] || [ ! -f "$dbgsym" ] || [ ! -f "$dev" ]; then
    echo "not made: $(basename "$deb"), its dbgsym and libvesk-dev"
    ls "$out"
    exit 1
fi

status=0
problem() { echo "$*"; status=1; }
contents=$(dpkg-deb -c "$deb" | awk '{print $1, $2, $NF}')
expect() {
    local mode=$1 path=$2
    grep -qE "^${mode} root/root \./${path}\$" <<<"$contents" || problem "missing or wrong mode: $path (want $mode)"
}
expect '-rwxr-xr-x' usr/sbin/MasterBottomTask
expect '-rwxr-xr-x' usr/bin/vesk
expect '-rw-r--r--' etc/vesk/master-bottom-task.env
expect '-rwxr-xr-x' etc/init.d/vesk-master-bottom-task
# Where systemd looks first on Debian 12, and where a merged /usr (which
# Debian 12 has) puts /lib/systemd/system too.
expect '-rw-r--r--' usr/lib/systemd/system/vesk-master-bottom-task.service
expect '-rw-r--r--' usr/lib/tmpfiles.d/vesk.conf
expect '-rw-r--r--' usr/lib/sysusers.d/vesk.conf
expect '-rw-r--r--' "${plugins}/vesk-sonar4.lua"
expect '-rw-r--r--' usr/share/man/man1/vesk.1.gz
expect '-rw-r--r--' usr/share/man/man8/MasterBottomTask.8.gz
for doc in copyright changelog.gz README.md running-a-unit.md record-files.md wire-protocol.md; do
    expect '-rw-r--r--' "usr/share/doc/vesk-master-bottom-task/$doc"
done
grep -qE '^[^ ]+ [^ ]+ \./(bin|sbin|lib|etc/systemd)/' <<<"$contents" && problem "files outside /usr and /etc/{vesk,init.d}"

[ "$(dpkg-deb -f "$deb" Architecture)" = "$arch" ] || problem "architecture $(dpkg-deb -f "$deb" Architecture), want $arch"
dpkg-deb -f "$deb" Depends | grep -qE 'libc6 \(>= [0-9.]+\)' || problem "no versioned libc6 dependency"
[ "$(dpkg-deb -I "$deb" conffiles)" = $'/etc/init.d/vesk-master-bottom-task\n/etc/vesk/master-bottom-task.env' ] ||
    problem "conffiles: $(dpkg-deb -I "$deb" conffiles)"
for script in postinst prerm postrm; do
    dpkg-deb -I "$deb" "$script" >/dev/null 2>&1 || problem "no $script"
done

# The debug symbols are those of the shipped programs, found by build id.
unpacked=$out/unpacked
dpkg-deb -x "$deb" "$unpacked"
dpkg-deb -x "$dbgsym" "$unpacked"
for program in usr/sbin/MasterBottomTask usr/bin/vesk; do
    id=$(readelf -n "$unpacked/$program" | sed -n 's/^ *Build ID: *//p')
    readelf -S "$unpacked/$program" | grep -q ' \.symtab ' && problem "$program is not stripped"
    debug=$unpacked/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug
    readelf -S "$debug" 2>/dev/null | grep -q ' \.symtab ' || problem "no symbols of $program under $debug"
done
[ "$(dpkg-deb -f "$dbgsym" Depends)" = "vesk-master-bottom-task (= 1.2.3)" ] || problem "dbgsym depends: $(dpkg-deb -f "$dbgsym" Depends)"

# The shared layer for other tasks: what find_package and pkg-config look
# for, and nothing of the task's package.
dev_contents=$(dpkg-deb -c "$dev" | awk '{print $NF}')
for path in include/vesk/Database/DatabaseRecord.h "lib/$multiarch/libvesk.a" "lib/$multiarch/cmake/Vesk/VeskConfig.cmake" \
            "lib/$multiarch/cmake/Vesk/VeskConfigVersion.cmake" "lib/$multiarch/pkgconfig/vesk.pc"; do
    grep -qx "\./usr/$path" <<<"$dev_contents" || problem "libvesk-dev lacks /usr/$path"
done
grep -E '/(bin|sbin|etc)/|PcapFile|PacketText' <<<"$dev_contents" && problem "libvesk-dev holds what is not the shared layer"
pc_prefix=$(dpkg-deb --fsys-tarfile "$dev" | tar -xO --wildcards '*/vesk.pc' | sed -n 's/^prefix=//p')
[ "$pc_prefix" = /usr ] || problem "vesk.pc names prefix '$pc_prefix', not /usr"

if [ "$sanitized" = ON ]; then
    # The product is the hardened build; a sanitizer build never ships.
    echo "sanitizer build: lintian reviews the release build's package only"
elif command -v lintian >/dev/null; then
    # As root lintian says it would rather not be; that line is no finding.
    lintian -I -E --pedantic "$deb" "$dbgsym" "$dev" 2>&1 | grep -v '^running with root privileges' >"$out/lintian.log" || true
    if grep -E '^[EW]: ' "$out/lintian.log"; then
        problem "lintian found errors or warnings"
    fi
    [ ! -s "$out/lintian.log" ] || { echo "lintian notes:"; cat "$out/lintian.log"; }
else
    [ $status -eq 0 ] && echo "$(basename "$deb"): every file in its place; lintian is not installed"
    echo "$0: Skipped"
    exit 77
fi
[ $status -eq 0 ] && echo "$(basename "$deb"), its dbgsym and libvesk-dev: every file in its place, lintian clean"
exit $status
