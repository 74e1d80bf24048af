# Compares the dynamic symbols that a shared library defines with the names
# that its interface is made of (docs/api.md). Arguments:
#   RULES    a file setting the lists below for one library
#   LIBRARY  the shared library, read with NM (nm -D --defined-only -C), or
#   SYMBOLS  a file of demangled symbol names, one a line (to test the rules)
#
# The rules file sets:
#   own_names     first two components of the library's own names
#                 ("Avo::KnxValueConverter"), or a whole global name ("VELVALUE")
#   vague_names   names of types that the library does not export itself: the
#                 header-only types of its public headers and the platform's
#                 types. They may appear in parameter types and template
#                 arguments, and as type information or vtable, which the
#                 compiler emits wherever such a type is used.
#   required      regular expressions that some symbol must match
#
# A symbol passes when it is the library's own name, or the type information or
# vtable of a vague name or of a function type, or belongs to the standard
# library, Boost, log4cplus or a sanitizer runtime; and when every Avo or AvoApp
# name that it mentions (a template argument, a parameter type) is one of the
# own or vague names.
# Anything in an anonymous namespace fails.
cmake_minimum_required(VERSION 3.25)

include("${RULES}")

if(DEFINED SYMBOLS)
  file(READ "${SYMBOLS}" listing)
  set(source "${SYMBOLS}")
else()
  execute_process(COMMAND "${NM}" -D --defined-only -C "${LIBRARY}"
                  OUTPUT_VARIABLE listing RESULT_VARIABLE status)
  if(status)
    message(FATAL_ERROR "${NM} failed on ${LIBRARY}: ${status}")
  endif()
  set(source "${LIBRARY}")
endif()
# One list entry per line. Square brackets ("[abi:cxx11]") would hold list
# separators together, so they are read as angle brackets.
string(REPLACE ";" "," listing "${listing}")
string(REPLACE "[" "<" listing "${listing}")
string(REPLACE "]" ">" listing "${listing}")
string(REPLACE "\n" ";" lines "${listing}")
set(symbols "")
foreach(line IN LISTS lines)
  if(DEFINED SYMBOLS)
    if(NOT line STREQUAL "" AND NOT line MATCHES "^#")
      list(APPEND symbols "${line}")
    endif()
  elseif(line MATCHES "^[0-9a-fA-F]+ [A-Za-z] (.+)$") # "<address> <type> <name>"
    list(APPEND symbols "${CMAKE_MATCH_1}")
  endif()
endforeach()

list(LENGTH symbols symbol_count)
if(symbol_count EQUAL 0)
  message(FATAL_ERROR "no symbols read from ${source}")
endif()

# True when text is, or starts with, one of the names followed by the end of a
# name ("::", "(", "<", " " or the end).
function(starts_with_name result text names)
  foreach(name IN LISTS names)
    string(LENGTH "${name}" length)
    string(SUBSTRING "${text}" 0 ${length} head)
    if(head STREQUAL name)
      string(SUBSTRING "${text}" ${length} 1 next)
      if(next STREQUAL "" OR next MATCHES "^[:(< ]$")
        set(${result} TRUE PARENT_SCOPE)
        return()
      endif()
    endif()
  endforeach()
  set(${result} FALSE PARENT_SCOPE)
endfunction()

set(data_prefix "^(typeinfo for |typeinfo name for |vtable for |VTT for |construction vtable for )")
set(thunk_prefix "^(non-virtual thunk to |virtual thunk to |covariant return thunk to |guard variable for )")
set(known_names ${own_names} ${vague_names})
set(unexpected 0)
foreach(symbol IN LISTS symbols)
  set(name "${symbol}")
  set(is_data FALSE)
  if(name MATCHES "${data_prefix}")
    string(REGEX REPLACE "${data_prefix}" "" name "${name}")
    set(is_data TRUE)
  endif()
  string(REGEX REPLACE "${thunk_prefix}" "" name "${name}")
  # A function template's name starts with its return type; a library
  # template's may be a decltype of its own arguments (std::__miter_base).
  string(REGEX REPLACE "^decltype \\(.*\\) (std|boost|__gnu_cxx)::" "\\1::" name "${name}")
  # Otherwise a plain return type comes first.
  string(REGEX REPLACE
         "^(unsigned |signed )?(void|bool|char|short|int|long long|long|float|double|unsigned)( const)?[&*]* "
         "" name "${name}")

  set(fault "")
  if(name MATCHES "\\(anonymous namespace\\)")
    set(fault "in an anonymous namespace")
  else()
    starts_with_name(own "${name}" "${own_names}")
    starts_with_name(vague "${name}" "${vague_names}")
    # The type information of a function type ("bool (KNXDPT&)"), which
    # clang's function sanitizer emits, names no class of its own.
    set(function_type FALSE)
    if(is_data AND name MATCHES "^[^<]*\\(")
      set(function_type TRUE)
    endif()
    if(NOT own AND NOT (is_data AND vague) AND NOT function_type
       AND NOT name MATCHES "^(std|boost|__gnu_cxx|log4cplus)::"
       AND NOT name MATCHES "^__(odr_asan|asan|ubsan|tsan|sanitizer|sancov|start___sancov|stop___sancov)")
      set(fault "not part of the interface")
    else()
      string(REGEX MATCHALL "AvoApp::[A-Za-z_][A-Za-z_0-9]*|Avo::[A-Za-z_][A-Za-z_0-9]*(<<)?"
             mentioned "${name}")
      foreach(mention IN LISTS mentioned)
        if(NOT mention IN_LIST known_names)
          set(fault "mentions ${mention}")
          break()
        endif()
      endforeach()
    endif()
  endif()
  if(fault)
    message("unexpected export (${fault}): ${symbol}")
    math(EXPR unexpected "${unexpected} + 1")
  endif()
endforeach()

set(missing 0)
foreach(pattern IN LISTS required)
  set(found FALSE)
  foreach(symbol IN LISTS symbols)
    if(symbol MATCHES "${pattern}")
      set(found TRUE)
      break()
    endif()
  endforeach()
  if(NOT found)
    message("missing export: ${pattern}")
    math(EXPR missing "${missing} + 1")
  endif()
endforeach()

if(unexpected OR missing)
  # A plain message, so that the summary stays on one line.
  message("${source}: ${unexpected} unexpected exported symbol(s), "
          "${missing} required export(s) missing (of ${symbol_count} symbols)")
  message(FATAL_ERROR "the exported symbols differ from the interface")
endif()
message(STATUS "${source}: ${symbol_count} exported symbols, all part of the interface")
