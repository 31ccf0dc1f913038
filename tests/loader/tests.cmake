# The loader's own tests know it from within.
foreach(stem bytes header fixups exports objc_metadata unwind_info call_frames widening argument_words narrow_image texts loading)
  target_link_libraries(loader_${stem}_test PRIVATE veltro-loader-core)
endforeach()

# A component built for the simulator, and the program that loads and tests it: here beside the library of
# Linux, and in tests/device/loaded_addon_test.py, built as its author would, beside the device's.
find_program(VELTRO_MACH_O_LINKER ld64.lld-19 REQUIRED)
set(addon ${PROJECT_BINARY_DIR}/tests/AddOn)
set(addon_source ${CMAKE_CURRENT_SOURCE_DIR}/loader/addon/AddOn.mm)
set(addon_processor ${CMAKE_SYSTEM_PROCESSOR})
if(addon_processor STREQUAL "x86_64")
  set(addon_target x86_64-apple-ios7.0-simulator)
  set(addon_platform ios-simulator)
elseif(addon_processor STREQUAL "arm")
  set(addon_processor armv7)
  set(addon_target armv7-apple-ios6.0)
else()
  set(addon_processor arm64)
  set(addon_target arm64-apple-ios7.0)
  set(addon_platform ios)
endif()
set(addon_link ${VELTRO_MACH_O_LINKER} -dylib -arch ${addon_processor} -platform_version ${addon_platform} 7.0 9.0
  -undefined dynamic_lookup -install_name /Library/AddOn.dylib ${addon}.o -o ${addon}.dylib)
if(addon_processor STREQUAL "armv7")
  set(addon_link python3 ${PROJECT_SOURCE_DIR}/platform/ios/link_armv7.py armv7 /Library/AddOn.dylib
    ${CMAKE_CURRENT_SOURCE_DIR}/loader/addon/imports.txt ${addon}.dylib ${addon}.o)
endif()
add_custom_command(OUTPUT ${addon}.dylib
  COMMAND /usr/bin/clang++-19 -target ${addon_target} -std=c++20 -Os -fobjc-runtime=ios-6.0 -fblocks
          -fobjc-exceptions -fno-cxx-exceptions -fno-rtti -nostdlibinc
          -I${PROJECT_SOURCE_DIR}/include -isystem ${PROJECT_SOURCE_DIR}/platform/ios/include
          -I${PROJECT_SOURCE_DIR}/platform/include -Wall -Werror -c ${addon_source} -o ${addon}.o
  COMMAND ${addon_link}
  DEPENDS ${addon_source} VERBATIM)
add_custom_target(addon ALL DEPENDS ${addon}.dylib)

add_executable(addon_host ${CMAKE_CURRENT_SOURCE_DIR}/loader/addon/addon_host.mm)
set_target_properties(addon_host PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
veltro_test_flags(addon_host)
target_precompile_headers(addon_host REUSE_FROM veltro-test-prelude)
target_link_libraries(addon_host PRIVATE veltro-loader)
add_test(NAME loader/addon COMMAND addon_host --gtest_filter=-*DevicesLibrary*)
# GCC's unwinder sorts the frames of an image at their first use, under a lock and with memory from malloc.
# A sanitizer's malloc that unwinds with the same unwinder would wait for itself; and without that it does
# not know the runtime's own leaks by name.
set_tests_properties(loader/addon PROPERTIES ENVIRONMENT
  "VELTRO_ADDON=${addon}.dylib;ASAN_OPTIONS=fast_unwind_on_malloc=1:detect_leaks=0" TIMEOUT 300)
if(addon_processor STREQUAL "armv7")
  # There it is what tries every way of calling from one side to the other.
  set_property(TEST loader/addon APPEND PROPERTY LABELS library)
  add_dependencies(library-tests addon addon_host)
endif()
