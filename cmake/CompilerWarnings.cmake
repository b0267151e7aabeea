# SPDX-License-Identifier: Apache-2.0
# Warnings for every target of the project.
function(vmtools_set_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra)
    if(VMTOOLS_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
option(VMTOOLS_WERROR "Treat warnings as errors" OFF)
