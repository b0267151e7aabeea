#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The main command: installs what is missing, builds vmtools with the plug-in, and runs
# a device's whole life with it: create, configure, start, wait for its address, stop,
# back up, clone, rename, reset, export (and a cancelled export), copy a disk, dump,
# delete.
#
# With no VBoxManage on PATH it drives the VirtualBox stand-in of this repository, in a
# fresh simulated host and with a home folder of its own, so that nothing of the user's
# is touched; VBOXSIM_VERSION (5.2, 6.0, 6.1, 7.0, 7.1 or 7.2; 5.2 by default) chooses which
# VirtualBox's output the stand-in prints. With a real VirtualBox on PATH the same vmtools drives it; the devices get
# names of their own and DEMO_APPLIANCE may name an Android appliance (OVA) to import;
# without VirtualBox's kernel driver (/dev/vboxdrv) the start must fail and name its cause.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}
jobs=$(nproc)

# DEMO_REAL=1 builds here and runs the demo against the real VirtualBox 7.2 of
# scripts/real-vbox.sh, in a Debian root of its own (made on first use, about 4 minutes);
# DEMO_INSIDE=1 marks that run, whose binaries are built already.
if [[ ${DEMO_REAL:-0} == 1 && ${DEMO_INSIDE:-0} != 1 ]]; then
    "$root/scripts/install-deps.sh"
    cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
    cmake --build "$build" -j"$jobs" --target vmtools vboxsim_sample_ova
    exec "$root/scripts/real-vbox.sh" run -- \
        env DEMO_INSIDE=1 DEMO_REAL=1 BUILD_DIR="$build" "$root/scripts/demo.sh"
fi

# DEMO_STANDIN=1 uses the stand-in even where a real VirtualBox is installed.
if [[ ${DEMO_STANDIN:-0} != 1 ]] && command -v VBoxManage >/dev/null 2>&1; then
    simulate=0
else
    simulate=1
    export VBOXSIM_VERSION=${VBOXSIM_VERSION:-5.2}
    case $VBOXSIM_VERSION in
    5.2 | 6.0 | 6.1 | 7.0 | 7.1 | 7.2) ;;
    *)
        echo "VBOXSIM_VERSION must be 5.2, 6.0, 6.1, 7.0, 7.1 or 7.2, not '$VBOXSIM_VERSION'" >&2
        exit 2
        ;;
    esac
fi

if [[ ${DEMO_INSIDE:-0} != 1 ]]; then
    "$root/scripts/install-deps.sh"
    cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
    targets=(vmtools vboxsim_sample_ova)
    if ((simulate)); then
        targets+=(vboxsim_vboxmanage vboxsim_ip)
    fi
    cmake --build "$build" -j"$jobs" --target "${targets[@]}"
fi

vmtools=$build/bin/vmtools
work=$(mktemp -d "${TMPDIR:-/tmp}/vmtools-demo-XXXXXX")
# vmtools remembers its host-only interface beside itself as well; a simulated one must
# not outlive the demo, or a later run against a real VirtualBox would start from it.
install_store=$build/bin/quillomate.ini
if [[ -e $install_store ]]; then
    cp -p "$install_store" "$work/quillomate.ini.saved"
fi

if ((simulate)); then
    phone=phone
    tablet=tablet
    appliance=$build/share/vmtools/sample-device.ova
    export PATH=$build/bin/simulator:$PATH
    export VBOXSIM_HOME=$work/virtualbox
    export VBOXSIM_BOOT_MS=${VBOXSIM_BOOT_MS:-2000}
    export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config QM_HOME=$work/home
    mkdir -p "$HOME" "$VBOXSIM_HOME"
else
    phone=vmtools-demo-phone-$$
    tablet=vmtools-demo-tablet-$$
    appliance=${DEMO_APPLIANCE:-$build/share/vmtools/sample-device.ova}
fi

cleanup() {
    local status=$?
    if ((!simulate)) && ((status != 0)); then
        # Leave nothing of the demo's own devices behind in the real VirtualBox.
        for device in "$phone" "$tablet" "$tablet-2"; do
            "$vmtools" stop "$device" >/dev/null 2>&1 || true
            "$vmtools" delete --yes "$device" >/dev/null 2>&1 || true
        done
    fi
    if [[ -e $work/quillomate.ini.saved ]]; then
        cp -p "$work/quillomate.ini.saved" "$install_store"
    else
        rm -f "$install_store"
    fi
    rm -rf "$work"
    exit "$status"
}
trap cleanup EXIT

if [[ -t 1 ]]; then
    bold=$'\033[1m' plain=$'\033[0m'
else
    bold='' plain=''
fi
say() { printf '\n%s== %s%s\n' "$bold" "$*" "$plain"; }
run() {
    printf '%s$ vmtools %s%s\n' "$bold" "$*" "$plain"
    "$vmtools" "$@"
}

if ((simulate)); then
    say "No VBoxManage on PATH: using the VirtualBox $VBOXSIM_VERSION stand-in in $VBOXSIM_HOME"
else
    say "Using $(command -v VBoxManage)"
fi
[[ -f $appliance ]] || { echo "No appliance at $appliance (set DEMO_APPLIANCE)" >&2; exit 1; }

say "The engine"
run --version
run info
run list
if ((!simulate)) && [[ ! -e /dev/vboxdrv ]]; then
    # Without VirtualBox's kernel driver doctor must fail (exit status 1) and name it. (Against
    # the stand-in doctor would judge this machine's own driver and processor: not shown.)
    printf '%s$ vmtools doctor%s  (no /dev/vboxdrv here)\n' "$bold" "$plain"
    status=0
    report=$("$vmtools" doctor 2>&1) || status=$?
    echo "$report"
    ((status == 1)) || { echo "doctor exited with $status, not 1, without the driver" >&2; exit 1; }
    grep -q '^problem  *Kernel driver  */dev/vboxdrv does not exist' <<<"$report" ||
        { echo "doctor does not name the missing kernel driver" >&2; exit 1; }
