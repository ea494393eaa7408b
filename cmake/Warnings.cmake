# SPDX-License-Identifier: MIT
# One place for the warnings that every target of the project is built with.

add_library(vxq_warnings INTERFACE)
target_compile_options(vxq_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor>
    $<$<BOOL:${VXQUILAN_WERROR}>:-Werror>)
