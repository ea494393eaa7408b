# SPDX-License-Identifier: MIT
# vxq_check_iv_fill(NAME): ends the configuration unless the variable holds one byte, decimal or
# hexadecimal.
function(vxq_check_iv_fill name)
    set(value "${${name}}")
    if(value MATCHES "^(0|[1-9][0-9]?[0-9]?|0[xX][0-9a-fA-F][0-9a-fA-F]?)$")
        math(EXPR number "${value}")
        if(number LESS 256)
            return()
        endif()
    endif()
    message(FATAL_ERROR "${name}: '${value}' is no byte; give 0 to 255, or 0x00 to 0xff")
endfunction()
