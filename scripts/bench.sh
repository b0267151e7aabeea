#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The benchmark command: installs what is missing (Google Benchmark included), builds a
# Release tree in build-bench/ with the benchmarks on, and runs them. The usual report is
# followed by a summary of the ratios the targets are stated in. Arguments go to the
# benchmark program, for example --benchmark_filter=parse/ to run the parsers only.
# The whole report is also kept in build-bench/bench-report.txt.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="$root/build-bench"
jobs=$(nproc)
"$root/scripts/install-deps.sh" bench

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVMTOOLS_BUILD_BENCHMARKS=ON
cmake --build "$build" --target vmtools_bench -j"$jobs"
"$build/bin/vmtools_bench" "$@" | tee "$build/bench-report.txt"
