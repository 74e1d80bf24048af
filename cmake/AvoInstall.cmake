# Install rules, the exported CMake package "AvoObjectModel" and the
# pkg-config files:
#   find_package(AvoObjectModel CONFIG REQUIRED)
#   target_link_libraries(app PRIVATE AvoObjectModel::avoobjectmodel)
#   c++ app.cpp $(pkg-config --cflags --libs avoobjectmodel)
#
# Install components (the Debian packages of AvoPackaging.cmake follow them):
#   runtime      the shared libraries with their SONAME links
#   development  headers, the unversioned .so links, CMake package, .pc files
#   tool         the command-line programs (tools/CMakeLists.txt)
include(CMakePackageConfigHelpers)

set(AVO_CMAKE_INSTALL_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/AvoObjectModel")

install(TARGETS avoplatform avoobjectmodel
  EXPORT AvoObjectModelTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)

# Every header tree lands under one directory of its own: the platform headers
# have generic names (VelValue.h, Avo/, Polt/) that must not collide with other
# software in /usr/include.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/Platform/include/"
  DESTINATION ${AVO_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/Include/"
  DESTINATION ${AVO_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h")
# Headers named *Common.h are the library's own helpers, not its interface.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/AvoObjectModel"
  DESTINATION ${AVO_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h"
  PATTERN "*Common.h" EXCLUDE)

install(EXPORT AvoObjectModelTargets
  NAMESPACE AvoObjectModel::
  DESTINATION ${AVO_CMAKE_INSTALL_DIR}
  COMPONENT development)

# The public headers use these Boost libraries; the package asks for the very
# version the libraries were built with, since Boost types cross the interface.
set(AVO_PUBLIC_BOOST_COMPONENTS "date_time thread chrono timer")
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/AvoObjectModelConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/AvoObjectModelConfig.cmake"
  INSTALL_DESTINATION ${AVO_CMAKE_INSTALL_DIR})
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/AvoObjectModelConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/AvoObjectModelConfig.cmake"
  "${PROJECT_BINARY_DIR}/AvoObjectModelConfigVersion.cmake"
  DESTINATION ${AVO_CMAKE_INSTALL_DIR}
  COMPONENT development)

# pkg-config files. Their prefix is the one the installation runs with
# (cmake --install --prefix, or /usr for the Debian packages), so they are
# completed at install time: configure time fills in everything else and
# leaves @CMAKE_INSTALL_PREFIX@ for the install step.
set(AVO_PC_PREFIX "@CMAKE_INSTALL_PREFIX@")
foreach(dir LIBDIR INCLUDEDIR)
  set(relative ${CMAKE_INSTALL_${dir}})
  if(dir STREQUAL INCLUDEDIR)
    set(relative ${AVO_INSTALL_INCLUDEDIR})
  endif()
  if(IS_ABSOLUTE "${relative}")
    set(AVO_PC_${dir} "${relative}")
  else()
    set(AVO_PC_${dir} "\${prefix}/${relative}")
  endif()
endforeach()
# Boost ships no pkg-config files; these are the libraries behind the Boost
# code that the public headers instantiate in a user's program.
set(AVO_PC_BOOST_LIBS "-lboost_timer -lboost_chrono -lboost_thread")
foreach(pc avoplatform avoobjectmodel)
  set(staged "${PROJECT_BINARY_DIR}/pkgconfig/${pc}.pc.in")
  set(final "${PROJECT_BINARY_DIR}/pkgconfig/install/${pc}.pc")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in" "${staged}" @ONLY)
  install(CODE "
    string(REGEX REPLACE \"(.)/+$\" \"\\\\1\" CMAKE_INSTALL_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
    configure_file(\"${staged}\" \"${final}\" @ONLY)"
    COMPONENT development)
  install(FILES "${final}" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
