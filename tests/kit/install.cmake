# SPDX-License-Identifier: MIT
# Installs the build into a folder of its own, anew, and looks for what must be there.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
foreach(file
        sbin/vxquilan bin/vx-device-check
        include/vxquilan/device.h include/vxquilan/records.h include/vxquilan/entry_points.h
        include/vxquilan/log.h
        share/pkgconfig/vxquilan.pc share/cmake/vxquilan/vxquilan-config.cmake
        share/man/man8/vxquilan.8 share/man/man1/vx-device-check.1)
    if(NOT EXISTS ${PREFIX}/${file})
        message(FATAL_ERROR "not installed: ${file}")
    endif()
endforeach()
