# Runs avo-knx once, as a user would, and compares its output and exit status
# with the expected ones.
#
#   cmake -DTOOL=<avo-knx> [-DEMULATOR=<qemu-arm>] -DARGS=<arg;arg;...>
#         [-DSTDIN=<file>] -DSTATUS=<exit status> -DEXPECTED=<dir/name> -P RunToolCase.cmake
#
# <name>.out holds the expected standard output (none: empty). <name>.err,
# when present, holds the expected standard error. In both the library's
# "(File.cpp:123)" line positions are written as "(File.cpp)". Without it,
# standard error must be empty on success and one "avo-knx: " line on a
# usage error. With AVO_TOOL_UPDATE_EXPECTED=1 in the environment the files
# are written instead of compared.

set(command ${TOOL})
if(EMULATOR)
  set(command ${EMULATOR} ${TOOL})
endif()
set(input)
if(STDIN)
  set(input INPUT_FILE ${STDIN})
endif()
execute_process(COMMAND ${command} ${ARGS} ${input}
  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE status)
# Line positions of the library's sources change with every edit.
foreach(stream out err)
  string(REGEX REPLACE "\\(([A-Za-z0-9_]+\\.(cpp|h)):[0-9]+\\)" "(\\1)" ${stream} "${${stream}}")
endforeach()

if("$ENV{AVO_TOOL_UPDATE_EXPECTED}" STREQUAL "1")
  file(WRITE ${EXPECTED}.out "${out}")
  if(NOT err STREQUAL "" AND NOT status STREQUAL "2")
    file(WRITE ${EXPECTED}.err "${err}")
  endif()
  message(STATUS "wrote ${EXPECTED}.out (exit status ${status})")
  return()
endif()

set(report "avo-knx ${ARGS}\nexit status ${status}\n--- stdout\n${out}--- stderr\n${err}---")
if(NOT status STREQUAL STATUS)
  message(FATAL_ERROR "exit status ${status}, expected ${STATUS}\n${report}")
endif()

set(expected_out "")
if(EXISTS ${EXPECTED}.out)
  file(READ ${EXPECTED}.out expected_out)
endif()
if(NOT out STREQUAL expected_out)
  message(FATAL_ERROR "standard output differs from ${EXPECTED}.out:\n--- expected\n${expected_out}${report}")
endif()

if(EXISTS ${EXPECTED}.err)
  file(READ ${EXPECTED}.err expected_err)
  if(NOT err STREQUAL expected_err)
    message(FATAL_ERROR "standard error differs from ${EXPECTED}.err:\n--- expected\n${expected_err}${report}")
  endif()
elseif(STATUS STREQUAL "2")
  if(NOT err MATCHES "^avo-knx: [^\n]+\n$")
    message(FATAL_ERROR "a usage error must be one 'avo-knx: ' line on standard error\n${report}")
  endif()
elseif(STATUS STREQUAL "0" AND NOT err STREQUAL "")
  message(FATAL_ERROR "standard error must be empty\n${report}")
endif()
