# SPDX-License-Identifier: MIT
# VXQUILAN_SANITIZE=address,undefined or =thread instruments everything that the build makes.

if(VXQUILAN_SANITIZE)
    add_compile_options(-fsanitize=${VXQUILAN_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${VXQUILAN_SANITIZE})
endif()
if(VXQUILAN_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()
