#!/usr/bin/env bash
# Installs the development kit of a build into a temporary prefix, alone, and
# builds the example task on it as a module engineer would: with CMake
# (find_package) and with a plain compiler line from pkg-config, for the
# build's target, and runs both in a simulated unit directory. Then checks
# which versions the CMake package answers to.
#   check-library-install.sh BUILD_DIR EXAMPLE_DIR VERSION LIBDIR CXX [TOOLCHAIN_FILE]
# VESK_SOURCE is the source tree; VESK_TARGET_EMULATOR the words that run a
# target executable here (empty for a native build).
set -euo pipefail
build=$1 example=$2 version=$3 libdir=$4 cxx=$5 toolchain=${6:-}
read -r -a emulator <<<"${VESK_TARGET_EMULATOR:-}"

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
trap 'exit 1' INT TERM
prefix=$tmp/prefix
cmake_args=(-G Ninja "-DCMAKE_CXX_COMPILER=$cxx" "-DCMAKE_PREFIX_PATH=$prefix")
if [ -n "$toolchain" ]; then
    # A cross build finds packages only below its sysroot, or below the
    # staging prefix: the kit is staged for the target.
    cmake_args+=("-DCMAKE_TOOLCHAIN_FILE=$toolchain" "-DCMAKE_STAGING_PREFIX=$prefix")
fi
status=0
fail() {
    echo "FAILED: $*"
    status=1
}
# Runs a command quietly; its output is shown when it fails.
quiet() {
    local log=$tmp/step.log
    "$@" >"$log" 2>&1 || { cat "$log"; return 1; }
}

quiet cmake --install "$build" --prefix "$prefix" --component dev || { echo "FAILED: install"; exit 1; }

# The component holds the kit and nothing of the task, the tools or the tests.
while read -r file; do
    case ${file#"$prefix"/} in
        include/vesk/Utilities/*.h | include/vesk/Sonar4/*.h | include/vesk/Database/*.h) ;;
        include/vesk/Utilities/*.def) ;;
        "$libdir/libvesk.a" | "$libdir/pkgconfig/vesk.pc" | "$libdir"/cmake/Vesk/*.cmake) ;;
        *) fail "installed but no part of the kit: ${file#"$prefix"/}" ;;
    esac
done < <(find "$prefix" ! -type d)
for file in include/vesk/Database/DatabaseRecord.h include/vesk/Utilities/VeskEventCodes.def \
            "$libdir/libvesk.a" "$libdir/pkgconfig/vesk.pc" \
            "$libdir/cmake/Vesk/VeskConfig.cmake" "$libdir/cmake/Vesk/VeskConfigVersion.cmake"; do
    [ -f "$prefix/$file" ] || fail "not installed: $file"
done

# Runs a build of the example in a fresh unit directory of its own.
run_example() {
    local binary=$1 unit=$tmp/unit-$2 out
    (
        # shellcheck source=../../tools/unit-environment.sh
        source "$VESK_SOURCE/tools/unit-environment.sh"
        make_unit_environment "$unit"
        cd "$unit"
        "${emulator[@]}" "$binary"
    ) >"$tmp/run.log" 2>&1 || { cat "$tmp/run.log"; fail "the example built with $2 failed"; return; }
    out=$(cat "$tmp/run.log")
    grep -q "^built packet 0x[0-9a-f]* of 22 bytes:" <<<"$out" || { echo "$out"; fail "no packet from the $2 build"; }
    [ -f "$unit/nonpersisted/MasterBottomRecord.bin" ] || fail "the $2 build stored no record"
    echo "$2 build: $(grep '^built packet' <<<"$out")"
}

if quiet cmake -S "$example" -B "$tmp/with-cmake" "${cmake_args[@]}" && quiet cmake --build "$tmp/with-cmake"; then
    run_example "$tmp/with-cmake/FirstTask" cmake
else
    fail "the example does not build with find_package"
fi

pc_flags=$(PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig pkg-config --cflags --libs vesk) || fail "pkg-config knows no vesk"
pc_version=$(PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig pkg-config --modversion vesk) || true
[ "$pc_version" = "$version" ] || fail "pkg-config version $pc_version, want $version"
# shellcheck disable=SC2086 # the flags are words
if quiet "$cxx" "$example/FirstTask.cpp" $pc_flags -o "$tmp/FirstTask-pc"; then
    run_example "$tmp/FirstTask-pc" pkg-config
else
    fail "the example does not build with: $cxx $pc_flags"
fi

# A project asking for a version of the package: found, or refused after the
# package was looked at (not merely missing).
mkdir -p "$tmp/asks"
cat >"$tmp/asks/CMakeLists.txt" <<'EOF'
cmake_minimum_required(VERSION 3.16)
project(AsksForAVersion LANGUAGES CXX)
find_package(Vesk ${REQUEST} CONFIG QUIET)
if(Vesk_FOUND)
  message(STATUS "answer: found ${Vesk_VERSION}")
elseif(Vesk_CONSIDERED_VERSIONS)
  message(STATUS "answer: refused ${Vesk_CONSIDERED_VERSIONS}")
else()
  message(STATUS "answer: no package")
endif()
EOF
ask() {
    local request=$1 want=$2 answer
    answer=$(cmake -S "$tmp/asks" -B "$tmp/asks/build-$request" "${cmake_args[@]}" "-DREQUEST=$request" 2>&1 |
             sed -n "s/^-- answer: //p" || true)
    [ "$answer" = "$want" ] || fail "find_package(Vesk $request): $answer, want $want"
}
IFS=. read -r major minor _ <<<"$version"
ask "$major.0" "found $version"
ask "$major.$minor" "found $version"
ask "$major.$((minor + 1))" "refused $version"
ask "$((major + 1)).0" "refused $version"
ask "$((major - 1)).0" "refused $version"

[ $status -eq 0 ] && echo "the kit of $version builds and runs the example, with CMake and with pkg-config"
exit $status
