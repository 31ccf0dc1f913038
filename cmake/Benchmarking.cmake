# veltro_benchmark(source): one program of every *_bench.cpp and *_bench.mm, in
# build/bench/benchmarks/, run by scripts/bench.

find_package(benchmark REQUIRED)

function(veltro_benchmark source)
  cmake_parse_arguments(arg "" "" "LIBRARIES" ${ARGN})
  get_filename_component(target ${source} NAME_WE)
  add_executable(${target} ${source})
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/benchmarks)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/benchmarks
                                               ${PROJECT_SOURCE_DIR}/platform/linux)
  target_compile_definitions(${target} PRIVATE VELTRO_BUILD_DIR="${PROJECT_BINARY_DIR}")
  target_link_libraries(${target} PRIVATE veltro veltro-core veltro-strict benchmark::benchmark ${arg_LIBRARIES})
endfunction()
