# Installs the build into a temporary prefix, builds examples/embed against it
# with find_package(tunnel), and runs the program.
# -DBUILD_DIR=<build tree> -DSOURCE_DIR=<source tree> -DWORK=<scratch directory>
file(REMOVE_RECURSE ${WORK})
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN} failed (${status}):\n${out}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/embed -B ${WORK}/embed
  -DCMAKE_PREFIX_PATH=${WORK}/prefix -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK}/embed)
run(${WORK}/embed/embed)
if(NOT output MATCHES "10.0.0.2/32 via ldp:1")
  message(FATAL_ERROR "the embedding program printed:\n${output}")
endif()
file(REMOVE_RECURSE ${WORK})
