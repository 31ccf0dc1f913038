# The device roots are laid down as the tests do it.
add_library(bench-scratch OBJECT ${PROJECT_SOURCE_DIR}/tests/support/scratch.cpp)
target_include_directories(bench-scratch PUBLIC ${PROJECT_SOURCE_DIR}/tests)
target_link_libraries(bench-scratch PRIVATE veltro-strict)
set(peers bench-scratch)
