# SPDX-License-Identifier: MIT
# vxq_heavy_headers(TARGET HEADER...): headers that take most of the compiler's time are read once for
# the whole target. Only for what is not the daemon: its files include little.
function(vxq_heavy_headers target)
    target_precompile_headers(${target} PRIVATE ${ARGN})
endfunction()
