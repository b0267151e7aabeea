# SPDX-License-Identifier: Apache-2.0
# Where `cmake --install` puts everything. vmtools lives with its plugins/ folder in a
# directory of its own under the library directory (the loader looks beside the real
# executable), and bin/ holds only a link to it.
include(GNUInstallDirs)

set(VMTOOLS_INSTALL_PKGLIBDIR ${CMAKE_INSTALL_LIBDIR}/vmtools)
set(VMTOOLS_INSTALL_PLUGINDIR ${VMTOOLS_INSTALL_PKGLIBDIR}/plugins)
set(VMTOOLS_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/VMTools)
set(VMTOOLS_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/vmtools)
set(VMTOOLS_INSTALL_DEV_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/vmtools-dev)

# Installed programs find the framework library relative to themselves, so that a prefix
# can be moved. A package for the system's own library directory needs no search path.
option(VMTOOLS_INSTALL_RPATH "Give installed programs and the plug-in a relative library path" ON)

# "$ORIGIN/<path from the directory of `dir` to the library directory>"
function(vmtools_origin_rpath dir out)
    file(RELATIVE_PATH relative /${dir} /${CMAKE_INSTALL_LIBDIR})
    string(REGEX REPLACE "/$" "" relative "${relative}")
    if(relative STREQUAL "")
        set(${out} "$ORIGIN" PARENT_SCOPE)
    else()
        set(${out} "$ORIGIN/${relative}" PARENT_SCOPE)
    endif()
endfunction()

if(VMTOOLS_INSTALL_RPATH)
    vmtools_origin_rpath(${VMTOOLS_INSTALL_PKGLIBDIR} VMTOOLS_PROGRAM_INSTALL_RPATH)
    vmtools_origin_rpath(${VMTOOLS_INSTALL_PLUGINDIR} VMTOOLS_PLUGIN_INSTALL_RPATH)
else()
    set(VMTOOLS_PROGRAM_INSTALL_RPATH "")
    set(VMTOOLS_PLUGIN_INSTALL_RPATH "")
endif()
