# SPDX-License-Identifier: MIT
# vxq_hardening: what makes a mistake in the daemon, or in a library beside it, hard to exploit. It is
# for programs that are shipped; tests and the lab take it along where they link the daemon's modules.
#
#   -fstack-protector-strong    a buffer overrun on the stack ends the process before the return
#   _FORTIFY_SOURCE             so does one inside the C library, where the buffer's size is known
#   PIE                         (CMakeLists.txt) the program lies at another address each time
#   relro, now                  the tables of function addresses can't be written once it runs
#   noexecstack                 nothing on a stack can be executed

option(VXQUILAN_HARDENING "Build the programs that are shipped hardened" ON)

add_library(vxq_hardening INTERFACE)

# Sanitizers check more than this, and don't go with it: what they intercept would be hidden from them.
if(NOT VXQUILAN_HARDENING OR VXQUILAN_SANITIZE)
    return()
endif()

include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)

# vxq_hardening_missing(WHAT): said once, when the toolchain is first asked, and left out.
function(vxq_hardening_missing what)
    message(WARNING "hardening: this toolchain has no ${what}; the build goes on without it")
endfunction()

# Linking tells, not compiling: the C library has to bring what a failed check calls.
set(CMAKE_REQUIRED_FLAGS "-fstack-protector-strong -Werror")
check_cxx_source_compiles([[
#include <cstring>
int main(int, char** arguments) {
    char copy[64];
    std::strncpy(copy, arguments[0], sizeof copy - 1);
    copy[sizeof copy - 1] = 0;
    return static_cast<int>(std::strlen(copy));
}]] VXQUILAN_HAVE_STACK_PROTECTOR)
if(VXQUILAN_HAVE_STACK_PROTECTOR)
    target_compile_options(vxq_hardening INTERFACE -fstack-protector-strong)
else()
    vxq_hardening_missing("-fstack-protector-strong")
endif()

# Without optimisation, or at a level that compiler or C library don't have, nothing would be checked.
# The C library's headers say so in a warning, which not every compiler shows: the words are asked.
# The answer depends on the build type's own flags, so each type asks for itself.
string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
foreach(level 3 2)
    set(CMAKE_REQUIRED_FLAGS
        "${CMAKE_CXX_FLAGS_${build_type}} -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${level} -Werror")
    check_cxx_source_compiles("
#include <cstdio>
#ifndef __OPTIMIZE__
#error no optimisation
#elif defined __USE_FORTIFY_LEVEL && __USE_FORTIFY_LEVEL < ${level}
#error the level is not there
#endif
int main() { return 0; }" VXQUILAN_HAVE_FORTIFY_${level}_${build_type})
    if(VXQUILAN_HAVE_FORTIFY_${level}_${build_type})
        # Some compilers set a level themselves, and take a second one for a mistake.
        target_compile_options(vxq_hardening INTERFACE
            -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${level})
        set(vxq_fortify_level ${level})
        break()
    endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)

foreach(word relro now noexecstack)
    check_linker_flag(CXX LINKER:-z,${word} VXQUILAN_HAVE_Z_${word})
    if(VXQUILAN_HAVE_Z_${word})
        target_link_options(vxq_hardening INTERFACE LINKER:-z,${word})
    else()
        vxq_hardening_missing("-z ${word}")
    endif()
endforeach()
