# SPDX-License-Identifier: MIT
# What every program and library that leaves the build is made with: functions that nobody calls are
# left out by the linker, and messages name source files without the place of the build.

add_library(vxq_shipped INTERFACE)
target_compile_options(vxq_shipped INTERFACE
    -ffunction-sections -fdata-sections -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
target_link_options(vxq_shipped INTERFACE LINKER:--gc-sections)
