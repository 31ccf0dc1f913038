# veltro_test(source): one program of every *_test.cpp and *_test.mm, so that a contract test may
# define a platform function itself without touching its neighbours, and one ctest entry of every
# test case in it, so that process-wide state always starts fresh; with sanitizers one of the program.

find_package(GTest REQUIRED)
include(GoogleTest)

set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)

function(veltro_test_flags target)
  # -rdynamic: a test's own definition of a platform function must reach the shared objects. No
  # define of its own: all must agree with the prelude.
  set_target_properties(${target} PROPERTIES ENABLE_EXPORTS ON DEFINE_SYMBOL "")
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests
                                               ${PROJECT_SOURCE_DIR}/platform/linux)
  target_compile_definitions(${target} PRIVATE
    VELTRO_SOURCE_DIR="${PROJECT_SOURCE_DIR}" VELTRO_BUILD_DIR="${PROJECT_BINARY_DIR}")
  target_link_libraries(${target} PRIVATE veltro veltro-core veltro-test-support veltro-strict
                                          GTest::gmock)
endfunction()

# Compiles the headers of nearly every test once for all.
add_executable(veltro-test-prelude EXCLUDE_FROM_ALL tests/support/prelude.cpp tests/support/prelude.mm)
target_precompile_headers(veltro-test-prelude PRIVATE tests/support/prelude.hpp)
veltro_test_flags(veltro-test-prelude)

function(veltro_test source)
  get_filename_component(stem ${source} NAME_WE)
  get_filename_component(folder ${source} DIRECTORY)
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/tests ${folder})
  string(REPLACE "/" "_" folder "${folder}")
  set(target ${folder}_${stem})
  add_executable(${target} ${source})
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  veltro_test_flags(${target})
  target_precompile_headers(${target} REUSE_FROM veltro-test-prelude)
  if(VELTRO_SANITIZE)
    # Starting up takes most of a test's time there.
    add_test(NAME ${folder}/${stem} COMMAND ${target})
    set_tests_properties(${folder}/${stem} PROPERTIES TIMEOUT 600)
  else()
    gtest_discover_tests(${target} TEST_PREFIX "${folder}/${stem}/" DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 300)
  endif()
endfunction()
