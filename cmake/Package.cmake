# SPDX-License-Identifier: Apache-2.0
# The CMake package that host applications find with find_package(VMTools): the targets
# VMTools::Framework and VMTools::vboxmanage, and vmtools_deploy_plugin().
include(CMakePackageConfigHelpers)

install(EXPORT VMToolsTargets
    NAMESPACE VMTools::
    DESTINATION ${VMTOOLS_INSTALL_CMAKEDIR}
    COMPONENT Development)

configure_package_config_file(cmake/VMToolsConfig.cmake.in
    ${PROJECT_BINARY_DIR}/package/VMToolsConfig.cmake
    INSTALL_DESTINATION ${VMTOOLS_INSTALL_CMAKEDIR}
    NO_SET_AND_CHECK_MACRO
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/VMToolsConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)

install(FILES
    ${PROJECT_BINARY_DIR}/package/VMToolsConfig.cmake
    ${PROJECT_BINARY_DIR}/package/VMToolsConfigVersion.cmake
    cmake/VMToolsDeployPlugin.cmake
    DESTINATION ${VMTOOLS_INSTALL_CMAKEDIR}
    COMPONENT Development)
