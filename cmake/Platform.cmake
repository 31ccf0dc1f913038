# libveltro-host: this project's implementation, for Linux, of the platform interfaces that the
# library calls. One folder a framework; every source file in it belongs to the target.

file(GLOB_RECURSE host_sources CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/platform/linux/*.mm ${PROJECT_SOURCE_DIR}/platform/linux/*.cpp)

# The system's own files, which a new device root is given.
set(system_files_folder ${PROJECT_SOURCE_DIR}/platform/linux/resources)
set(system_files_source ${PROJECT_BINARY_DIR}/system_files.cpp)
file(GLOB_RECURSE system_files CONFIGURE_DEPENDS ${system_files_folder}/*)
add_custom_command(OUTPUT ${system_files_source}
  COMMAND ${CMAKE_COMMAND} -DFOLDER=${system_files_folder} -DOUTPUT=${system_files_source}
          -P ${PROJECT_SOURCE_DIR}/cmake/EmbedFiles.cmake
  DEPENDS ${system_files} ${PROJECT_SOURCE_DIR}/cmake/EmbedFiles.cmake VERBATIM)
list(APPEND host_sources ${system_files_source})

pkg_check_modules(HOST_DEPS REQUIRED IMPORTED_TARGET
  cairo pangocairo gdk-pixbuf-2.0 libpng zlib sqlite3 libsodium)

add_library(veltro-host SHARED ${host_sources})
target_include_directories(veltro-host
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform/include>
  PRIVATE ${PROJECT_SOURCE_DIR}/platform/linux)
target_link_libraries(veltro-host PUBLIC veltro-objc PRIVATE veltro-strict PkgConfig::HOST_DEPS)
set_target_properties(veltro-host PROPERTIES SOVERSION 0 VERSION ${PROJECT_VERSION})
