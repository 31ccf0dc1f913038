# 32-bit ARM, as Debian's armel: floating-point values travel in general registers, as on the device, while our own
# programs may use the same processors' instructions as it.
set(VELTRO_CROSS_DEBIAN armel)
set(VELTRO_CROSS_TRIPLE arm-linux-gnueabi)
set(VELTRO_CROSS_EMULATOR qemu-arm-static)
set(VELTRO_CROSS_FLAGS "-march=armv7-a -mfpu=neon -mfloat-abi=softfp")
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
