# SPDX-License-Identifier: Apache-2.0
# vmtools_deploy_plugin(<host target> [DESTINATION <dir>])
#
# Puts the VirtualBox engine plug-in into plugins/ beside the host's executable, where
# VMToolsEngine::loadEngine looks for it: in the build tree whenever the host is built,
# and in <dir>/plugins/ when the host is installed. <dir> is where the host's executable
# is installed: CMAKE_INSTALL_BINDIR when set, otherwise bin.
function(vmtools_deploy_plugin host)
    cmake_parse_arguments(ARG "" "DESTINATION" "" ${ARGN})
    if(NOT TARGET ${host})
        message(FATAL_ERROR "vmtools_deploy_plugin: no target named '${host}'")
    endif()
    if(NOT ARG_DESTINATION)
        if(CMAKE_INSTALL_BINDIR)
            set(ARG_DESTINATION ${CMAKE_INSTALL_BINDIR})
        else()
            set(ARG_DESTINATION bin)
        endif()
    endif()

    add_custom_command(TARGET ${host} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E make_directory $<TARGET_FILE_DIR:${host}>/plugins
        COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:VMTools::vboxmanage>
                $<TARGET_FILE_DIR:${host}>/plugins/
        VERBATIM)
    install(FILES $<TARGET_FILE:VMTools::vboxmanage> DESTINATION ${ARG_DESTINATION}/plugins)
endfunction()
