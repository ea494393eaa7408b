# SPDX-License-Identifier: MIT
# pkg-config finds the headers, under their version, and no library to link.
set(ENV{PKG_CONFIG_LIBDIR} ${PREFIX}/share/pkgconfig)
function(expect option expected)
    execute_process(COMMAND ${PKG_CONFIG} ${option} vxquilan
        OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(found MATCHES "^-I(.*)$")
        file(REAL_PATH ${CMAKE_MATCH_1} folder)
        set(found "-I${folder}")
    endif()
    if(NOT found STREQUAL expected)
        message(FATAL_ERROR "${option}: '${found}', not '${expected}'")
    endif()
endfunction()
file(REAL_PATH ${PREFIX}/include include)
expect(--modversion ${VERSION})
expect(--cflags "-I${include}")
expect(--libs "")
