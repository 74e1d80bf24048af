# Runs avo-knx batch, with and without --json, on a file of drawn conversions
# and has the checker compare every result with the library's own result.
#
#   cmake -DTOOL=<avo-knx> -DCHECKER=<avo_knx_batch_checker> [-DEMULATOR=<qemu-arm>]
#         -DSEED=<n> -DCOUNT=<lines> -DWORK_DIR=<dir> -P RunBatchCheck.cmake

set(tool ${TOOL})
set(checker ${CHECKER})
if(EMULATOR)
  set(tool ${EMULATOR} ${TOOL})
  set(checker ${EMULATOR} ${CHECKER})
endif()
file(MAKE_DIRECTORY ${WORK_DIR})
set(input ${WORK_DIR}/batch.in)

execute_process(COMMAND ${checker} ${SEED} ${COUNT} ${input} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "generating the batch input failed: ${status}")
endif()
foreach(output lines objects)
  set(json)
  if(output STREQUAL "objects")
    set(json --json)
  endif()
  execute_process(COMMAND ${tool} batch ${json} INPUT_FILE ${input}
    OUTPUT_FILE ${WORK_DIR}/batch.${output} ERROR_VARIABLE err RESULT_VARIABLE status)
  # Some drawn lines are malformed or refused: the batch ends with status 1.
  if(NOT status EQUAL 1)
    message(FATAL_ERROR "avo-knx batch ${json} ended with status ${status}, expected 1\n${err}")
  endif()
endforeach()
execute_process(COMMAND ${checker} ${SEED} ${COUNT} ${WORK_DIR}/batch.lines
  ${WORK_DIR}/batch.objects RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the batch output differs from the library's results (see above)")
endif()
