#!/usr/bin/env bash
# Installs with apt-get what building, testing and running the unit need,
# and only what is missing. Safe to run again.
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

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
    sudo_cmd=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
# tshark's package asks whether non-root users may capture; nobody is there
# to answer (CI has no input), and the tests read capture files only.
echo "wireshark-common wireshark-common/install-setuid boolean false" | "${sudo_cmd[@]}" debconf-set-selections
"${sudo_cmd[@]}" apt-get update -q
"${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
