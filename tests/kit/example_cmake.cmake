# SPDX-License-Identifier: MIT
# The example builds against the installed prefix with find_package().
file(REMOVE_RECURSE ${BUILD})
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${BUILD} -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${PREFIX} -DCMAKE_C_COMPILER=${COMPILER}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${BUILD} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
