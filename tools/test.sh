#!/usr/bin/env bash
# Builds everything in three configurations and runs every test in each:
#   build/release   g++, hardened release flags
#   build/sanitize  clang, AddressSanitizer + UndefinedBehaviorSanitizer, libFuzzer targets
#   build/armhf     32-bit ARM cross build, its tests under qemu-arm (tools/test-cross.sh)
# and puts the release build's package on a booted Debian 12 system (tools/test-container.sh).
# Exits non-zero when anything fails to build, any test fails, or the
# configurations do not run the same tests (fuzz runs aside; the armhf build
# has no benchmarks or fuzzers and so compares with the release build).
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-deps.sh

jobs=$(nproc)

configure_and_build() {
    local dir=$1
    shift
    cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
    ninja -C "$dir"
}

run_tests() {
    local dir=$1
    local log="$dir/ctest.log"
    echo "== tests in $dir"
    # Test timeouts are generous; nothing asserts on speed.
    if ! (cd "$dir" && ctest --output-on-failure --no-tests=error -j "$jobs" 2>&1 | tee ctest.log); then
        echo "FAILED: tests in $dir"
        return 1
    fi
    # The fuzz runs exist only in the clang build; the rest must match.
    (cd "$dir" && ctest -N -LE fuzz | sed -n 's/^Total Tests: //p') > "$dir/test-count"
}

configure_and_build build/release -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=g++
configure_and_build build/sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
    -DVESK_SANITIZE=ON -DVESK_FUZZERS=ON

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

status=0
skipped=()
run_tests build/release || status=1
# The package on a booted Debian 12 system: its life cycle under systemd and the init script.
container=0
tools/test-container.sh build/release || container=$?
case $container in
    0) ;;
    77) skipped+=("the container test (tools/test-container.sh): it needs root") ;;
    *) status=1 ;;
esac
run_tests build/sanitize || status=1

tools/test-cross.sh armhf || status=1

if [ $status -eq 0 ]; then
    release_count=$(cat build/release/test-count)
    sanitize_count=$(cat build/sanitize/test-count)
    armhf_count=$(cat build/armhf/test-count)
    if [ "$release_count" != "$sanitize_count" ] || [ "$release_count" != "$armhf_count" ]; then
        echo "FAILED: the configurations ran different numbers of tests" \
            "($release_count, $sanitize_count, armhf $armhf_count)"
        status=1
    fi
fi

for step in "${skipped[@]}"; do
    echo "SKIPPED: $step"
done
if [ $status -eq 0 ]; then
    echo "All tests passed in every configuration${skipped:+ (steps skipped above)}."
else
    echo "Some tests FAILED."
fi
exit $status
