# Installation directories: GNUInstallDirs, and the installed headers' own
# directory (see AvoInstall.cmake).
#
# Installed under /usr on Debian, the libraries belong in the multiarch
# directory lib/<triplet>. GNUInstallDirs chooses it for native builds only;
# a cross build for a Debian target gets the same here, and gives the
# directory back when the prefix moves away from /usr.
if(CMAKE_CROSSCOMPILING AND CMAKE_LIBRARY_ARCHITECTURE AND EXISTS "/etc/debian_version")
  set(avo_multiarch_libdir "lib/${CMAKE_LIBRARY_ARCHITECTURE}")
  set(avo_libdir_doc "Object code libraries (lib)")
  if(CMAKE_INSTALL_PREFIX MATCHES "^/usr/?$")
    if(NOT DEFINED CACHE{CMAKE_INSTALL_LIBDIR} OR "$CACHE{CMAKE_INSTALL_LIBDIR}" STREQUAL "lib")
      set(CMAKE_INSTALL_LIBDIR "${avo_multiarch_libdir}" CACHE PATH "${avo_libdir_doc}" FORCE)
    endif()
  elseif("$CACHE{CMAKE_INSTALL_LIBDIR}" STREQUAL "${avo_multiarch_libdir}")
    set(CMAKE_INSTALL_LIBDIR "lib" CACHE PATH "${avo_libdir_doc}" FORCE)
  endif()
endif()

include(GNUInstallDirs)
set(AVO_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/avoobjectmodel")
