# SPDX-License-Identifier: Apache-2.0
# -DVMTOOLS_SANITIZE=address,undefined builds every target with those sanitizers,
# and any report ends the process so that a test run fails on it.
if(VMTOOLS_SANITIZE)
    set(_vmtools_sanitize_flags -fsanitize=${VMTOOLS_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_compile_options(${_vmtools_sanitize_flags})
    add_link_options(${_vmtools_sanitize_flags})
endif()
