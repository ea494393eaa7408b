# SPDX-License-Identifier: MIT
# Debian's own cross compiler: 32 bits, big-endian, glibc, with FPU. The quick way to see the target's
# byte order, alignment and word size; VXQUILAN_CROSS_PREFIX is what scripts/cross-dependencies made.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mips)
set(CMAKE_C_COMPILER mips-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER mips-linux-gnu-g++)
# The emulator's default processor has no FPU, and this compiler's code needs one.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mips-static -cpu 24Kf -L /usr/mips-linux-gnu
    -E LD_LIBRARY_PATH=${VXQUILAN_CROSS_PREFIX}/lib)
include(${CMAKE_CURRENT_LIST_DIR}/cross-prefix.cmake)
