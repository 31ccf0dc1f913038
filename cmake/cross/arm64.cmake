# 64-bit ARM, as Debian's arm64.
set(VELTRO_CROSS_DEBIAN arm64)
set(VELTRO_CROSS_TRIPLE aarch64-linux-gnu)
set(VELTRO_CROSS_EMULATOR qemu-aarch64-static)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
