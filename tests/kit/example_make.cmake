# SPDX-License-Identifier: MIT
# The example builds against the installed prefix with make and pkg-config.
file(REMOVE_RECURSE ${BUILD})
file(COPY ${SOURCE}/ DESTINATION ${BUILD} PATTERN "*.so" EXCLUDE)
set(ENV{PKG_CONFIG_LIBDIR} ${PREFIX}/share/pkgconfig)
execute_process(COMMAND ${MAKE} -C ${BUILD} CC=${COMPILER} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
foreach(library libvxdevice.so libvxlog.so)
    if(NOT EXISTS ${BUILD}/${library})
        message(FATAL_ERROR "not built: ${library}")
    endif()
endforeach()
