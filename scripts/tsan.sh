#!/usr/bin/env bash
# The race check: installs what is missing, builds the framework's tests with
# ThreadSanitizer in build-tsan/, and runs the command runner's and the observer's tests,
# the cancellation stress test among them at VMTOOLS_STRESS_RUNS runs (5000 unless set).
# Any report ends the test that made it, and so fails the run. Qt is not built with the
# sanitizer; tests/sanitizer/tsan.supp says what that costs.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build-tsan"
jobs=$(nproc)
"$root/scripts/install-deps.sh" # g++ brings the ThreadSanitizer run-time (libtsan)

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVMTOOLS_WERROR=ON \
    -DVMTOOLS_SANITIZE=thread
cmake --build "$build" --target framework_tests -j"$jobs"

export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$root/tests/sanitizer/tsan.supp"
export VMTOOLS_STRESS_RUNS=${VMTOOLS_STRESS_RUNS:-5000}
cd "$build"
ctest --output-on-failure --label-exclude slow -R '^(RunnerTest|ObserverTest)\.' -j"$jobs"
