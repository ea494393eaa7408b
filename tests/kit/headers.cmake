# SPDX-License-Identifier: MIT
# Each installed header compiles by itself, without a warning.
if(STANDARD MATCHES "^c\\+\\+")
    set(language c++)
else()
    set(language c)
endif()
file(GLOB headers RELATIVE ${PREFIX}/include ${PREFIX}/include/vxquilan/*.h)
list(LENGTH headers count)
if(count EQUAL 0)
    message(FATAL_ERROR "no headers in ${PREFIX}/include/vxquilan")
endif()
foreach(header IN LISTS headers)
    execute_process(COMMAND ${COMPILER} -x ${language} -std=${STANDARD} -pedantic -Wall -Wextra
        -Werror -fsyntax-only -I${PREFIX}/include -include ${header} /dev/null
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()
