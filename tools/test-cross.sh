#!/usr/bin/env bash
# Builds for an ARM target with Debian's cross compiler and runs every test
# under qemu-user:
#   tools/test-cross.sh armhf     build/armhf    32-bit ARM, the unit's computer
#   tools/test-cross.sh aarch64   build/aarch64  64-bit ARM
# Exits non-zero when anything fails to build or any test fails. Tests that
# need what the emulator does not implement skip; they are listed at the end
# with the reason each gave.
set -euo pipefail
cd "$(dirname "$0")/.."

target=${1:-armhf}
case "$target" in
    armhf) triplet=arm-linux-gnueabihf ;;
    aarch64) triplet=aarch64-linux-gnu ;;
    *)
        echo "usage: $0 armhf|aarch64" >&2
        exit 2
        ;;
esac

tools/install-deps.sh "$target"

dir=build/$target
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="cmake/toolchains/$triplet.cmake" >/dev/null
ninja -C "$dir"

echo "== tests in $dir (under qemu-user)"
status=0
(cd "$dir" && ctest --output-on-failure --no-tests=error -j "$(nproc)" 2>&1 | tee ctest.log) || status=1

# The reason each skipped test gave ("<file>:<line>: Skipped" then the text).
skipped=$(grep -c '(Skipped)$' "$dir/ctest.log" || true)
echo "== $skipped tests skipped under the emulator in $dir:"
grep '(Skipped)$' "$dir/ctest.log" | sed 's/^[[:space:]]*[0-9]* - /  /' || true
grep -h -A1 ': Skipped$' "$dir/Testing/Temporary/LastTest.log" 2>/dev/null | grep -v -e ': Skipped$' -e '^--$' |
    sort | uniq -c | sed 's/^/  because: /' || true

# Counted last: ctest -N starts a new LastTest.log.
(cd "$dir" && ctest -N | sed -n 's/^Total Tests: //p') > "$dir/test-count"

if [ $status -ne 0 ]; then
    echo "FAILED: tests in $dir"
fi
exit $status
