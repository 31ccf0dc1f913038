# The same program with the platform, and with nothing but GNUstep and the message's class.
add_executable(archives_veltro bridge/archives.mm)
target_link_libraries(archives_veltro PRIVATE veltro veltro-strict)
add_executable(archives_gnustep bridge/archives.mm ${PROJECT_SOURCE_DIR}/bridge/ZLTWhatsAppMessage.mm)
target_include_directories(archives_gnustep PRIVATE ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(archives_gnustep PRIVATE veltro-objc veltro-strict)
# CMake leaves the path of the libraries out of what it links as Objective-C++.
set_target_properties(archives_veltro archives_gnustep PROPERTIES LINKER_LANGUAGE CXX
  RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/benchmarks)
add_dependencies(benchmarks archives_veltro archives_gnustep)
