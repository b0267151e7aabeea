#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The race check: installs what is missing, builds the framework's tests with
# ThreadSanitizer in build-tsan/, and runs the command runner's and the observer's tests,
# the cancellation stress test at its thousand runs among them.
# Any report ends the test that made it, and so fails the run. Qt is not built with the
# sanitizer; tests/sanitizer/tsan.supp lists what that costs.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build-tsan"
jobs=$(nproc)
"$root/scripts/install-deps.sh" # g++ brings the ThreadSanitizer run-time (libtsan)

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVMTOOLS_WERROR=ON \
    -DVMTOOLS_SANITIZE=thread
cmake --build "$build" --target framework_tests -j"$jobs"

export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$root/tests/sanitizer/tsan.supp"
cd "$build"
# The ten-thousand-call resource check is left out: under the sanitizer each child costs
# about ten times as much, and the resource figures are the plain build's to give.
ctest --output-on-failure -R '^(RunnerTest|ObserverTest)\.' \
    -E '^RunnerTest\.CallsGiveBackDescriptorsChildrenAndMemory\.FullSize$' \
    -j"$jobs"
