# Install rules and the exported CMake package "AvoObjectModel":
#   find_package(AvoObjectModel CONFIG REQUIRED)
#   target_link_libraries(app PRIVATE AvoObjectModel::avoobjectmodel)
include(CMakePackageConfigHelpers)

set(AVO_CMAKE_INSTALL_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/AvoObjectModel")

install(TARGETS avoplatform avoobjectmodel
  EXPORT AvoObjectModelTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(DIRECTORY "${PROJECT_SOURCE_DIR}/Platform/include/"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/Include/"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
# Headers named *Common.h are the library's own helpers, not its interface.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/AvoObjectModel"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h"
  PATTERN "*Common.h" EXCLUDE)

install(EXPORT AvoObjectModelTargets
  NAMESPACE AvoObjectModel::
  DESTINATION ${AVO_CMAKE_INSTALL_DIR})

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
  DESTINATION ${AVO_CMAKE_INSTALL_DIR})
