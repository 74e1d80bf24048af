# Debian packages, one per install component (cmake/AvoInstall.cmake):
#   libavoobjectmodel1      runtime      the shared libraries
#   libavoobjectmodel-dev   development  headers, CMake package, pkg-config files
#   avo-knx                 tool         the command-line programs
# Built by "cpack" in a build directory configured with -DAVO_PACKAGING=ON
# -DCMAKE_INSTALL_PREFIX=/usr (scripts/package does both). The architecture
# follows the compiler's target, so the armhf cross build gives armhf packages.

if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  message(FATAL_ERROR "Debian packages install under /usr, and the library directory "
    "follows the prefix: configure with -DCMAKE_INSTALL_PREFIX=/usr "
    "(the prefix is ${CMAKE_INSTALL_PREFIX}).")
endif()

# Each component is one package: a file installed without a component would
# silently be left out of all of them.
set(AVO_PACKAGE_COMPONENTS runtime development tool)
get_cmake_property(avo_install_components COMPONENTS)
list(REMOVE_ITEM avo_install_components ${AVO_PACKAGE_COMPONENTS})
if(avo_install_components)
  list(JOIN avo_install_components ", " unpackaged)
  list(JOIN AVO_PACKAGE_COMPONENTS ", " packaged)
  message(FATAL_ERROR "Install rules of components that no package holds: ${unpackaged}. "
    "Give each install() a COMPONENT of: ${packaged}.")
endif()

# Debian's architecture name of the target (amd64, armhf, ...), from its
# multiarch triplet; dpkg-architecture knows the mapping.
function(avo_debian_architecture out)
  set(arch "")
  if(CMAKE_LIBRARY_ARCHITECTURE)
    execute_process(COMMAND dpkg-architecture -qDEB_HOST_ARCH -t${CMAKE_LIBRARY_ARCHITECTURE}
      OUTPUT_VARIABLE arch OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  endif()
  if(NOT arch)
    message(FATAL_ERROR "No Debian architecture for the target "
      "'${CMAKE_LIBRARY_ARCHITECTURE}' (dpkg-architecture, from dpkg-dev, is needed).")
  endif()
  set(${out} ${arch} PARENT_SCOPE)
endfunction()
avo_debian_architecture(AVO_DEBIAN_ARCH)

set(AVO_PACKAGE_MAINTAINER "libavoobjectmodel maintainers <maintainers@users.noreply.c-seed-c1a304ea.example>"
  CACHE STRING "Maintainer field of the Debian packages")
set(AVO_PACKAGE_RELEASE 1 CACHE STRING "Debian revision of the packages (the part after the version)")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libavoobjectmodel)
set(CPACK_PACKAGE_VENDOR "libavoobjectmodel")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
# The install steps run with the final prefix (the pkg-config files record
# it) and write into the staging directory through DESTDIR.
set(CPACK_SET_DESTDIR ON)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
# The binaries go out stripped; their debug information goes into the
# -dbgsym packages beside them (.ddeb), for post-mortem analysis of a target.
# The target's own binutils do the split, also when cross-building.
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_OBJCOPY_EXECUTABLE "${CMAKE_OBJCOPY}")
set(CPACK_READELF_EXECUTABLE "${CMAKE_READELF}")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${AVO_PACKAGE_COMPONENTS})
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${AVO_DEBIAN_ARCH})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${AVO_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${AVO_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# A package depends on the packages of the components it needs at exactly
# its own version: headers and tool go with the libraries of the same build.
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# Runtime dependencies come from the binaries themselves (dpkg-shlibdeps).
# The tool's own libraries are not installed yet when it is packaged: they
# are looked up in the build tree and covered by the component dependency.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  "${PROJECT_BINARY_DIR}/AvoObjectModel" "${PROJECT_BINARY_DIR}/Platform")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libavoobjectmodel${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "KNX object-model library of the building-automation server
Converts KNX group values to and from the object model's value records, maps
communication objects to object-model identifiers, exchanges requests with the
device stack and reads the app host configuration.")

# The development package carries what find_package() and the headers ask
# for: Boost's headers and the CMake packages of the Boost libraries that
# the headers use, at the version the libraries were built with, and log4cplus.
set(avo_boost_series "${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR}")
set(avo_dev_depends "libboost${avo_boost_series}-dev")
string(REPLACE " " ";" avo_boost_components "${AVO_PUBLIC_BOOST_COMPONENTS}")
foreach(component IN LISTS avo_boost_components)
  string(REPLACE "_" "-" component ${component})
  list(APPEND avo_dev_depends "libboost-${component}${avo_boost_series}-dev")
endforeach()
list(APPEND avo_dev_depends "liblog4cplus-dev (>= 2.0)")
list(JOIN avo_dev_depends ", " CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME "libavoobjectmodel-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "pkg-config, cmake")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "KNX object-model library of the building-automation server - development files
Headers, the CMake package (find_package(AvoObjectModel CONFIG)) and the
pkg-config files (avoobjectmodel, avoplatform) of libavoobjectmodel.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME "avo-knx")
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOL_DEPENDS runtime)
set(CPACK_COMPONENT_TOOL_DESCRIPTION
  "Command-line tools of the KNX object-model library
avo-knx encodes and decodes KNX group values, describes object-model
identifiers, reads app host configurations and exchanges requests with a
simulated device stack. avo-devicestackd is a local device stack service on a
Unix domain socket, for developing and running apps off the device.")

# Read by cpack when it starts. dpkg-shlibdeps must look at the target's
# libraries and use its objdump, also when the packages are cross-built.
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_BINARY_DIR}/AvoCPackEnvironment.cmake")
# Each package's summary is the first line of its component's description,
# not the project's one-line description put before it.
file(WRITE "${CPACK_PROJECT_CONFIG_FILE}"
  "set(ENV{DEB_HOST_ARCH} \"${AVO_DEBIAN_ARCH}\")\n"
  "unset(CPACK_PACKAGE_DESCRIPTION_SUMMARY)\n")

include(CPack)
