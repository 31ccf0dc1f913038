# Of the tool's own sources, what a test calls directly.
target_sources(tools_base64_decoder_test PRIVATE ${PROJECT_SOURCE_DIR}/tools/veltro/io/base64_decoder.cpp)
