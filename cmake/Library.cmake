# libveltro, from the very sources that ship in the device's dylib.

# The folders of the library's modules; every build and script reads them from this list.
file(STRINGS ${PROJECT_SOURCE_DIR}/cmake/modules.txt veltro_modules)
set(core_sources)
set(objc_sources)
foreach(module IN LISTS veltro_modules)
  file(GLOB module_core CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${module}/*.cpp)
  file(GLOB module_objc CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${module}/*.mm)
  list(APPEND core_sources ${module_core})
  list(APPEND objc_sources ${module_objc})
endforeach()

# The plain C++ of the modules: hidden in the shared object, linked directly by its own tests.
add_library(veltro-core OBJECT ${core_sources})
target_include_directories(veltro-core PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/platform/include)
target_compile_options(veltro-core PRIVATE -fvisibility=hidden -fvisibility-inlines-hidden)
target_link_libraries(veltro-core PUBLIC veltro-objc PRIVATE veltro-strict)

add_library(veltro SHARED ${objc_sources} $<TARGET_OBJECTS:veltro-core>)
target_include_directories(veltro
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  PRIVATE ${PROJECT_SOURCE_DIR})
target_compile_options(veltro PRIVATE -fvisibility=hidden -fvisibility-inlines-hidden)
target_link_libraries(veltro PUBLIC veltro-host PRIVATE veltro-strict)
set_target_properties(veltro PROPERTIES SOVERSION 0 VERSION ${PROJECT_VERSION})
