add_library(base64-decoder OBJECT ${PROJECT_SOURCE_DIR}/tools/veltro/io/base64_decoder.cpp)
target_include_directories(base64-decoder PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(base64-decoder PRIVATE veltro veltro-strict)
set(peers base64-decoder)
