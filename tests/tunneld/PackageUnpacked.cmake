# Makes the Debian package, unpacks it into a temporary directory (nothing is
# installed on the machine) and asks its tunneld for --help.
# -DBUILD_DIR=<build tree> -DWORK=<scratch directory>
file(REMOVE_RECURSE ${WORK})
include(${CMAKE_CURRENT_LIST_DIR}/RunChecked.cmake)
run(cpack --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK})
file(GLOB package ${WORK}/*.deb)
run(dpkg-deb -x ${package} ${WORK}/root)
run(${WORK}/root/usr/bin/tunneld --help)
if(NOT output MATCHES "--write-scenario")
  message(FATAL_ERROR "tunneld --help printed:\n${output}")
endif()
file(REMOVE_RECURSE ${WORK})
