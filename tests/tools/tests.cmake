# Of the tool's own sources, what a test calls directly.
target_sources(tools_base64_decoder_test PRIVATE ${PROJECT_SOURCE_DIR}/tools/veltro/io/base64_decoder.cpp)

add_test(NAME tools/json COMMAND ${PROJECT_SOURCE_DIR}/tests/support/exclusive
  python3 -B ${PROJECT_SOURCE_DIR}/tests/tools/json_test.py $<TARGET_FILE:veltro-tool> ${PROJECT_SOURCE_DIR}/docs/tool.md)
set_tests_properties(tools/json PROPERTIES TIMEOUT 300)
