# SPDX-License-Identifier: MIT
# vxq_daemon_program(NAME files...): a program made of the daemon's modules, for whatever device and
# log library it finds at load time.

# The entry points that the device library calls: linked although nothing in the program may call
# them, and the only symbols of the program that other libraries see.
set(vxq_exports ${PROJECT_SOURCE_DIR}/src/vxquilan_main/exports.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${vxq_exports})
file(STRINGS ${vxq_exports} vxq_exported_names)

function(vxq_daemon_program name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE
        module_vxquilan module_base_skill module_json_clear vxq_daemon_options vxdevice vxlog)
    foreach(entry_point IN LISTS vxq_exported_names)
        target_link_options(${name} PRIVATE
            LINKER:--undefined=${entry_point} LINKER:--export-dynamic-symbol=${entry_point})
    endforeach()
    # --as-needed drops the C++ run-time library, of which the daemon uses nothing.
    target_link_options(${name} PRIVATE LINKER:--as-needed LINKER:--gc-sections)
endfunction()
