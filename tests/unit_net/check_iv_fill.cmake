# SPDX-License-Identifier: MIT
# cmake -DFILL=value -P check_iv_fill.cmake: the check that the build makes, by itself.
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/IvFill.cmake)
vxq_check_iv_fill(FILL)
