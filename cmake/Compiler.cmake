# The compile flags that every target of this tree shares.
#   veltro-objc      speaks Objective-C with GNUstep on the GCC runtime; part of the installed interface
#   veltro-strict    warnings and instrumentation for our own files only

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

# GCC keeps its Objective-C headers in its own folder, which clang does not search.
file(GLOB gcc_include_dirs ${CMAKE_SYSROOT}/usr/lib/gcc/${CMAKE_LIBRARY_ARCHITECTURE}/*/include)
find_path(VELTRO_GCC_OBJC_INCLUDE objc/objc.h PATHS ${gcc_include_dirs} NO_DEFAULT_PATH REQUIRED)
find_path(VELTRO_GNUSTEP_INCLUDE Foundation/Foundation.h PATHS /usr/include/GNUstep REQUIRED)

set(VELTRO_OBJC_DEFINITIONS GNUSTEP GNUSTEP_BASE_LIBRARY=1 GNU_RUNTIME=1 _NATIVE_OBJC_EXCEPTIONS)
set(VELTRO_OBJC_OPTIONS -fblocks -fobjc-runtime=gcc -fconstant-string-class=NSConstantString
                        -fexceptions)
# The blocks runtime is veltro-host's own (platform/linux/frameworks/libSystem), which stands before GNUstep's.
set(VELTRO_OBJC_LIBRARIES -lgnustep-base -lobjc)

add_library(veltro-objc INTERFACE)
target_compile_definitions(veltro-objc INTERFACE ${VELTRO_OBJC_DEFINITIONS})
target_compile_options(veltro-objc INTERFACE
  "$<$<COMPILE_LANGUAGE:OBJCXX>:${VELTRO_OBJC_OPTIONS}>"
  "$<$<COMPILE_LANGUAGE:CXX>:-fblocks>"
  "SHELL:-idirafter ${VELTRO_GCC_OBJC_INCLUDE}")
target_include_directories(veltro-objc SYSTEM INTERFACE
  ${PROJECT_SOURCE_DIR}/platform/linux/objc-support ${VELTRO_GNUSTEP_INCLUDE})
target_link_libraries(veltro-objc INTERFACE ${VELTRO_OBJC_LIBRARIES} Threads::Threads)

add_library(veltro-strict INTERFACE)
target_compile_options(veltro-strict INTERFACE -Wall -Wextra -Wconversion -Werror)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "arm")
  # CGFloat is a float there, and every line of geometry narrows. Constants that do not fit stay errors.
  target_compile_options(veltro-strict INTERFACE
    -Wno-c++11-narrowing -Wno-implicit-float-conversion -Wno-shorten-64-to-32 -Wno-sign-conversion
    -Wno-implicit-int-float-conversion)
endif()
if(VELTRO_COVERAGE)
  target_compile_options(veltro-strict INTERFACE
    -fprofile-instr-generate=${PROJECT_BINARY_DIR}/profiles/%4m.profraw -fcoverage-mapping)
  target_link_options(veltro-strict INTERFACE -fprofile-instr-generate)
endif()
if(VELTRO_SANITIZE)
  target_compile_options(veltro-strict INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(veltro-strict INTERFACE -fsanitize=address,undefined)
endif()
if(VELTRO_FUZZ)
  # The fuzzers are led by what their input reaches in the library and the platform.
  target_compile_options(veltro-strict INTERFACE -fsanitize=fuzzer-no-link)
endif()
target_link_options(veltro-strict INTERFACE -fuse-ld=lld-19)
