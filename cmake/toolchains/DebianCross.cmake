# Shared by the per-target toolchain files: Debian's cross compiler for
# VESK_CROSS_TRIPLET, its sysroot, and qemu-user so that ctest (and test
# discovery) run the target's executables on this machine.
#
# The caller sets VESK_CROSS_TRIPLET (e.g. arm-linux-gnueabihf),
# VESK_CROSS_PROCESSOR (CMAKE_SYSTEM_PROCESSOR) and VESK_CROSS_QEMU
# (qemu-arm). A package's architecture follows from the compiler chosen here.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${VESK_CROSS_PROCESSOR})

set(CMAKE_C_COMPILER ${VESK_CROSS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${VESK_CROSS_TRIPLET}-g++)

set(VESK_CROSS_SYSROOT /usr/${VESK_CROSS_TRIPLET})
set(CMAKE_FIND_ROOT_PATH ${VESK_CROSS_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# VESK_EMULATOR tells the tests which emulator runs them, so that the few
# that need what qemu-user cannot give (network namespaces of their own,
# some socket options) can say so and skip instead of failing.
find_program(VESK_CROSS_QEMU_PATH ${VESK_CROSS_QEMU} REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR
    /usr/bin/env VESK_EMULATOR=${VESK_CROSS_QEMU} ${VESK_CROSS_QEMU_PATH} -L ${VESK_CROSS_SYSROOT})

# Debian's GoogleTest ships sources only for other architectures.
set(VESK_GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH "GoogleTest sources built with the cross compiler")
set(VESK_BENCHMARKS OFF CACHE BOOL "Benchmarks measure this machine, not the target")
set(VESK_FUZZERS OFF CACHE BOOL "libFuzzer targets are host-only")
