#!/usr/bin/env bash
# Puts the Debian package on a booted Debian 12 system and checks the life
# cycle of the service there, each check by name:
#   - under systemd (systemd-nspawn --boot, private network): start at boot,
#     the broadcast, Are You Alive?, stop, kill -9, the journal, upgrade,
#     remove and purge (tests/packaging/container/checks-systemd.sh);
#   - in the same root with a plain shell as process 1 (unshare + chroot):
#     the init script, and `vesk check` on damaged record files
#     (tests/packaging/container/checks-initd.sh).
# Usage: tools/test-container.sh BUILD_DIR   (a configured release build)
# The Debian root is cached as BUILD_DIR/container/bookworm.tar and made
# again when its package list changes. Prints PASS/FAIL per check and a
# summary; exits non-zero when a check failed or did not run, 77 (skipped)
# for a user other than root without sudo.
set -euo pipefail

if [ $# -ne 1 ] || [ ! -f "$1/CMakeCache.txt" ]; then
    echo "usage: $0 BUILD_DIR (a configured build directory)" >&2
    exit 2
fi
if [ "$(id -u)" -ne 0 ]; then
    if sudo -n true 2>/dev/null; then
        exec sudo -n "$(cd "$(dirname "$0")" && pwd)/$(basename "$0")" "$@"
    fi
    echo "SKIPPED: the container test needs root (or sudo without a password): systemd-nspawn boots" \
        "the system only for root"
    exit 77
fi

source_dir=$(cd "$(dirname "$0")/.." && pwd)
build_dir=$(cd "$1" && pwd)
checks_dir=$source_dir/tests/packaging/container
cache_dir=$build_dir/container
mirror=http://deb.debian.org/debian
boot_limit=300 initd_limit=240
package=vesk-master-bottom-task

say() { echo "[container] $*"; }

install_missing_tools() {
    local tool missing=()
    for tool in mmdebstrap systemd-container debian-archive-keyring iproute2 util-linux; do
        dpkg-query -W -f='${Status}' "$tool" 2>/dev/null | grep -q "install ok installed" || missing+=("$tool")
    done
    [ ${#missing[@]} -eq 0 ] && return
    say "installing ${missing[*]}"
    DEBIAN_FRONTEND=noninteractive apt-get update -q
    DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# The package as the project builds it, and the same at a higher version
# for the upgrade.
build_packages() {
    local version out=$cache_dir/debs
    version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build_dir/CMakeCache.txt")
    rm -rf "$out"
    mkdir -p "$out/current" "$out/higher"
    cmake --build "$build_dir" >"$cache_dir/build.log" 2>&1 || { cat "$cache_dir/build.log"; return 1; }
    "$source_dir/packaging/build-deb.sh" "$build_dir" "$out/current" >/dev/null
    "$source_dir/packaging/build-deb.sh" "$build_dir" "$out/higher" "$version+1" >/dev/null
    # The debug symbols' and the development package have other names.
    current_deb=$(ls "$out/current/${package}"_*.deb)
    higher_deb=$(ls "$out/higher/${package}"_*.deb)
}

# A minimal bookworm with systemd as init and what the package depends on.
cached_root() {
    local depends packages key tar=$cache_dir/bookworm.tar new=$cache_dir/bookworm-new.tar
    depends=$(dpkg-deb -f "$current_deb" Depends | tr ',' '\n' | sed -e 's/|.*//' -e 's/(.*//' -e 's/ //g')
    packages=$(printf '%s\n' systemd systemd-sysv dbus iproute2 adduser procps $depends | sort -u | paste -sd,)
    key="bookworm minbase $mirror $packages"
    if [ -f "$tar" ] && [ "$(cat "$tar.key" 2>/dev/null)" = "$key" ]; then
        return
    fi
    say "making the Debian 12 root ($packages)"
    rm -rf "$tar" "$tar.key" "$new"
    # The name's ending makes mmdebstrap write a tar file.
    if ! nice timeout 1200 mmdebstrap --variant=minbase --include="$packages" bookworm "$new" "$mirror" \
        >"$cache_dir/mmdebstrap.log" 2>&1; then
        tail -n 30 "$cache_dir/mmdebstrap.log"
        rm -rf "$new"
        return 1
    fi
    mv "$new" "$tar"
    echo "$key" >"$tar.key"
}

# Kills whatever still runs in the root (the namespaces should have taken
# everything with them), keeps the results and logs for a look afterwards
# (BUILD_DIR/container/last-run), then removes the working copy.
cleanup() {
    local dir
    if [ -n "${work:-}" ] && [ -d "$work" ]; then
        for dir in /proc/[0-9]*; do
            [ "$(readlink "$dir/root" 2>/dev/null)" = "$work/root" ] && kill -9 "${dir#/proc/}" 2>/dev/null
        done
        sleep 0.5
        rm -rf "$cache_dir/last-run"
        mkdir -p "$cache_dir/last-run"
        cp -a "$results" "$work"/*.log "$cache_dir/last-run/" 2>/dev/null || true
        rm -rf --one-file-system "$work"
    fi
}

# COMMAND in the root with a shell as process 1 and a network of its own.
in_root() {
    local limit=$1
    shift
    timeout --kill-after=10 "$limit" unshare --pid --fork --kill-child --mount-proc --net --mount \
        "$checks_dir/enter-root.sh" "$root" "$results" "$@" </dev/null
}

install_package_without_starting() {
    # No automatic start while the root is not the booted system.
    printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
    chmod +x "$root/usr/sbin/policy-rc.d"
    in_root 120 dpkg -i /var/tmp/vesk-debs/current.deb >"$work/install-$1.log" 2>&1 ||
        { cat "$work/install-$1.log"; return 1; }
}

prepare_root() {
    local unit checks=$root/usr/local/lib/vesk-checks debs=$root/var/tmp/vesk-debs
    tar -xf "$cache_dir/bookworm.tar" -C "$root" --numeric-owner || return 1
    mkdir -p "$checks" "$debs" || return 1
    cp "$checks_dir"/checks-*.sh "$source_dir/tools/unit-environment.sh" "$checks/" || return 1
    cp "$current_deb" "$debs/current.deb" && cp "$higher_deb" "$debs/higher.deb" || return 1
    for unit in vesk-unit-network.service vesk-container-checks.service; do
        cp "$checks_dir/$unit" "$root/etc/systemd/system/" || return 1
        ln -s "/etc/systemd/system/$unit" "$root/etc/systemd/system/multi-user.target.wants/$unit" || return 1
    done
    install_package_without_starting boot || return 1
    rm "$root/usr/sbin/policy-rc.d"
}

boot_and_check() {
    local status=0
    # In a PID namespace of its own: when the time is up, the container goes
    # with it, however far its processes got.
    timeout --kill-after=10 "$boot_limit" unshare --pid --fork --kill-child --mount-proc \
        systemd-nspawn --quiet --boot --register=no --keep-unit \
        --private-network --console=passive --link-journal=no --resolv-conf=off --timezone=off \
        --machine=vesk-unit --bind="$results:/vesk-results" --directory="$root" \
        </dev/null >"$work/boot.log" 2>&1 || status=$?
    [ $status -ne 124 ] && [ $status -ne 137 ] ||
        say "the booted system did not power off within $boot_limit s: stopped"
}

initd_checks() {
    local status=0
    install_package_without_starting initd || return 0
    in_root "$initd_limit" /usr/local/lib/vesk-checks/checks-initd.sh >"$work/initd.log" 2>&1 || status=$?
    [ $status -ne 124 ] && [ $status -ne 137 ] ||
        say "the init script checks did not end within $initd_limit s: stopped"
}

# Every check each script names, from its results; one that left no
# result did not run and fails.
report() {
    local phase name line passed=0 failed=0
    for phase in systemd initd; do
        for name in $(bash "$checks_dir/checks-$phase.sh" --list); do
            line=$(grep -E -m1 "^(PASS|FAIL) $name(:|\$)" "$results/$phase.txt" 2>/dev/null || true)
            echo "${line:-FAIL $name: did not run to its end}"
            case "$line" in
                PASS*) passed=$((passed + 1)) ;;
                *) failed=$((failed + 1)) && failed_logs+=("$name") ;;
            esac
        done
    done
    echo "container: $passed passed, $failed failed"
    [ $failed -eq 0 ]
}

show_failures() {
    local name
    for name in "${failed_logs[@]}"; do
        [ -s "$results/$name.log" ] || continue
        echo "---- $name"
        tail -n 15 "$results/$name.log"
    done
    if [ ! -s "$results/systemd.txt" ]; then
        echo "---- boot"
        tail -n 40 "$work/boot.log" | sed 's/\x1b\[[0-9;]*m//g'
    fi
}

start=$SECONDS
mkdir -p "$cache_dir"
install_missing_tools
build_packages
cached_root
work=$(mktemp -d "$cache_dir/run.XXXXXX")
trap cleanup EXIT
trap 'exit 130' INT TERM
root=$work/root results=$work/results
mkdir -p "$root" "$results"
failed_logs=()

if prepare_root; then
    say "booting the test system ($((SECONDS - start)) s)"
    boot_and_check
    say "the init script without systemd ($((SECONDS - start)) s)"
    initd_checks
else
    say "the root could not be prepared: no checks ran"
fi
status=0
report || status=1
[ $status -eq 0 ] || show_failures
say "done in $((SECONDS - start)) s"
exit $status
