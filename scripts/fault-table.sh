#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The fault table: builds vmtools-fault-table in build/ (BUILD_DIR=) when it is missing or
# out of date, measures every engine and machine operation under every fault against the
# stand-in, and compares the measured table with the one in docs/reliability.md between
# its marker comments. A cell whose result or shortfalls changed (times and the count of
# hung calls aside) fails the run, named, and the docs are left alone.
#   scripts/fault-table.sh               measure and compare
#   scripts/fault-table.sh --accept      measure and write the table into the docs
#   scripts/fault-table.sh --accept-last write the last measured table (build/fault-table.md)
# About four minutes on two idle cores.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}
jobs=$(nproc)
doc=$root/docs/reliability.md
begin='<!-- fault-table:begin -->'
end='<!-- fault-table:end -->'
table=$build/fault-table.md
log=$build/fault-table.log
mode=${1:-compare}
case $mode in
compare | --accept | --accept-last) ;;
*)
    echo "usage: $0 [--accept | --accept-last]" >&2
    exit 2
    ;;
esac

if ! grep -qF "$begin" "$doc" || ! grep -qF "$end" "$doc"; then
    echo "no $begin ... $end markers in $doc" >&2
    exit 1
fi

# The cells of the operations table as "<operation> under <fault>: <cell>", without times.
cells() {
    awk '
        function strip(line) { sub(/^\| /, "", line); sub(/ \|$/, "", line); return line }
        /^\| Operation \|/ { columns = split(strip($0), head, / \| /); next }
        !columns || /^\|---/ { next }
        !/^\| / { exit }
        {
            count = split(strip($0), cell, / \| /)
            for (i = 2; i <= count; ++i) {
                gsub(/, [0-9]+\.[0-9] s/, "", cell[i])
                gsub(/ \([0-9]+ ended by the [a-z]+\)/, "", cell[i])
                print cell[1] " under " head[i] ": " cell[i]
            }
        }
    '
}

write_doc() {
    awk -v table="$table" -v begin="$begin" -v end="$end" '
        $0 == begin { print; while ((getline line < table) > 0) print line; skipping = 1; next }
        $0 == end { skipping = 0 }
        !skipping { print }
    ' "$doc" >"$doc.new"
    mv "$doc.new" "$doc"
    echo "fault table written to $doc"
}

if [[ $mode != --accept-last ]]; then
    if [[ ! -f $build/CMakeCache.txt ]]; then
        cmake -S "$root" -B "$build" -DVMTOOLS_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo
    fi
    cmake --build "$build" --target vmtools-fault-table -j"$jobs"
    rm -f "$table"
    if ! "$build/bin/vmtools-fault-table" "$table" >"$log" 2>&1; then
        grep -v '^\[VBox\]' "$log" | tail -40 >&2
        echo "the fault table could not be measured (whole output in $log); $doc is unchanged" >&2
        exit 1
    fi
fi
[[ -f $table ]] || { echo "no measured table at $table" >&2; exit 1; }

if [[ $mode == compare ]]; then
    committed=$(sed -n "/^$begin\$/,/^$end\$/p" "$doc" | cells)
    if ! changes=$(diff <(echo "$committed") <(cells <"$table")); then
        echo "cells that changed from $doc (< committed, > measured):" >&2
        grep '^[<>]' <<<"$changes" >&2
        echo "review them, then: $0 --accept-last" >&2
        exit 1
    fi
    echo "every cell as in $doc"
    exit 0
fi
write_doc
