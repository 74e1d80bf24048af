# Installs the built project into a scratch prefix, then configures, builds and
# runs the consumer project against it. Arguments: BUILD_DIR, SOURCE_DIR,
# WORK_DIR, and CXX_FLAGS/LINKER_FLAGS of the build (a sanitizer build's
# libraries need the consumer built with the same runtime).
file(REMOVE_RECURSE "${WORK_DIR}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/prefix"
                RESULT_VARIABLE status OUTPUT_QUIET)
if(status)
  message(FATAL_ERROR "install failed: ${status}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${WORK_DIR}/build" -G Ninja
                        "-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix"
                        "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}"
                RESULT_VARIABLE status)
if(status)
  message(FATAL_ERROR "configure failed: ${status}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK_DIR}/build" RESULT_VARIABLE status)
if(status)
  message(FATAL_ERROR "build failed: ${status}")
endif()
execute_process(COMMAND "${WORK_DIR}/build/avo_consumer" RESULT_VARIABLE status)
if(status)
  message(FATAL_ERROR "consumer failed: ${status}")
endif()
