# Runs avo-knx batch on a file of drawn conversions and has the checker
# compare every result line with the library's own result.
#
#   cmake -DTOOL=<avo-knx> -DCHECKER=<avo_knx_batch_checker> [-DEMULATOR=<qemu-arm>]
#         -DSEED=<n> -DCOUNT=<lines> -DMODE=verify|verify-json -DWORK_DIR=<dir>
#         -P RunBatchCheck.cmake

set(tool ${TOOL})
set(checker ${CHECKER})
if(EMULATOR)
  set(tool ${EMULATOR} ${TOOL})
  set(checker ${EMULATOR} ${CHECKER})
endif()
file(MAKE_DIRECTORY ${WORK_DIR})
set(input ${WORK_DIR}/batch-${MODE}.in)
set(output ${WORK_DIR}/batch-${MODE}.out)
set(json)
if(MODE STREQUAL "verify-json")
  set(json --json)
endif()

execute_process(COMMAND ${checker} generate ${SEED} ${COUNT} ${input} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "generating the batch input failed: ${status}")
endif()
execute_process(COMMAND ${tool} batch ${json} INPUT_FILE ${input} OUTPUT_FILE ${output}
  ERROR_VARIABLE err RESULT_VARIABLE status)
# Some drawn lines are malformed or refused: the batch ends with status 1.
if(NOT status EQUAL 1)
  message(FATAL_ERROR "avo-knx batch ended with status ${status}, expected 1\n${err}")
endif()
execute_process(COMMAND ${checker} ${MODE} ${SEED} ${COUNT} ${input} ${output} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the batch output differs from the library's results (see above)")
endif()
