# SPDX-License-Identifier: Apache-2.0
# -DVMTOOLS_BUILD_FUZZERS=ON builds fuzz/ with clang: every target of the build gets
# libFuzzer's coverage hooks and AddressSanitizer and UndefinedBehaviorSanitizer, so the
# readers under test are instrumented, not only the fuzz targets around them.
option(VMTOOLS_BUILD_FUZZERS "Build the libFuzzer targets (clang only)" OFF)
if(VMTOOLS_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "VMTOOLS_BUILD_FUZZERS needs clang, found ${CMAKE_CXX_COMPILER_ID}")
    endif()
    set(_vmtools_fuzz_flags -fsanitize=address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_compile_options(-fsanitize=fuzzer-no-link ${_vmtools_fuzz_flags})
    add_link_options(${_vmtools_fuzz_flags})
endif()
