#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The fault table: builds what the fault test needs in build/ (BUILD_DIR=) when it is
# missing or out of date, runs every engine and machine operation under every fault against
# the stand-in, and puts the measured table into docs/reliability.md between its marker
# comments. The docs are left alone when a cell no longer matches what the test expects.
# About four minutes on two cores.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}
jobs=$(nproc)
doc=$root/docs/reliability.md
begin='<!-- fault-table:begin -->'
end='<!-- fault-table:end -->'

if ! grep -qF "$begin" "$doc" || ! grep -qF "$end" "$doc"; then
    echo "no $begin ... $end markers in $doc" >&2
    exit 1
fi
if [[ ! -f $build/CMakeCache.txt ]]; then
    cmake -S "$root" -B "$build" -DVMTOOLS_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo
fi
cmake --build "$build" --target simulator_tests -j"$jobs"

table=$build/fault-table.md
log=$build/fault-table.log
rm -f "$table"
if ! FAULT_TABLE=$table "$build/bin/simulator_tests" --gtest_filter='SimulatorFaults.*' \
    >"$log" 2>&1; then
    grep -v '^\[VBox\]' "$log" | tail -40 >&2
    echo "the fault test failed (whole output in $log); $doc is unchanged" >&2
    exit 1
fi

awk -v table="$table" -v begin="$begin" -v end="$end" '
    $0 == begin { print; while ((getline line < table) > 0) print line; skipping = 1; next }
    $0 == end { skipping = 0 }
    !skipping { print }
' "$doc" >"$doc.new"
mv "$doc.new" "$doc"
echo "fault table written to $doc"
