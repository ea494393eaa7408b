# SPDX-License-Identifier: MIT
# VXQUILAN_SANITIZE=address,undefined or =thread instruments everything that the build makes.

if(VXQUILAN_SANITIZE)
    add_compile_options(-fsanitize=${VXQUILAN_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    # In instrumented code GCC takes members of the standard library's own types for uninitialised;
    # the plain builds still have this warning.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-maybe-uninitialized)
    endif()
    add_link_options(-fsanitize=${VXQUILAN_SANITIZE})
endif()
if(VXQUILAN_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()
