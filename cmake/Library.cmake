# libveltro, from the very sources that ship in the device's dylib.

set(veltro_rooms bridge keychain utils dates ui)
set(core_sources)
set(objc_sources)
foreach(room IN LISTS veltro_rooms)
  file(GLOB room_core CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${room}/*.cpp)
  file(GLOB room_objc CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${room}/*.mm)
  list(APPEND core_sources ${room_core})
  list(APPEND objc_sources ${room_objc})
endforeach()

# The plain C++ of the rooms: hidden in the shared object, linked directly by its own tests.
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
