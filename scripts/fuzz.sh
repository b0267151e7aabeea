#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Fuzzes every reader of VirtualBox's and ip's output and vmtools' command line.
#
#   scripts/fuzz.sh [SECONDS_PER_TARGET]      (default 60)
#
# Installs what is missing, builds fuzz/ with clang in build-fuzz/ (BUILD_DIR to change),
# makes each target's seed corpus from tests/data and the VirtualBox output reference, then
# for each target:
#   1. runs libFuzzer for two thirds of the time with its default input length, and for
#      the last third with inputs of up to 1 MB (-max_len=1048576);
#   2. replays the corpus it grew one input at a time and fails on any input that takes
#      more than 100 ms (libFuzzer's own -timeout counts whole seconds, so -timeout=1 only
#      catches the worst; this replay is the 100 ms check);
#   3. times the parser on generated 64 KB, 256 KB and 1 MB inputs (linearity_<target>)
#      and fails when four times the input takes more than about eight times as long.
# Any crash, sanitizer report, leak, timeout (-timeout=1) or memory beyond
# -rss_limit_mb=2048 fails the run. Logs, crashing inputs and summary.txt go to
# FUZZ_LOGS (default BUILD_DIR/fuzz-logs).
#
# Environment: FUZZ_TARGETS="a b" picks targets; FUZZ_JOBS runs that many targets at once
# (default 1); FUZZ_RUNS=N replaces the timed runs by one run of N executions at the
# default length; FUZZ_LINEARITY=0 skips step 3; FUZZ_TIMEOUT sets -timeout (seconds,
# default 1: raise it only on a machine so busy that an input waits for the processor).
# ASAN_OPTIONS and UBSAN_OPTIONS given to the script are added to its own (and win).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
seconds=${1:-60}
build=${BUILD_DIR:-$root/build-fuzz}
logs=${FUZZ_LOGS:-$build/fuzz-logs}
jobs=${FUZZ_JOBS:-1}
reference=${REFERENCE:-$root/../shared/reference/vboxmanage-output.md}
slow_ms=100

"$root/scripts/install-deps.sh" fuzz

CC=clang-14 CXX=clang++-14 cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVMTOOLS_BUILD_FUZZERS=ON -DVMTOOLS_BUILD_TESTS=OFF -DVMTOOLS_WERROR=ON >/dev/null
cmake --build "$build" --target fuzzers -j"$(nproc)" >"$build/fuzz-build.log" 2>&1 ||
    { cat "$build/fuzz-build.log" >&2; exit 1; }

all_targets=(command_line dhcp_servers guest_properties host_info import_listing
    interface_parsers ip_output machine_description machine_list network_listings
    profile_values snapshots version)
read -r -a targets <<<"${FUZZ_TARGETS:-${all_targets[*]}}"

# Which recorded outputs (tests/data/<version>/<file>) and which numbered sections of the
# reference seed each target.
declare -A data_files=(
    [dhcp_servers]="core-dhcpservers.txt"
    [guest_properties]="machine-guestproperty-enumerate.txt"
    [host_info]="core-hostinfo.txt core-systemproperties.txt"
    [import_listing]="import-dry-run.txt"
    [interface_parsers]="machine-bridgedifs.txt machine-showvminfo.txt"
    [machine_description]="machine-showvminfo.txt"
    [machine_list]="core-list-vms.txt"
    [network_listings]="core-hostonlyifs.txt machine-bridgedifs.txt hostonlyif-create.txt"
    [snapshots]="machine-snapshot-list.txt"
    [version]="version.txt"
)
declare -A reference_sections=(
    [dhcp_servers]="6" [guest_properties]="10 11" [host_info]="3 4" [import_listing]="16"
    [interface_parsers]="5 7 8" [machine_description]="8 9" [machine_list]="2"
    [network_listings]="5 7 13" [snapshots]="12" [version]="1"
)

