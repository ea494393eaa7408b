# SPDX-License-Identifier: MIT
# The gateway: 32 bits, big-endian, no FPU, uClibc. VXQUILAN_TOOLCHAIN is the folder that
# scripts/target-toolchain prints, VXQUILAN_CROSS_PREFIX what scripts/cross-dependencies made with it.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mips)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VXQUILAN_TOOLCHAIN)
set(vxq_triplet ${VXQUILAN_TOOLCHAIN}/bin/mips-linux-uclibc-)
if(NOT EXISTS ${vxq_triplet}g++)
    message(FATAL_ERROR "VXQUILAN_TOOLCHAIN: '${VXQUILAN_TOOLCHAIN}' holds no toolchain; "
        "scripts/target-toolchain makes it")
endif()
set(CMAKE_C_COMPILER ${vxq_triplet}gcc)
set(CMAKE_CXX_COMPILER ${vxq_triplet}g++)
foreach(language C CXX)
    set(CMAKE_${language}_FLAGS_INIT "-ffunction-sections -fdata-sections")
    # No MIPS32 has atomic operations of 64 bits.
    set(CMAKE_${language}_STANDARD_LIBRARIES "-latomic")
endforeach()
foreach(kind EXE SHARED)
    # What libraries need themselves is looked for nowhere else.
    set(CMAKE_${kind}_LINKER_FLAGS_INIT
        "-Wl,--gc-sections -Wl,-rpath-link,${VXQUILAN_CROSS_PREFIX}/lib")
endforeach()
# A processor without FPU: an instruction for one traps. uClibc looks for the libraries of libraries
# nowhere else than in its own folders and here.
set(CMAKE_CROSSCOMPILING_EMULATOR
    qemu-mips-static -cpu 24Kc -L ${VXQUILAN_TOOLCHAIN}/mips-linux-uclibc/sysroot
    -E LD_LIBRARY_PATH=${VXQUILAN_CROSS_PREFIX}/lib
    CACHE STRING "What runs the gateway's programs on this machine")
include(${CMAKE_CURRENT_LIST_DIR}/cross-prefix.cmake)
