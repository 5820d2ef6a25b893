# 32-bit ARM (the unit's computer): Debian armhf, run under qemu-arm.
set(VESK_CROSS_TRIPLET arm-linux-gnueabihf)
set(VESK_CROSS_PROCESSOR arm)
set(VESK_CROSS_QEMU qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/DebianCross.cmake)
