#!/usr/bin/env bash
# Installs with apt-get what building, testing and running the unit need,
# and only what is missing. Safe to run again.
#   tools/install-deps.sh                 the native builds
#   tools/install-deps.sh armhf|aarch64   a cross build and qemu-user to test it
set -euo pipefail

case "${1:-}" in
    armhf) packages=(cmake ninja-build g++-arm-linux-gnueabihf qemu-user googletest iproute2 util-linux) ;;
    aarch64) packages=(cmake ninja-build g++-aarch64-linux-gnu qemu-user googletest iproute2 util-linux) ;;
    *)
        packages=(cmake ninja-build g++ clang libclang-rt-14-dev libgtest-dev libgmock-dev googletest
                  libbenchmark-dev iproute2 util-linux)
        ;;
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
"${sudo_cmd[@]}" apt-get update -q
"${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
