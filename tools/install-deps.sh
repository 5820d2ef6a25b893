#!/usr/bin/env bash
# Installs with apt-get what building, testing and running the unit need,
# and only what is missing; as another user than root it names what is
# missing and fails instead. Safe to run again.
#   tools/install-deps.sh                 the native builds
#   tools/install-deps.sh armhf|aarch64   a cross build and qemu-user to test it
set -euo pipefail

packages=(cmake ninja-build googletest iproute2 util-linux tshark systemd strace dpkg-dev lintian man-db pkgconf)
case "${1:-}" in
    armhf) packages+=(g++-arm-linux-gnueabihf qemu-user) ;;
    aarch64) packages+=(g++-aarch64-linux-gnu qemu-user) ;;
    *) packages+=(g++ clang libclang-rt-14-dev libgtest-dev libgmock-dev libbenchmark-dev) ;;
esac

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

if [ "$(id -u)" -ne 0 ]; then
    # Nothing is installed behind an ordinary user's back (no sudo prompt in
    # the middle of a build): the one-time install is root's.
    echo "Missing packages: ${missing[*]}" >&2
    echo "Install them once as root, then run this again as any user:" >&2
    echo "  apt-get install --no-install-recommends ${missing[*]}" >&2
    exit 1
fi

echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# tshark's package asks whether non-root users may capture; nobody is there
# to answer (CI has no input), and the tests read capture files only.
echo "wireshark-common wireshark-common/install-setuid boolean false" | debconf-set-selections
apt-get update -q
apt-get install -y -q --no-install-recommends "${missing[@]}"
