#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# A sampled mutation run. Each fault of scripts/mutations.txt is applied alone to a copy of the
# checkout; the test binary that must catch it is built (the copy's build folder is kept between
# runs, and ccache serves what did not change) and run with its filter. The fault is caught when
# that run fails. A reviewer's tool, not part of CI; the checkout itself is never changed.
#
#   scripts/mutate.sh [WORD]     only the mutations whose line holds WORD
#
# MUTATE_DIR (default: build-mutate in the checkout, which git ignores) holds the copy, its
# build and report.txt.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
work=${MUTATE_DIR:-$root/build-mutate}
copy=$work/tree
build=$copy/build
list=$root/scripts/mutations.txt
only=${1:-}
jobs=${MUTATE_JOBS:-2}

# The copy holds the checkout's files as they are now, committed or not. A file is copied only
# when it differs, with a new time, so the kept build recompiles exactly what changed.
mkdir -p "$copy"
(cd "$root" && git ls-files -co --exclude-standard) | while IFS= read -r file; do
    if ! cmp -s "$root/$file" "$copy/$file" 2>/dev/null; then
        mkdir -p "$copy/$(dirname "$file")"
        cp "$root/$file" "$copy/$file"
    fi
done

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
if [ ! -f "$build/CMakeCache.txt" ]; then
    cmake -S "$copy" -B "$build" -DVMTOOLS_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        "${launcher[@]}" >"$work/configure.log"
fi

# FILE, TEXT, REPLACEMENT, BINARY, FILTER, DESCRIPTION: one mutation a line of the list.
mapfile -t rows < <(grep -v -e '^#' -e '^[[:space:]]*$' "$list" | grep -F -e "$only")

field() { awk -F ' [|] ' -v n="$2" '{ print $n }' <<<"$1"; }

build_target() { cmake --build "$build" --target "$1" -j "$jobs" >"$work/build.log" 2>&1; }

run_tests() {
    timeout 900 "$build/bin/$1" --gtest_filter="$2" >"$work/run.log" 2>&1
}

# Each binary is built and each filter passes before a fault is put in (looked at once).
declare -A baseline=()
passes_unchanged() {
    local key="$1 $2"
    if [ -z "${baseline[$key]:-}" ]; then
        baseline[$key]=fail
        if build_target "$1" && run_tests "$1" "$2"; then
            baseline[$key]=pass
        else
            echo "baseline fails: $1 --gtest_filter=$2 (see $work/run.log)" >&2
        fi
    fi
    [ "${baseline[$key]}" = pass ]
}

# Put back on every way out, so that no fault stays in the copy.
current=""
restore() { [ -n "$current" ] && cp "$work/original" "$copy/$current"; current=""; }
trap restore EXIT

report=$work/report.txt
: >"$report"
caught=0
total=0
for row in "${rows[@]}"; do
    file=$(field "$row" 1)
    binary=$(field "$row" 4)
    filter=$(field "$row" 5)
    what=$(field "$row" 6)
    verdict=missed
    if ! passes_unchanged "$binary" "$filter"; then
        verdict="baseline fails"
    else
        cp "$copy/$file" "$work/original"
        current=$file
        # Literal text; "\n" in the list stands for a line break.
        if TEXT=$(field "$row" 2) REPLACEMENT=$(field "$row" 3) perl -0777 -i -ne '
                my ($from, $to) = ($ENV{TEXT}, $ENV{REPLACEMENT});
                s/\\n/\n/g for $from, $to;
                my $count = () = /\Q$from\E/g;
                s/\Q$from\E/$to/ if $count == 1;
                print;
                exit($count == 1 ? 0 : 1);' "$copy/$file"; then
            if ! build_target "$binary"; then
                verdict="does not build"
            elif ! run_tests "$binary" "$filter"; then
                verdict=caught
            fi
        else
            verdict="text not found once"
        fi
        restore
    fi
    case $verdict in
    caught) caught=$((caught + 1)); total=$((total + 1)) ;;
    missed) total=$((total + 1)) ;;
    esac
    printf '%-8s %s (%s: %s)\n' "$verdict" "$what" "$file" "$binary $filter" | tee -a "$report"
done
echo "score: $caught of $total caught" | tee -a "$report"
[ "$caught" -eq "$total" ]
