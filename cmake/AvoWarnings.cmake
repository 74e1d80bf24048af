# Warning flags for the project's own targets (not for consumers).
add_library(avo_warnings INTERFACE)
target_compile_options(avo_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wnull-dereference -Wformat=2
  $<$<BOOL:${AVO_WARNINGS_AS_ERRORS}>:-Werror>)
