# veltro_fuzzer(source): a libFuzzer program in build/fuzz/fuzzers/, run by scripts/fuzz.

function(veltro_fuzzer source)
  cmake_parse_arguments(arg "IGNORE_LEAKS" "" "LIBRARIES" ${ARGN})
  get_filename_component(target ${source} NAME_WE)
  add_executable(${target} ${source})
  # The same patience with the runtime as in the tests; who ignores leaks does without, since it is slow.
  if(NOT arg_IGNORE_LEAKS)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/sanitizers.cpp)
  endif()
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fuzzers)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/platform/linux)
  target_link_options(${target} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${target} PRIVATE veltro veltro-core veltro-strict ${arg_LIBRARIES})
endfunction()
