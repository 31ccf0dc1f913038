# Compiling for the device with LLVM's clang. VELTRO_SLICE chooses the processor; VELTRO_SDK names an
# Apple SDK whose headers and stubs take the place of ours.

set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VELTRO_SLICE VELTRO_SDK)

set(triples_arm64 arm64-apple-ios7.0)
set(triples_armv7 armv7-apple-ios6.0)
set(triples_armv7s armv7s-apple-ios6.0)
set(triples_x86_64 x86_64-apple-ios7.0-simulator)
set(triple ${triples_${VELTRO_SLICE}})
if(NOT triple)
  message(FATAL_ERROR "VELTRO_SLICE is one of arm64, armv7, armv7s, x86_64")
endif()

foreach(language CXX OBJCXX)
  set(CMAKE_${language}_COMPILER /usr/bin/clang++-19)
  set(CMAKE_${language}_COMPILER_TARGET ${triple})
  set(CMAKE_${language}_COMPILER_WORKS ON)
endforeach()
