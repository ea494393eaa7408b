# SPDX-License-Identifier: MIT
# The project can be configured without its lab.
file(REMOVE_RECURSE ${BUILD})
set(options_makers_libraries -DVXQUILAN_LAB=OFF
    -DVXQUILAN_DEVICE_LIBRARY=${LIBRARIES}/libvxdevice.so
    -DVXQUILAN_LOG_LIBRARY=${LIBRARIES}/libvxlog.so)
set(options_no_libraries -DVXQUILAN_LAB=OFF)
set(options_no_daemon -DVXQUILAN_DAEMON=OFF)
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${BUILD} -G ${GENERATOR}
    ${options_${CASE}} OUTPUT_QUIET ERROR_VARIABLE complaint RESULT_VARIABLE status)
if(CASE STREQUAL "no_libraries")
    string(REGEX REPLACE "[ \n]+" " " complaint "${complaint}")
    if(status EQUAL 0 OR NOT complaint MATCHES "libvxdevice.so: not found.*-DVXQUILAN_DEVICE_LIBRARY")
        message(FATAL_ERROR "configuring without libraries: status ${status}: ${complaint}")
    endif()
elseif(NOT status EQUAL 0)
    message(FATAL_ERROR "${complaint}")
endif()
