# Stands on nothing but GNUstep, so that the platform can be there and not be there.
add_executable(foundation-calls ${CMAKE_CURRENT_LIST_DIR}/frameworks/Foundation/foundation_calls.mm)
set_target_properties(foundation-calls PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
target_link_libraries(foundation-calls PRIVATE veltro-objc)
add_dependencies(platform_frameworks_Foundation_patched_classes_test foundation-calls)
# Thousands of processes. A shared object with a sanitizer cannot be preloaded into a program without one.
set_property(TEST platform/frameworks/Foundation/patched_classes_test APPEND PROPERTY LABELS verify)
set_tests_properties(platform/frameworks/Foundation/patched_classes_test PROPERTIES
  TIMEOUT 1800 DISABLED $<BOOL:${VELTRO_SANITIZE}>)
