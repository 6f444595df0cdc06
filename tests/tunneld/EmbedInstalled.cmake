# Installs the build into a temporary prefix, builds examples/embed against it
# with find_package(tunnel), and runs the program.
# -DBUILD_DIR=<build tree> -DSOURCE_DIR=<source tree> -DWORK=<scratch directory>
file(REMOVE_RECURSE ${WORK})
include(${CMAKE_CURRENT_LIST_DIR}/RunChecked.cmake)
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/embed -B ${WORK}/embed
  -DCMAKE_PREFIX_PATH=${WORK}/prefix -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK}/embed)
run(${WORK}/embed/embed)
if(NOT output MATCHES "10.0.0.2/32 via ldp:1")
  message(FATAL_ERROR "the embedding program printed:\n${output}")
endif()
file(REMOVE_RECURSE ${WORK})
