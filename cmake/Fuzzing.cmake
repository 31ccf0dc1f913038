# veltro_fuzzer(source): a libFuzzer program in build/fuzz/fuzzers/, run by scripts/fuzz.

function(veltro_fuzzer source)
  cmake_parse_arguments(arg "" "" "LIBRARIES" ${ARGN})
  get_filename_component(target ${source} NAME_WE)
  # The same patience with the runtime as in the tests.
  add_executable(${target} ${source} ${PROJECT_SOURCE_DIR}/tests/support/sanitizers.cpp)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fuzzers)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/platform/linux)
  target_link_options(${target} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${target} PRIVATE veltro veltro-core veltro-strict ${arg_LIBRARIES})
endfunction()
