# SPDX-License-Identifier: MIT
# What the init script asks procd for, under each shell that is there: OpenWrt's is busybox's ash.
set(expected "START=95 STOP=10 USE_PROCD=1
open 
param command /usr/sbin/vxquilan
param respawn 3600 5 0
param stdout 1
param stderr 1
close 
")
file(STRINGS ${SCRIPT} lines LIMIT_COUNT 1)
if(NOT lines STREQUAL "#!/bin/sh /etc/rc.common")
    message(FATAL_ERROR "the script is not started by rc.common: ${lines}")
endif()
set(shells sh "bash --posix" "busybox sh")
foreach(shell IN LISTS shells)
    separate_arguments(command UNIX_COMMAND "${shell}")
    list(GET command 0 name)
    unset(program)
    find_program(program ${name} NO_CACHE)
    if(NOT program)
        message(STATUS "not here: ${shell}")
        continue()
    endif()
    execute_process(COMMAND ${command} -n ${SCRIPT} COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${command} ${RC_COMMON} ${SCRIPT} start
        OUTPUT_VARIABLE found COMMAND_ERROR_IS_FATAL ANY)
    if(NOT found STREQUAL expected)
        message(FATAL_ERROR "${shell}: the script asks for\n${found}and not for\n${expected}")
    endif()
endforeach()
