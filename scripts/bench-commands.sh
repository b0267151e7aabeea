#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# What vmtools' reading commands cost at 1, 8 and 20 devices, as VBoxManage runs and as
# ratios to one "VBoxManage list vms" (bench/commandbench.cpp): first against the stand-in
# (VirtualBox 7.2's output), then against the real VirtualBox 7.2 of scripts/real-vbox.sh.
# Each ends with a Markdown table for docs/performance.md; reports are kept in
# BUILD_DIR/bench-commands-standin.txt and -real.txt.
#
#   scripts/bench-commands.sh [standin|real|both] [BENCHMARK ARGUMENTS...]
#
# BUILD_DIR (build-bench/ by default) is configured with the benchmarks on; ROUNDS sets the
# rounds per command and size (5 by default).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build-bench}
which=${1:-both}
[[ $# -gt 0 ]] && shift
case $which in
standin | real | both) ;;
*)
    sed -n '8,11p' "${BASH_SOURCE[0]}" | sed 's/^# \{0,1\}//' >&2
    exit 2
    ;;
esac
export VMTOOLS_BENCH_ROUNDS=${ROUNDS:-${VMTOOLS_BENCH_ROUNDS:-5}}

if [[ ${BENCH_INSIDE:-0} != 1 ]]; then
    "$root/scripts/install-deps.sh" bench
    cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVMTOOLS_BUILD_BENCHMARKS=ON >/dev/null
    cmake --build "$build" -j"$(nproc)" --target vmtools_command_bench vmtools vboxsim_vboxmanage \
        vboxsim_ip vboxsim_sample_ova
fi
bench=$build/bin/vmtools_command_bench

if [[ ${BENCH_INSIDE:-0} == 1 ]]; then
    # Inside the VirtualBox root, which has Qt but not Google Benchmark: the library comes
    # from beside the build.
    export LD_LIBRARY_PATH=$build/bench-lib
    exec "$bench" "$@"
fi

if [[ $which != real ]]; then
    work=$(mktemp -d "${TMPDIR:-/tmp}/vmtools-bench-commands.XXXXXX")
    trap 'rm -rf "$work"' EXIT
    mkdir -p "$work/virtualbox" "$work/home"
    echo "== the stand-in (VirtualBox 7.2's output)"
    env PATH="$build/bin/simulator:$PATH" VBOXSIM_VERSION=7.2 VBOXSIM_HOME="$work/virtualbox" \
        HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" QM_HOME="$work/home" \
        VMTOOLS_BENCH_APPLIANCE="$build/share/vmtools/sample-device.ova" \
        "$bench" "$@" | tee "$build/bench-commands-standin.txt"
fi

if [[ $which != standin ]]; then
    mkdir -p "$build/bench-lib"
    cp -L "$(ldconfig -p | awk '/libbenchmark\.so\.[0-9]/ { print $NF; exit }')" "$build/bench-lib/"
    echo "== the real VirtualBox 7.2"
    "$root/scripts/real-vbox.sh" run -- env BENCH_INSIDE=1 BUILD_DIR="$build" \
        VMTOOLS_BENCH_ROUNDS="$VMTOOLS_BENCH_ROUNDS" "$root/scripts/bench-commands.sh" real "$@" |
        tee "$build/bench-commands-real.txt"
fi
