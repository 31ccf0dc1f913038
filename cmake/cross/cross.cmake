# Cross-compiling for another architecture of Debian's: on what scripts/sysroot unpacked, with programs that start as
# if they were the machine's own (launcher). Included by the architecture's own file, which says which it is.

get_filename_component(root ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
set(CMAKE_SYSTEM_NAME Linux)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR ${VELTRO_CROSS_TRIPLE})
set(CMAKE_SYSROOT ${root}/build/sysroot/${VELTRO_CROSS_DEBIAN})

foreach(language C CXX OBJCXX ASM)
  set(CMAKE_${language}_COMPILER_TARGET ${VELTRO_CROSS_TRIPLE})
  # As on the device, where a plain char is signed.
  set(CMAKE_${language}_FLAGS_INIT "-fsigned-char ${VELTRO_CROSS_FLAGS}")
  set(CMAKE_${language}_LINK_EXECUTABLE
      "<CMAKE_${language}_COMPILER> <FLAGS> <CMAKE_${language}_LINK_FLAGS> <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>"
      "${CMAKE_CURRENT_LIST_DIR}/launcher <TARGET> ${VELTRO_CROSS_EMULATOR} ${CMAKE_SYSROOT}")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld-19)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -fuse-ld=lld-19)

set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${VELTRO_CROSS_TRIPLE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
