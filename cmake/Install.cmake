# What `make install` lays down: the two shared objects, the headers, the tool, a CMake package and
# a pkg-config file; by components, each of which `make package` makes a package of.

include(CMakePackageConfigHelpers)

add_custom_target(product DEPENDS veltro-tool messenger-bundle)
if(TARGET manual)
  add_dependencies(product manual)
endif()

set(VELTRO_PLATFORM_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/veltro-platform)

# Stripped; the component `debug` lays the debug information beside what was installed before, where gdb looks for it.
install(CODE "set(CMAKE_INSTALL_DO_STRIP TRUE)" ALL_COMPONENTS)
install(TARGETS veltro veltro-host
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(TARGETS veltro-tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
foreach(target veltro veltro-host veltro-tool)
  set(folder ${CMAKE_INSTALL_LIBDIR})
  if(target STREQUAL veltro-tool)
    set(folder ${CMAKE_INSTALL_BINDIR})
  endif()
  install(CODE "
    set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${folder}\")
    set(information \"\${folder}/.debug/$<TARGET_FILE_NAME:${target}>.debug\")
    message(STATUS \"Installing: \${information}\")
    file(MAKE_DIRECTORY \"\${folder}/.debug\")
    execute_process(COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> \"\${information}\"
                    COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${CMAKE_OBJCOPY} \"--add-gnu-debuglink=\${information}\" \"\${folder}/$<TARGET_FILE_NAME:${target}>\"
                    COMMAND_ERROR_IS_FATAL ANY)"
    COMPONENT debug EXCLUDE_FROM_ALL)
endforeach()
install(DIRECTORY tools/veltro/Resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/veltro)
install(FILES platform/linux/lsan.supp DESTINATION ${CMAKE_INSTALL_DATADIR}/veltro COMPONENT development)
install(DIRECTORY examples/component DESTINATION ${CMAKE_INSTALL_DATADIR}/veltro USE_SOURCE_PERMISSIONS)
install(DIRECTORY include/veltro DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY platform/include/ platform/linux/objc-support/
        DESTINATION ${VELTRO_PLATFORM_INCLUDEDIR} COMPONENT development)
# GCC's headers of the runtime's interface, which lie in a folder of one release of GCC: what is installed
# here outlives an upgrade of GCC.
install(DIRECTORY ${VELTRO_GCC_OBJC_INCLUDE}/objc DESTINATION ${VELTRO_PLATFORM_INCLUDEDIR}/gcc
        COMPONENT development)
# GNUstep declares what makes an object as returning id, which takes no dot: [NSString stringWithFormat:…].length. In
# these copies it returns an object of its class, as the device's does.
foreach(header NSCalendar NSCharacterSet NSData NSError NSIndexPath NSIndexSet NSLocale NSOperation NSScanner
               NSSortDescriptor NSString)
  file(READ ${VELTRO_GNUSTEP_INCLUDE}/Foundation/${header}.h text)
  string(REGEX REPLACE "(\n[ \t]*\\+ *)\\(id\\)" "\\1(instancetype)" text "${text}")
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/Foundation/${header}.h CONTENT "#pragma clang system_header\n@text@" @ONLY)
endforeach()
install(DIRECTORY ${PROJECT_BINARY_DIR}/Foundation DESTINATION ${VELTRO_PLATFORM_INCLUDEDIR} COMPONENT development)
set_target_properties(veltro-tool PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(veltro PROPERTIES INSTALL_RPATH "$ORIGIN")

# clang 19 loses what extern "C" blocks declare in a module that C++20 imports, and so all of GNUstep's headers; it
# keeps them where C++'s own modules are off.
set(VELTRO_MODULE_OPTIONS "-Xclang -fno-cxx-modules")
list(JOIN VELTRO_OBJC_OPTIONS " " PC_OPTIONS)
list(TRANSFORM VELTRO_OBJC_DEFINITIONS PREPEND "-D" OUTPUT_VARIABLE definitions)
list(JOIN definitions " " PC_DEFINITIONS)
list(JOIN VELTRO_OBJC_LIBRARIES " " PC_LIBRARIES)
configure_file(cmake/veltro.pc.in veltro.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/veltro.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

configure_package_config_file(cmake/veltro-config.cmake.in veltro-config.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/veltro
  PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR VELTRO_PLATFORM_INCLUDEDIR)
write_basic_package_version_file(veltro-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/veltro-config.cmake ${PROJECT_BINARY_DIR}/veltro-config-version.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/veltro COMPONENT development)

install(FILES docs/arc.md docs/environment.md docs/tutorial.md
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/veltro COMPONENT development)
install(FILES docs/tool.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/veltro)
# Where `make docs` has made it.
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/reference
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/veltro COMPONENT development OPTIONAL)
