# SPDX-License-Identifier: MIT
# Builds the OpenWrt package with this machine's compiler, and looks at what it consists of.
file(REMOVE_RECURSE ${BUILD})
set(ENV{CMAKE_LIBRARY_PATH} ${LIBRARIES})
set(make ${MAKE} --no-print-directory -C ${PACKAGE} TOPDIR=${STAND_INS} INCLUDE_DIR=${STAND_INS}
    BUILD_DIR=${BUILD} ROOT=${BUILD}/root)

function(expect_same what found expected)
    if(NOT found STREQUAL expected)
        list(JOIN found "\n  " found)
        list(JOIN expected "\n  " expected)
        message(FATAL_ERROR "${what}:\n  ${found}\nand not\n  ${expected}")
    endif()
endfunction()

function(expect_files what folder)
    file(GLOB_RECURSE found RELATIVE ${folder} ${folder}/*)
    list(SORT found)
    expect_same("${what}" "${found}" "${ARGN}")
endfunction()

function(read_metadata name result)
    execute_process(COMMAND ${make} metadata OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
    if(NOT text MATCHES "${name}:=([^\n]*)")
        message(FATAL_ERROR "the package has no ${name}")
    endif()
    set(${result} ${CMAKE_MATCH_1} PARENT_SCOPE)
endfunction()

read_metadata(VERSION version)
expect_same("version" "${version}" "${VERSION}")

execute_process(COMMAND ${make} package OUTPUT_VARIABLE output ERROR_VARIABLE output
    RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "the package cannot be built:\n${output}")
endif()

# Everything that the build installs, so that a file more is a file to decide on; a router gets the
# program only.
set(built ${BUILD}/vxquilan-${VERSION})
expect_files("installed by the build" ${built}/ipkg-install
    usr/include/vxquilan/device.h
    usr/include/vxquilan/entry_points.h
    usr/include/vxquilan/log.h
    usr/include/vxquilan/records.h
    usr/sbin/vxquilan
    usr/share/cmake/vxquilan/vxquilan-config-version.cmake
    usr/share/cmake/vxquilan/vxquilan-config.cmake
    usr/share/man/man8/vxquilan.8
    usr/share/pkgconfig/vxquilan.pc)
expect_files("the package" ${BUILD}/root etc/init.d/vxquilan usr/sbin/vxquilan)

# Small, although OpenWrt asks for another kind of build first.
file(STRINGS ${built}/build/CMakeCache.txt build_type REGEX "^CMAKE_BUILD_TYPE:")
string(REGEX REPLACE "^.*=" "" build_type "${build_type}")
expect_same("build type" "${build_type}" MinSizeRel)

# The program needs these libraries, and each one but the C library is in a package that it asks for.
execute_process(COMMAND ${READELF} -d ${BUILD}/root/usr/sbin/vxquilan
    OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "lib[a-z]+[-.0-9a-z]*[.]so" needed "${dynamic}")
list(TRANSFORM needed REPLACE "[-.].*" "")
list(SORT needed)
expect_same("needed libraries" "${needed}" "libc;libcjson;libcoap;libcrypto;libvxdevice;libvxlog")
read_metadata(DEPENDS depends)
expect_same("dependencies" "${depends}" "+libcoap +cJSON +libopenssl +libvxdevice +libvxlog")
