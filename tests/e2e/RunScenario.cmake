# Runs one end-to-end scenario, with the options in ARGS or in
# ${DIR}/${TEST}.args, and compares what tunnelsim writes with
# ${DIR}/${TEST}.out: stdout, then "[stderr]" and stderr when there is any,
# then "[exit N]" when the status is not 0.
separate_arguments(args UNIX_COMMAND "${ARGS}")
if(EXISTS ${DIR}/${TEST}.args)
  file(READ ${DIR}/${TEST}.args args_text)
  separate_arguments(args UNIX_COMMAND "${args_text}")
endif()
set(input /dev/null)
if(EXISTS ${DIR}/${TEST}.stdin)
  set(input ${DIR}/${TEST}.stdin)
endif()

execute_process(
  COMMAND ${TUNNELSIM} ${SCENARIO} ${args}
  WORKING_DIRECTORY ${DIR}
  INPUT_FILE ${input}
  OUTPUT_VARIABLE out
  ERROR_VARIABLE err
  RESULT_VARIABLE status)

set(actual "${out}")
if(NOT err STREQUAL "")
  string(APPEND actual "[stderr]\n${err}")
endif()
if(NOT status EQUAL 0)
  string(APPEND actual "[exit ${status}]\n")
endif()

if(DEFINED ENV{TUNNELSIM_UPDATE})
  file(WRITE ${DIR}/${TEST}.out "${actual}")
  return()
endif()

file(READ ${DIR}/${TEST}.out expected)
if(NOT actual STREQUAL expected)
  set(actual_file ${CMAKE_CURRENT_BINARY_DIR}/${TEST}.actual)
  file(WRITE ${actual_file} "${actual}")
  execute_process(COMMAND diff -u ${DIR}/${TEST}.out ${actual_file})
  message(FATAL_ERROR "${TEST}: output differs from ${TEST}.out (actual output in ${actual_file})")
endif()
