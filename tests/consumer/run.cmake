# Builds and runs the consumer program against an installed libavoobjectmodel,
# the way another project does: through the CMake package (MODE cmake) or
# through the pkg-config file (MODE pkg-config).
#
#   MODE             cmake | pkg-config
#   SOURCE_DIR       this directory
#   WORK_DIR         scratch directory, emptied first
#   BUILD_DIR        a build tree, installed into WORK_DIR/prefix first; or
#   PREFIX           an existing installation (/usr for the Debian packages)
#   LIBDIR           the library directory below the prefix (lib/x86_64-linux-gnu)
#   CXX_COMPILER, CXX_FLAGS, LINKER_FLAGS
#                    of the build: a sanitizer build's libraries need the
#                    consumer built with the same runtime
#   TOOLCHAIN_FILE, EMULATOR, PKG_CONFIG_LIBDIR
#                    of a cross build: the consumer is cross-built and runs
#                    under the emulator
#   LAUNCHER         compiler launcher (ccache) for the CMake consumer
#   EACH_HEADER      ON: the CMake consumer also compiles every installed
#                    header on its own
cmake_minimum_required(VERSION 3.25)

# Runs a command quietly; its output is shown when it fails.
function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${what} failed (${status}): ${command}\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
if(BUILD_DIR)
  set(PREFIX "${WORK_DIR}/prefix")
  run("install" "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${PREFIX}")
endif()
set(library_dir "${PREFIX}/${LIBDIR}")
# Installed under a scratch prefix, the libraries are found by the run-time
# linker through this; from /usr it changes nothing.
set(ENV{LD_LIBRARY_PATH} "${library_dir}")
separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
separate_arguments(linker_flags UNIX_COMMAND "${LINKER_FLAGS}")
set(program "${WORK_DIR}/build/avo_consumer")

if(MODE STREQUAL "cmake")
  set(configure "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${WORK_DIR}/build" -G Ninja
      "-DCMAKE_PREFIX_PATH=${PREFIX}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
      "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}" "-DAVO_CONSUMER_EACH_HEADER=${EACH_HEADER}")
  if(TOOLCHAIN_FILE)
    list(APPEND configure "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}")
  else()
    list(APPEND configure "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")
  endif()
  if(LAUNCHER)
    list(APPEND configure "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}")
  endif()
  run("configure" ${configure})
  run("build" "${CMAKE_COMMAND}" --build "${WORK_DIR}/build")
elseif(MODE STREQUAL "pkg-config")
  if(BUILD_DIR)
    set(ENV{PKG_CONFIG_PATH} "${library_dir}/pkgconfig")
  endif()
  if(PKG_CONFIG_LIBDIR)
    set(ENV{PKG_CONFIG_LIBDIR} "${PKG_CONFIG_LIBDIR}")
  endif()
  execute_process(COMMAND pkg-config --cflags --libs avoobjectmodel
                  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know avoobjectmodel (${status})")
  endif()
  message(STATUS "pkg-config --cflags --libs avoobjectmodel: ${flags}")
  separate_arguments(flags UNIX_COMMAND "${flags}")
  file(MAKE_DIRECTORY "${WORK_DIR}/build")
  run("build" "${CXX_COMPILER}" -std=c++17 ${cxx_flags} "${SOURCE_DIR}/main.cpp"
      -o "${program}" ${flags} ${linker_flags})
else()
  message(FATAL_ERROR "MODE must be cmake or pkg-config, not '${MODE}'")
endif()

run("consumer" ${EMULATOR} "${program}")
