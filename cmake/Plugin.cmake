# SPDX-License-Identifier: Apache-2.0
# A plug-in the host opens at run time: a MODULE library written to bin/plugins/.
function(vmtools_add_plugin target)
    cmake_parse_arguments(ARG "" "OUTPUT_DIRECTORY;OUTPUT_NAME" "SOURCES;LIBRARIES" ${ARGN})
    if(NOT ARG_OUTPUT_DIRECTORY)
        set(ARG_OUTPUT_DIRECTORY ${VMTOOLS_PLUGIN_OUTPUT_DIRECTORY})
    endif()
    add_library(${target} MODULE ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES})
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
    set_target_properties(${target} PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY ${ARG_OUTPUT_DIRECTORY}
        INSTALL_RPATH "${VMTOOLS_PLUGIN_INSTALL_RPATH}")
    if(ARG_OUTPUT_NAME)
        set_target_properties(${target} PROPERTIES OUTPUT_NAME ${ARG_OUTPUT_NAME})
    endif()
    vmtools_set_warnings(${target})
endfunction()
