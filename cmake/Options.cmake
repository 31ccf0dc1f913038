option(VELTRO_TESTS "Build the tests" OFF)
option(VELTRO_PACKAGE_TESTS "Test the build as it ships: imports, installation, demo, device build" OFF)
option(VELTRO_BENCHMARKS "Build the benchmarks" OFF)
option(VELTRO_FUZZ "Build the fuzzers" OFF)
option(VELTRO_COVERAGE "Instrument for llvm-cov" OFF)
option(VELTRO_SANITIZE "Instrument with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

find_program(VELTRO_CCACHE ccache)
if(VELTRO_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${VELTRO_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${VELTRO_CCACHE})
  set(CMAKE_OBJCXX_COMPILER_LAUNCHER ${VELTRO_CCACHE})
endif()

# Of what names no component of its own when it is installed.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tools)
