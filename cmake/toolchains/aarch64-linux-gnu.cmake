# 64-bit ARM: Debian arm64, run under qemu-aarch64.
set(VESK_CROSS_TRIPLET aarch64-linux-gnu)
set(VESK_CROSS_PROCESSOR aarch64)
set(VESK_CROSS_QEMU qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/DebianCross.cmake)
