# SPDX-License-Identifier: Apache-2.0
# Debian packages made by CPack from the install rules: "vmtools" (the library, the
# plug-in and the program) and "vmtools-dev" (headers and the CMake package).
# scripts/package.sh drives it.
include(cmake/DebianChangelog.cmake)

# The one place that names the maintainer: the packages' control files, their changelogs
# and their copyright files take it from here.
set(VMTOOLS_PACKAGE_MAINTAINER "vmtools maintainers <vmtools@brellstock.invalid>")
set(VMTOOLS_HOMEPAGE "https://brellstock.invalid/vmtools")
foreach(package vmtools vmtools-dev)
    vmtools_debian_changelog(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${package} ${PROJECT_VERSION}
        "${VMTOOLS_PACKAGE_MAINTAINER}" ${PROJECT_BINARY_DIR}/packaging/${package}/changelog.gz)
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/packaging/copyright.in
    ${PROJECT_BINARY_DIR}/packaging/copyright @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/packaging/vmtools/changelog.gz
    DESTINATION ${VMTOOLS_INSTALL_DOCDIR} COMPONENT Runtime)
install(FILES ${PROJECT_BINARY_DIR}/packaging/vmtools-dev/changelog.gz
    DESTINATION ${VMTOOLS_INSTALL_DEV_DOCDIR} COMPONENT Development)
install(FILES ${PROJECT_BINARY_DIR}/packaging/copyright ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    ${PROJECT_SOURCE_DIR}/README.md
    DESTINATION ${VMTOOLS_INSTALL_DOCDIR} COMPONENT Runtime)
install(FILES ${PROJECT_BINARY_DIR}/packaging/copyright
    DESTINATION ${VMTOOLS_INSTALL_DEV_DOCDIR} COMPONENT Development)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vmtools)
set(CPACK_PACKAGE_VENDOR Brellstock)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${VMTOOLS_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_HOMEPAGE_URL ${VMTOOLS_HOMEPAGE})
# Apache-2.0; Debian's packages point at /usr/share/common-licenses from their copyright file.
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL Runtime Development)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${VMTOOLS_HOMEPAGE})
# Dependencies on shared libraries come from the binaries themselves.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME vmtools)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
# `ip` is run for the host-only interface's state; VirtualBox itself is wanted, not
# required: the package installs and answers --help without it.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS iproute2)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS
    "virtualbox | virtualbox-7.2 | virtualbox-7.1 | virtualbox-7.0 | virtualbox-6.1")
# The library's shlibs file, an ldconfig trigger, and on purge the install store that
# vmtools keeps beside itself (written when root runs it).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
configure_file(${PROJECT_SOURCE_DIR}/packaging/postrm.in ${PROJECT_BINARY_DIR}/packaging/postrm
    @ONLY FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/triggers ${PROJECT_BINARY_DIR}/packaging/postrm)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "Android virtual devices on VirtualBox: library, plug-in and tool
vmtools creates, configures, starts, stops, snapshots, clones, exports and
deletes Android virtual devices that run as VirtualBox virtual machines.
This package holds the framework library that host applications link, the
VirtualBox engine plug-in they load at run time, and the vmtools
command-line host.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME vmtools-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "vmtools (= ${PROJECT_VERSION}), qtbase5-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Android virtual devices on VirtualBox: development files
Headers and the CMake package (find_package(VMTools)) for host applications
that load the vmtools VirtualBox engine plug-in, with vmtools_deploy_plugin()
to put the plug-in beside the host's executable.")

include(CPack)
