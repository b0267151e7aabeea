#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The test command: installs what is missing, builds, and runs every test through
# CTest; then builds the tests again with AddressSanitizer and UndefinedBehaviorSanitizer
# and runs them once more, failing on any report (SANITIZERS=0 skips that pass), and the
# command runner's and the observer's tests under ThreadSanitizer (TSAN=0 skips them).
# In CI (CI=true), or with PACKAGE=1, it also builds, installs and removes the Debian
# packages.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

# No package host is written into a script: mirrors come from the machine's apt sources
# (scripts/lib/debian-mirror.sh).
if addresses=$(grep -rnE 'https?://' "$root/scripts" "$root/.ci"); then
    echo "these scripts hold an http(s) address; take it from the apt sources instead:" >&2
    echo "$addresses" >&2
    exit 1
fi
# Every source file names its licence.
"$root/scripts/check-licence.sh"
"$root/scripts/install-deps.sh"

run_tests() {
    local build=$1
    shift
    cmake -S "$root" -B "$build" -DVMTOOLS_WERROR=ON "$@"
    cmake --build "$build" -j"$jobs"
    (cd "$build" && ctest --output-on-failure --label-exclude slow -j"$jobs")
}

run_tests "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
# CTest runs each case in a process of its own; run whole, as a developer runs a binary,
# no case may depend on what an earlier one left behind.
for binary in "$root"/build/bin/*_tests; do
    log=$root/build/$(basename "$binary")-whole.log
    if "$binary" >"$log" 2>&1; then
        echo "$(basename "$binary") run whole: passed"
    else
        echo "$(basename "$binary") run whole: FAILED; the failures:" >&2
        grep -E -A8 '^\[  FAILED  \]|Failure$' "$log" >&2 || tail -n 40 "$log" >&2
        exit 1
    fi
done

# The demo, a device's whole life through vmtools, against every VirtualBox version that
# the stand-in prints.
for version in 5.2 6.0 6.1 7.0 7.1 7.2; do
    log=$root/build/demo-$version.log
    if DEMO_STANDIN=1 VBOXSIM_VERSION=$version BUILD_DIR=$root/build "$root/scripts/demo.sh" >"$log" 2>&1; then
        echo "demo with VirtualBox $version: passed"
    else
        echo "demo with VirtualBox $version: FAILED; its output:" >&2
        cat "$log" >&2
        exit 1
    fi
done

# The same life against a real VirtualBox 7.2 from Debian's archive, in a root of its own
# (scripts/real-vbox.sh; about 4 minutes to make the first time): in CI, or with REALVBOX=1.
# Then the life through the plug-in as a host loads it, on a host without adapters.
if [[ ${REALVBOX:-} == 1 || (${CI:-} == true && ${REALVBOX:-} != 0) ]]; then
    log=$root/build/demo-real.log
    if DEMO_REAL=1 BUILD_DIR=$root/build "$root/scripts/demo.sh" >"$log" 2>&1; then
        echo "demo with the real VirtualBox: passed ($(grep -m1 '^Using\|^7\.' "$log" || true))"
    else
        echo "demo with the real VirtualBox: FAILED; its output:" >&2
        cat "$log" >&2
        exit 1
    fi
    log=$root/build/life-real.log
    if "$root/scripts/real-vbox.sh" netreset >"$log" 2>&1 &&
        VMTOOLS_REAL_VIRTUALBOX=1 "$root/scripts/real-vbox.sh" run -- \
            "$root/build/bin/simulator_tests" --gtest_filter='RealVirtualBox/*' >>"$log" 2>&1 &&
        ! grep -q '^\[  SKIPPED \]' "$log"; then
        echo "a device's life through the plug-in with the real VirtualBox: passed"
    else
        echo "a device's life through the plug-in with the real VirtualBox: FAILED; its output:" >&2
        cat "$log" >&2
        exit 1
    fi
fi

# The install rules as a host developer meets them: an installed, moved prefix and a host
# built outside the tree against it. In CI also the Debian packages, installed and removed.
"$root/scripts/check-install.sh" "$root/build"
if [[ ${CI:-} == true || ${PACKAGE:-0} == 1 ]]; then
    STANDIN_DIR=$root/build/bin/simulator "$root/scripts/package.sh" --install --clean-root
fi

# In a subshell: the sanitizers' options, suppressions above all, are this pass's alone.
if [[ "${SANITIZERS:-1}" != 0 ]]; then
    (
        export ASAN_OPTIONS=abort_on_error=1:detect_leaks=1
        export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
        export LSAN_OPTIONS=suppressions=$root/tests/sanitizer/lsan.supp
        run_tests "$root/build-asan" -DCMAKE_BUILD_TYPE=Debug -DVMTOOLS_SANITIZE=address,undefined
    )
fi

# The command runner and the observer under ThreadSanitizer, with a thousand cancellations
# at random moments.
if [[ "${TSAN:-1}" != 0 ]]; then
    "$root/scripts/tsan.sh"
fi

# Every fuzz target for a few seconds, so that none rots; the linearity timings are left to
# longer runs of scripts/fuzz.sh. FUZZ=0 skips this pass.
if [[ "${FUZZ:-1}" != 0 ]]; then
    FUZZ_JOBS=$jobs FUZZ_LINEARITY=0 "$root/scripts/fuzz.sh" "${FUZZ_SECONDS:-10}"
fi