# Every fenced block of the reference, as reference/<section>/<n>.txt.
split_reference() {
    local out=$1
    [[ -f "$reference" ]] || { echo "no reference at $reference; seeding from tests/data only"; return; }
    awk -v out="$out" '
        /^## [0-9]+\./ { section = $2; sub(/\.$/, "", section) }
        /^```/ { if (inside) { inside = 0; close(file) } else if (section != "") {
                     inside = 1; n++; system("mkdir -p " out "/" section)
                     file = out "/" section "/" n ".txt" } next }
        inside { print > file }' "$reference"
}

# Seeds that no recorded file holds: the ip tool's answers and vmtools' own input.
write_own_seeds() {
    local dir=$1 target=$2
    case $target in
    ip_output)
        printf 'vboxnet0\n3: vboxnet0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 qdisc fq_codel state UP group default qlen 1000\n    link/ether 0a:00:27:00:00:00 brd ff:ff:ff:ff:ff:ff\n    inet 192.168.56.1/24 brd 192.168.56.255 scope global vboxnet0\n' >"$dir/addr-up"
        printf '3: vboxnet0: <BROADCAST,MULTICAST> mtu 1500 qdisc noop state DOWN group default qlen 1000\n' >"$dir/addr-down"
        printf 'vboxnet0\ndefault via 10.0.2.2 dev eth0 proto dhcp metric 100\n192.168.56.0/24 dev vboxnet0 proto kernel scope link src 192.168.56.1 \n10.0.0.0/8 dev vboxnet01\n' >"$dir/route"
        ;;
    command_line)
        printf 'list\n--json' >"$dir/list"
        printf -- '--log-file\nshow\n--json\nget\nphone\ndensity\n-v' >"$dir/get"
        printf 'set\nphone\nresolution\n1080x1920' >"$dir/set"
        printf 'show\n--\n-odd' >"$dir/dashes"
        printf 'start\na\n--headless' >"$dir/unknown-option"
        printf -- '--version' >"$dir/version"
        printf 'create\n--help' >"$dir/help"
        ;;
    profile_values)
        local i=0 value
        for value in on OFF " Yes " 0 1080x1920 0x5 99999x1 4 0 4294967296 cpus 123456789; do
            printf '%s' "$value" >"$dir/value-$((i++))"
        done
        ;;
    esac
}

make_seeds() {
    local seeds=$build/fuzz-seeds target file section version
    rm -rf "$seeds" && mkdir -p "$seeds/reference"
    split_reference "$seeds/reference"
    for target in "${all_targets[@]}"; do
        mkdir -p "$seeds/$target"
        for file in ${data_files[$target]:-}; do
            for version in "$root"/tests/data/*/; do
                [[ -f "$version$file" ]] && cp "$version$file" "$seeds/$target/$(basename "$version")-$file"
            done
        done
        for section in ${reference_sections[$target]:-}; do
            for file in "$seeds/reference/$section"/*.txt; do
                [[ -f "$file" ]] && cp "$file" "$seeds/$target/reference-$section-$(basename "$file")"
            done
        done
        write_own_seeds "$seeds/$target" "$target"
    done
}

# libFuzzer over the target's corpus; fails on any finding.
fuzz_once() {
    local target=$1 log=$2
    shift 2
    "$build/bin/fuzz_$target" "$build/fuzz-corpus/$target" "$build/fuzz-seeds/$target" \
        -dict="$root/fuzz/dict/$target.dict" -timeout="${FUZZ_TIMEOUT:-1}" -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$logs/$target-" "$@" >>"$log" 2>&1
}

# Each input of the corpus run on its own; prints the slowest in ms, fails past the limit.
replay_slowest() {
    local target=$1 log=$2 slowest
    find "$build/fuzz-corpus/$target" -type f -print0 |
        xargs -0 -r -n 200 "$build/bin/fuzz_$target" -runs=1 >"$log.replay" 2>&1
    slowest=$(sed -n 's/^Executed .* in \([0-9]*\) ms$/\1/p' "$log.replay" | sort -n | tail -1)
    echo "slowest unit: ${slowest:-0} ms" >>"$log"
    ((${slowest:-0} <= slow_ms))
}

run_target() {
    local target=$1 log=$logs/$target.log
    : >"$log"
    mkdir -p "$build/fuzz-corpus/$target"
    if [[ -n "${FUZZ_RUNS:-}" ]]; then
        fuzz_once "$target" "$log" -runs="$FUZZ_RUNS" || { echo "$target: FAILED, see $log"; return 1; }
    else
        fuzz_once "$target" "$log" -max_total_time=$((seconds - seconds / 3)) &&
            fuzz_once "$target" "$log" -max_total_time=$((seconds / 3 > 0 ? seconds / 3 : 1)) \
                -max_len=1048576 || { echo "$target: FAILED, see $log"; return 1; }
    fi
    replay_slowest "$target" "$log" ||
        { echo "$target: an input took more than $slow_ms ms, see $log.replay"; return 1; }
    if [[ "${FUZZ_LINEARITY:-1}" != 0 ]]; then
        "$build/bin/linearity_$target" "$root/fuzz/dict/$target.dict" \
            "$build/fuzz-seeds/$target"/* >>"$log" 2>&1 ||
            { echo "$target: not linear, see $log"; return 1; }
    fi
    summarize "$target" "$log"
}

# One line of figures from the last libFuzzer run of the log.
summarize() {
    local target=$1 log=$2
    awk -v target="$target" '
        /^stat::number_of_executed_units:/ { runs = $2 }
        /^stat::average_exec_per_sec:/ { speed = $2 }
        /^stat::peak_rss_mb:/ { rss = $2 }
        /^#[0-9]+.*DONE/ { for (i = 1; i <= NF; i++) { if ($i == "cov:") cov = $(i + 1)
                           if ($i == "ft:") ft = $(i + 1); if ($i == "corp:") corp = $(i + 1) } }
        /^slowest unit:/ { slowest = $3 }
        /shapes,/ { linear = $0; sub(/^[^:]*: /, "", linear) }
        END { printf "%s: %s runs, %s exec/s, peak RSS %s MB, slowest unit %s ms, corpus %s, cov %s ft %s; %s\n",
              target, runs, speed, rss, slowest, corp, cov, ft, linear }' "$log" | tee -a "$logs/summary.txt"
}

mkdir -p "$logs"
: >"$logs/summary.txt"
make_seeds
export ASAN_OPTIONS=detect_leaks=1${ASAN_OPTIONS:+:$ASAN_OPTIONS}
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}
failed=0
running=0
for target in "${targets[@]}"; do
    if ((running >= jobs)); then
        wait -n || failed=1
        running=$((running - 1))
    fi
    run_target "$target" &
    running=$((running + 1))
done
while ((running > 0)); do
    wait -n || failed=1
    running=$((running - 1))
done
if ((failed)); then
    echo "fuzzing: FAILED" >&2
    exit 1
fi
echo "fuzzing: ${#targets[@]} targets passed"