fi

say "A new device from an appliance"
run create "$phone" "$appliance" --cpus 2 --memory 2048 --sdcard 512
run show "$phone"
deploy=$("$vmtools" deploy-dir)
deploy=${deploy%/}
# Its files, all in its own folder under the deploy directory.
expect_files() {
    local folder=$1 file
    shift
    for file in "$@"; do
        [[ -f $folder/$file ]] || { echo "missing: $folder/$file" >&2; exit 1; }
    done
}
expect_files "$deploy/$phone" android_system_disk.vmdk android_data_disk.vmdk sdcard.vdi "$phone.vbox"

# Inside the real-VirtualBox root this run has VirtualBox's service to itself, so another
# application's machine can be made unreadable, as a removed folder makes it on a desktop.
if ((!simulate)) && [[ ${DEMO_INSIDE:-0} == 1 ]]; then
    say "Beside another application's machine that VirtualBox cannot read"
    VBoxManage createvm --name "vmtools-demo-foreign-$$" --basefolder "$work/foreign" --register >/dev/null
    rm -rf "$work/foreign"
    # Killed, not ended: an ending service would write the machine's settings back.
    pkill -KILL -x VBoxSVC || true
    while pgrep -x VBoxSVC >/dev/null; do sleep 0.2; done
    foreign=$(VBoxManage list vms | sed -n 's/^"<inaccessible>" {\(.*\)}$/\1/p')
    [[ -n $foreign ]] || { echo "the foreign machine did not become inaccessible" >&2; exit 1; }
    run list
    "$vmtools" list | grep -q "^$phone " || { echo "list lost $phone" >&2; exit 1; }
    run dump "$work/dump-beside-foreign.txt"
    VBoxManage unregistervm "$foreign"
fi

say "Its profile"
run set "$phone" resolution 1080x1920 density 420 navigation-bar on device-id 358240051111110
run get "$phone" resolution density navigation-bar
run --json get "$phone" full-screen hx

say "Its outward network"
run network "$phone" interfaces
run network "$phone" bridged
run network "$phone" nat
run network "$phone"

say "Factory backup, then a run"
run factory-backup "$phone"
if ((simulate)) || [[ -e /dev/vboxdrv ]]; then
    run start "$phone"
    printf '%s$ serial=$(vmtools wait-ip %s)%s\n' "$bold" "$phone" "$plain"
    serial=$("$vmtools" wait-ip "$phone")
    echo "adb connect $serial  # reaches the device"
    run list
    run stop "$phone"
    run check "$phone"
else
    # Without VirtualBox's kernel driver no machine runs: the start must fail and say why.
    printf '%s$ vmtools start %s%s  (no /dev/vboxdrv here)\n' "$bold" "$phone" "$plain"
    if message=$("$vmtools" start "$phone" 2>&1); then
        echo "the start succeeded without VirtualBox's kernel driver" >&2
        exit 1
    fi
    echo "$message"
    grep -q 'could not be started.*(VirtualBox: ' <<<"$message" ||
        { echo "the failed start does not name VirtualBox's cause" >&2; exit 1; }
fi

say "Clone from the factory backup, rename, reset"
run clone "$phone" "$tablet" --from-factory
run rename "$tablet" "$tablet-2"
run factory-reset --yes "$phone"
run list

say "Export, and an export cancelled with Ctrl-C"
run export "$phone" "$work/$phone.ova"
ls -l "$work/$phone.ova"
if ((simulate)); then
    # Slow the stand-in's export down so that there is time to interrupt it.
    echo "export slow ms=20000" >"$work/faults"
    export VBOXSIM_FAULTS=$work/faults
fi
printf '%s$ vmtools export %s %s &  (then Ctrl-C)%s\n' "$bold" "$phone" "$work/cancelled.ova" "$plain"
"$vmtools" export "$phone" "$work/cancelled.ova" 2>"$work/cancelled.err" &
export_pid=$!
# A real export of the small sample takes about a second.
if ((simulate)); then sleep 3; else sleep 0.5; fi
kill -INT "$export_pid" 2>/dev/null || true
status=0
wait "$export_pid" || status=$?
cat "$work/cancelled.err" >&2
unset VBOXSIM_FAULTS
# An interrupt that comes once the appliance is in place ends vmtools with 130 all the same.
if ((status == 0)) || grep -q 'interrupted, after the work was done' "$work/cancelled.err"; then
    echo "the export finished before the interrupt came"
elif [[ -e $work/cancelled.ova ]]; then
    echo "exit status $status, but a file was left behind" >&2
    exit 1
else
    echo "exit status $status; no file left behind"
fi

say "Disk images"
run copy-disk "$deploy/$phone/android_data_disk.vmdk" "$work/data-copy.vmdk"
run delete-disk --yes "$work/data-copy.vmdk"

say "Diagnostics"
run dump "$work/dump.txt"
head -n 3 "$work/dump.txt"

say "The end of their lives"
run delete --yes "$tablet-2"
run delete --yes "$phone"
run list
for folder in "$phone" "$tablet" "$tablet-2"; do
    [[ ! -e $deploy/$folder ]] || { echo "left behind: $deploy/$folder" >&2; exit 1; }
done
if VBoxManage list vms | grep -qF -e "\"$phone\"" -e "\"$tablet-2\""; then
    echo "a deleted device is still registered" >&2
    exit 1
fi
