# Third-party libraries, all from Debian's packages (scripts/bootstrap).
# Debian's default Boost is 1.74; the 1.81 series is installed beside it.
find_package(Boost 1.77 REQUIRED CONFIG
  COMPONENTS date_time thread chrono system timer filesystem)
find_package(log4cplus 2.0 REQUIRED CONFIG)
find_package(utf8cpp REQUIRED CONFIG)

# rapidxml is header-only and ships no CMake configuration.
find_path(RAPIDXML_INCLUDE_DIR rapidxml/rapidxml.hpp REQUIRED)
if(NOT TARGET Avo::rapidxml)
  add_library(Avo::rapidxml INTERFACE IMPORTED)
  set_target_properties(Avo::rapidxml PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${RAPIDXML_INCLUDE_DIR}")
endif()

# utf8-cpp's own target carries no namespace; give it one for readability.
if(NOT TARGET Avo::utf8cpp)
  add_library(Avo::utf8cpp INTERFACE IMPORTED)
  set_target_properties(Avo::utf8cpp PROPERTIES INTERFACE_LINK_LIBRARIES utf8cpp)
endif()

find_package(Threads REQUIRED)
