# SPDX-License-Identifier: MIT
# Debian packages, one for each component: the daemon, its lab, and what makers of device libraries
# need. scripts/package makes them.

if(NOT (VXQUILAN_DAEMON AND VXQUILAN_PLATFORM AND VXQUILAN_TOOLS))
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL daemon lab dev)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The vxquilan developers")
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# The two libraries that the daemon takes at load time belong to no package that it could depend on:
# the lab has one pair, makers have others.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${CMAKE_BINARY_DIR}/lab/device ${CMAKE_BINARY_DIR}/lab/log)

# Each package is described in whole by its component.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

set(CPACK_DEBIAN_DAEMON_PACKAGE_NAME vxquilan)
set(CPACK_COMPONENT_DAEMON_DESCRIPTION "cloud-connector daemon for home gateways
Keeps a home gateway known to its operator's cloud platform. It runs on the
device library of the gateway's maker; vxquilan-lab has a simulated one.")
# killall ends the sibling daemons, where a gateway has them.
set(CPACK_DEBIAN_DAEMON_PACKAGE_RECOMMENDS psmisc)
set(CPACK_DEBIAN_DAEMON_PACKAGE_SUGGESTS vxquilan-lab)

set(CPACK_DEBIAN_LAB_PACKAGE_NAME vxquilan-lab)
set(CPACK_COMPONENT_LAB_DESCRIPTION "simulated gateway and platform emulator for vxquilan
A device and a log library that simulate a gateway, vxplatform, which emulates
the cloud platform, and a systemd unit that runs the daemon between them.")
set(CPACK_DEBIAN_LAB_PACKAGE_DEPENDS "vxquilan (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_LAB_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_LAB_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/debian/lab/prerm
    ${PROJECT_SOURCE_DIR}/packaging/debian/lab/postrm)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME vxquilan-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION devel)
set(CPACK_COMPONENT_DEV_DESCRIPTION "kit for makers of vxquilan's device libraries
The headers of the C interface, a minimal library as an example, and
vx-device-check, which tells whether a library keeps to the interface.")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "vxquilan-lab, pkg-config")

# What is there for the packages only; a plain installation is without it.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    install(FILES LICENSE RENAME copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
        COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(DIRECTORY examples/device-library
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vxquilan-dev/examples
    COMPONENT dev EXCLUDE_FROM_ALL)
install(FILES docs/integration.md
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vxquilan-dev
    COMPONENT dev EXCLUDE_FROM_ALL)

include(CPack)
