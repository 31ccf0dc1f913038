# The packages for Debian that `make package` makes of what is installed: libveltro0, libveltro-dev and veltro-tools.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT ${VELTRO_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/packaging/system_prefix.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libveltro0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The trigger runs ldconfig. CPack would also write two scripts that do, unless files of their names are given; files
# that are not there are left out.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/packaging/triggers postinst postrm)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "fonts-liberation, tzdata")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "support library of a messaging add-on
The library that the components of an add-on for the messenger of a jailbroken
iOS device share, as it runs on Linux, with its implementation of the device's
platform: processes, sockets, keychain, views and the rest stand behind the
device's own calls.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libveltro-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libveltro0 (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), libgnustep-base-dev, libobjc-12-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "clang-19")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "veltro-tools")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "headers of a messaging add-on's support library
What programs are built with that use libveltro, in Objective-C or
Objective-C++ with clang: the library's headers, the platform's as far as it
is implemented, a CMake package and a pkg-config file.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME veltro-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libveltro0 (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "command-line tool of a messaging add-on's support library
veltro has a command for each facility of libveltro: requests to the add-on's
server, the messenger's process, the keychain, apps and labels, vibration,
Base64, dates, views and pictures.")

# What Debian asks for in each package's folder of documents; scripts/package writes the changelog.
foreach(component RUNTIME DEVELOPMENT TOOLS)
  string(TOLOWER ${component} lower)
  install(FILES cmake/packaging/copyright ${PROJECT_BINARY_DIR}/changelog.Debian.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${component}_PACKAGE_NAME}
          COMPONENT ${lower} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
