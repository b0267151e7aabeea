#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# What each vmtools command costs against the VBoxManage first on PATH: its wall time, the
# VBoxManage runs it makes, and the time of one "VBoxManage list vms" beside it, as a
# Markdown table for docs/performance.md. Each command runs three times; the median counts.
#
#   scripts/real-vbox.sh run -- scripts/real-vbox-costs.sh [BUILD_DIR]
#
# It makes its own device from the sample appliance and deletes it afterwards.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build}
vmtools=$build/bin/vmtools
appliance=$build/share/vmtools/sample-device.ova
device=vmtools-costs-$$
work=$(mktemp -d /tmp/vmtools-costs.XXXXXX)
trap '"$vmtools" delete --yes "$device" >/dev/null 2>&1 || true
      "$vmtools" delete --yes "$device-copy" >/dev/null 2>&1 || true
      "$vmtools" delete --yes "$device-new" >/dev/null 2>&1 || true
      rm -rf "$work"' EXIT

now() { date +%s.%N; }
seconds_since() { awk -v a="$1" -v b="$(now)" 'BEGIN { printf "%.3f\n", b - a }'; }
# The seconds of one run of a command, its VBoxManage runs left in $work/log.
timed() {
    local start
    start=$(now)
    "$@" >/dev/null 2>"$work/log" || true
    seconds_since "$start"
}
runs() { grep -c 'Call: (' "$work/log" || true; }
print_row() {
    awk -v what="$1" -v runs="$2" -v s="$3" -v base="$baseline" \
        'BEGIN { printf "| `%s` | %d | %.2f s | %.1f× |\n", what, runs, s, s / base }'
}
# The median of three runs.
row() {
    local what=$1 times=() i
    shift
    for i in 1 2 3; do
        times+=("$(timed "$vmtools" -v "$@")")
    done
    print_row "$what" "$(runs)" "$(printf '%s\n' "${times[@]}" | sort -n | sed -n 2p)"
}
# Commands that change what the next run would find run once.
once() {
    local what=$1 seconds
    shift
    seconds=$(timed "$vmtools" -v "$@")
    print_row "$what" "$(runs)" "$seconds"
}

"$vmtools" create "$device" "$appliance" --sdcard 16 >/dev/null
baseline=$(for i in 1 2 3; do timed VBoxManage list vms; done | sort -n | sed -n 2p)
echo "VirtualBox $(VBoxManage --version | tail -n 1); one \`VBoxManage list vms\`: ${baseline} s"
echo
echo '| Command | VBoxManage runs | Wall time | Against `list vms` |'
echo '|---|---|---|---|'
row "--version" --version
row "info" info
row "list" list
row "show" show "$device"
row "get resolution" get "$device" resolution
row "set density" set "$device" density 240
once "export" export "$device" "$work/out.ova"
once "clone" clone "$device" "$device-copy"
once "delete" delete --yes "$device-copy"
once "create" create "$device-new" "$appliance" --sdcard 16
"$vmtools" delete --yes "$device-new" >/dev/null 2>&1 || true
