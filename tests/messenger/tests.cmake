# The example is not part of the library that every test links.
target_link_libraries(messenger_server_test PRIVATE messenger-core)
target_link_libraries(messenger_store_test PRIVATE messenger-core)

# Tests of the program itself: one entry a class.
function(messenger_process_test file)
  foreach(class IN LISTS ARGN)
    set(name messenger/${file}/${class})
    add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/support/exclusive
      python3 -B ${PROJECT_SOURCE_DIR}/tests/messenger/${file}_test.py ${class})
    set_tests_properties(${name} PROPERTIES
      TIMEOUT 600 LABELS library ENVIRONMENT VELTRO_BUILD_DIR=${PROJECT_BINARY_DIR})
  endforeach()
endfunction()

messenger_process_test(requests Requests Refusals Restart)
messenger_process_test(faults Clients Hostile FewDescriptors Stalls End Start Kill)
messenger_process_test(tool Send NotRunning Roots Chat)

add_test(NAME demo COMMAND ${PROJECT_SOURCE_DIR}/tests/support/exclusive
  ${PROJECT_SOURCE_DIR}/scripts/demo ${PROJECT_BINARY_DIR}/bin)
set_tests_properties(demo PROPERTIES TIMEOUT 600 LABELS library)
add_test(NAME demo/side-by-side COMMAND ${PROJECT_SOURCE_DIR}/tests/messenger/demos_test.sh ${PROJECT_BINARY_DIR}/bin)
set_tests_properties(demo/side-by-side PROPERTIES TIMEOUT 300 SKIP_RETURN_CODE 77)
