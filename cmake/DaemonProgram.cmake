# SPDX-License-Identifier: MIT
# vxq_daemon_program(NAME files...): a program made of the daemon's modules, for whatever device and
# log library it finds at load time.

# The libraries that the linker checks the programs against, and whose names the programs carry: the
# lab's, or without the lab the maker's own, from the toolchain's folders or where the variable says.
function(vxq_makers_library target variable)
    find_library(${variable} ${target} DOC "The gateway maker's lib${target}.so")
    if(NOT EXISTS "${${variable}}")
        message(FATAL_ERROR "lib${target}.so: not found; say where with -D${variable}=FILE, "
            "or leave out the daemon with -DVXQUILAN_DAEMON=OFF")
    endif()
    add_library(${target} SHARED IMPORTED GLOBAL)
    # Without a soname of its own the library is asked for by its name, never by its place here.
    set_target_properties(${target} PROPERTIES
        IMPORTED_LOCATION "${${variable}}" IMPORTED_NO_SONAME ON)
endfunction()

if(VXQUILAN_DAEMON AND NOT VXQUILAN_LAB)
    vxq_makers_library(vxdevice VXQUILAN_DEVICE_LIBRARY)
    vxq_makers_library(vxlog VXQUILAN_LOG_LIBRARY)
endif()

# The entry points that the device library calls: linked although nothing in the program may call
# them, and the only symbols of the program that other libraries see.
set(vxq_exports ${PROJECT_SOURCE_DIR}/src/vxquilan_main/exports.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${vxq_exports})
file(STRINGS ${vxq_exports} vxq_exported_names)

# Without this the linker also exports what a library written in C++ happens to have as well.
list(JOIN vxq_exported_names "; " vxq_export_list)
set(vxq_export_script ${CMAKE_BINARY_DIR}/exports.map)
file(CONFIGURE OUTPUT ${vxq_export_script} CONTENT "{ global: @vxq_export_list@; local: *; };\n" @ONLY)

function(vxq_daemon_program name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE
        module_vxquilan module_base_skill module_json_clear vxq_daemon_options vxdevice vxlog)
    foreach(entry_point IN LISTS vxq_exported_names)
        target_link_options(${name} PRIVATE
            LINKER:--undefined=${entry_point} LINKER:--export-dynamic-symbol=${entry_point})
    endforeach()
    target_link_options(${name} PRIVATE LINKER:--version-script=${vxq_export_script})
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${vxq_export_script})
    # --as-needed drops the C++ run-time library, of which the daemon uses nothing.
    target_link_options(${name} PRIVATE LINKER:--as-needed)
endfunction()
