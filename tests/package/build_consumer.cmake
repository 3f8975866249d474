# SPDX-License-Identifier: MIT
# cmake -DBUILD_DIR=... -DWORK_DIR=... -DSOURCE_DIR=... -DCXX=... -DQT_DIR=... -DQT_MAJOR=5|6 -DFLAGS=... -P build_consumer.cmake
# Installs the development component of BUILD_DIR into WORK_DIR/prefix and
# builds the module in SOURCE_DIR against it, as a host developer would.
file(REMOVE_RECURSE ${WORK_DIR})
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "failed: ${ARGN}\n${out}")
    endif()
endfunction()
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --component dev --prefix ${WORK_DIR}/prefix)
foreach(f include/cascade/ModuleInterface include/cascade/vx_udptcp.h)
    if(NOT EXISTS ${WORK_DIR}/prefix/${f})
        message(FATAL_ERROR "not installed: ${f}")
    endif()
endforeach()
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix -DQt${QT_MAJOR}_DIR=${QT_DIR} ${FLAGS})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
file(GLOB built ${WORK_DIR}/build/*.so)
if(NOT built)
    message(FATAL_ERROR "the consumer module was not built")
endif()
message(STATUS "built ${built}")
