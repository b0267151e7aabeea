#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Records what the VBoxManage first on PATH prints for each command the plug-in runs, on
# success and on failure, into tests/data/VERSION/ (or OUT_DIR): the readings of the
# parsers are then checked against that VirtualBox's own words. Its machines have names
# and folders of their own, so the user's are never touched, and it removes what it made.
#
#   scripts/record-vboxmanage.sh APPLIANCE [OUT_DIR]
#   scripts/real-vbox.sh run -- env RECORD_INACCESSIBLE=1 scripts/record-vboxmanage.sh APPLIANCE
#
# APPLIANCE is an OVA with the plug-in's three disks (build/share/vmtools/sample-device.ova).
# Files named NAME.txt hold standard output of a command that succeeded; error-NAME.txt hold
# standard error of one that failed. A host-only adapter named vboxnet0 must exist or be
# creatable (it is left in place). RECORD_INACCESSIBLE=1 also records a machine that
# VirtualBox cannot read: it kills VirtualBox's service, so only for a service of its own,
# as inside scripts/real-vbox.sh. RECORD_LOCKED=1 also records a machine locked by another
# session (below).
set -euo pipefail

appliance=$(readlink -f "${1:?usage: record-vboxmanage.sh APPLIANCE [OUT_DIR]}")
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
version=$(VBoxManage --version | tail -n 1)
short=$(sed -n 's/^\([0-9]\+\.[0-9]\+\).*/\1/p' <<<"$version")
out=${2:-$root/tests/data/$short}
mkdir -p "$out"
out=$(cd "$out" && pwd)

# The machines get names of their own, so that none of the user's is ever touched; the
# recordings call them "phone" and "copy".
phone=vmtools-record-phone
copy=vmtools-record-copy
foreign=vmtools-record-foreign
for name in "$phone" "$copy" "$foreign"; do
    if VBoxManage showvminfo "$name" >/dev/null 2>&1; then
        echo "record-vboxmanage.sh: a machine named $name exists already; remove it first" >&2
        exit 1
    fi
done
work=$(mktemp -d /tmp/vmtools-record.XXXXXX)
export LC_MESSAGES=C LC_CTYPE=${LC_CTYPE:-C.UTF-8}
cd "$work"
user_folder=$(VBoxManage list systemproperties | sed -n 's/^Default machine folder: *//p')
# Only what this script made goes; the user's machine folder is put back, as the plug-in
# puts it back after an import.
cleanup() {
    VBoxManage setproperty machinefolder "$user_folder" || true
    local name
    for name in "$phone" "$copy"; do
        [[ -e $work/made-$name ]] && VBoxManage unregistervm "$name" --delete >/dev/null 2>&1
    done
    rm -rf "$work"
}
trap cleanup EXIT

# A command that must succeed: its standard output goes to NAME.txt.
ok() {
    local name=$1
    shift
    if ! VBoxManage "$@" >"$out/$name.txt" 2>"$work/stderr"; then
        echo "record-vboxmanage.sh: VBoxManage $* failed:" >&2
        cat "$work/stderr" >&2
        exit 1
    fi
}
# A command that must fail: its standard error goes to error-NAME.txt, and what it prints
# on standard output, if anything, to error-NAME-stdout.txt.
fails() {
    local name=$1
    shift
    if VBoxManage "$@" >"$work/stdout" 2>"$out/error-$name.txt"; then
        echo "record-vboxmanage.sh: VBoxManage $* succeeded where it must fail" >&2
        exit 1
    fi
    if [[ -s $work/stdout ]]; then
        mv "$work/stdout" "$out/error-$name-stdout.txt"
    else
        rm -f "$out/error-$name-stdout.txt"
    fi
}

printf '%s\n' "$version" >"$out/version.txt"
ok core-hostinfo list hostinfo
ok core-systemproperties list systemproperties
ok machine-bridgedifs list bridgedifs

# The host-only network the plug-in sets up.
VBoxManage list hostonlyifs | grep -q '^Name: *vboxnet0$' || VBoxManage hostonlyif create >/dev/null
VBoxManage hostonlyif ipconfig vboxnet0 --ip 192.168.56.1 --netmask 255.255.255.0
VBoxManage dhcpserver remove --netname HostInterfaceNetworking-vboxnet0 >/dev/null 2>&1 || true
VBoxManage dhcpserver add --netname HostInterfaceNetworking-vboxnet0 --ip 192.168.56.100 \
    --netmask 255.255.255.0 --lowerip 192.168.56.101 --upperip 192.168.56.254 --enable
# Inside scripts/real-vbox.sh host-only adapters are stood in: their listing is not
# VirtualBox's own words.
[[ $(command -v VBoxManage) == */realvbox/bin/VBoxManage ]] || ok core-hostonlyifs list hostonlyifs
ok core-dhcpservers list dhcpservers

# A device made as the plug-in makes one, in a deploy folder of this run's own.
ok import-dry-run import "$appliance" -n
deploy=$work/deployed
folder=$deploy/$phone
mkdir -p "$folder"
mapfile -t units < <(sed -n 's/^ *\([0-9]\+\): Hard disk image:.*/\1/p' "$out/import-dry-run.txt")
[[ ${#units[@]} -eq 3 ]] || { echo "record-vboxmanage.sh: expected three disks in the dry run" >&2; exit 1; }
VBoxManage setproperty machinefolder "$deploy"
touch "$work/made-$phone"
ok import import "$appliance" --vsys 0 --vmname "$phone" --cpus 2 --memory 2048 \
    --vsys 0 --unit "${units[0]}" --disk "$folder/android_system_disk.vmdk" \
    --vsys 0 --unit "${units[1]}" --disk "$folder/android_data_disk.vmdk" \
    --vsys 0 --unit "${units[2]}" --disk "$folder/android_sdcard_disk.vmdk"
VBoxManage setproperty machinefolder "$user_folder"
ok createhd createhd --filename "$folder/sdcard.vdi" --size 64 --format VDI
VBoxManage storageattach "$phone" --storagectl IDEController --port 1 --device 0 --medium none
ok storageattach storageattach "$phone" --storagectl IDEController --port 1 --device 0 \
    --type hdd --medium "$folder/sdcard.vdi"
VBoxManage modifyvm "$phone" --nic1 hostonly --hostonlyadapter1 vboxnet0 --nictype1 virtio \
    --cableconnected1 on --nic2 nat
for property in android_version=8.0 vbox_graph_mode=1080x1920-16 vbox_dpi=420 \
    quillomate_full_screen=yes vkeyboard_mode=2 hardware_opengl=1 \
    quillomate_device_id=358240051111110 "product_model=Pixel 2" "product_brand=Joe's \"phone\""; do
    VBoxManage guestproperty set "$phone" "${property%%=*}" "${property#*=}"
done
ok machine-guestproperty-enumerate guestproperty enumerate "$phone"
ok machine-guestproperty-get guestproperty get "$phone" product_model
ok machine-guestproperty-get-missing guestproperty get "$phone" tovalyn_ip_management
ok machine-showvminfo showvminfo "$phone"
VBoxManage list vms | grep -F -e "\"$phone\"" >"$out/core-list-vms.txt"
fails snapshot-list-none snapshot "$phone" list
ok snapshot-take snapshot "$phone" take factory-backup
ok machine-snapshot-list snapshot "$phone" list
ok machine-showvminfo-after-snapshot showvminfo "$phone"
VBoxManage setproperty machinefolder "$deploy"
touch "$work/made-$copy"
ok clonevm clonevm "$phone" --mode all --name "$copy" --register --basefolder "$deploy" \
    --snapshot factory-backup
VBoxManage setproperty machinefolder "$user_folder"
ok export export "$phone" --output "$work/phone.ova"
ok snapshot-restore snapshot "$phone" restore factory-backup

# Failures the plug-in reads.
fails showvminfo-missing showvminfo ghost
fails clonevm-taken clonevm "$phone" --mode all --name "$copy" --register --basefolder "$deploy"
fails rename-taken modifyvm "$copy" --name "$phone"
printf 'not an appliance\n' >"$work/bad.ova"
fails import-not-appliance import "$work/bad.ova" -n
fails controlvm-not-running controlvm "$phone" poweroff
# What a host without VirtualBox's kernel driver prints.
[[ -e /dev/vboxdrv ]] || fails startvm-nodriver startvm "$phone" --type headless
ok unregistervm unregistervm "$copy" --delete
rm -f "$work/made-$copy"

# A machine whose folder is gone reads as inaccessible once VirtualBox's service starts
# again. Only with RECORD_INACCESSIBLE=1, where this script has the service to itself (as
# in scripts/real-vbox.sh): a user's desktop VirtualBox must keep running.
if [[ ${RECORD_INACCESSIBLE:-0} == 1 ]]; then
    VBoxManage createvm --name "$foreign" --basefolder "$work" --register >/dev/null
    uuid=$(VBoxManage showvminfo "$foreign" --machinereadable | sed -n 's/^UUID="\(.*\)"$/\1/p')
    rm -rf "${work:?}/$foreign"
    # Killed, not ended: an ending service would write the settings file back.
    pkill -KILL -x VBoxSVC || true
    while pgrep -x VBoxSVC >/dev/null; do sleep 0.2; done
    VBoxManage list vms | grep -F "{$uuid}" >"$out/core-list-vms-inaccessible.txt"
    fails guestproperty-enumerate-inaccessible guestproperty enumerate "$uuid"
    fails showvminfo-inaccessible showvminfo "$uuid"
    VBoxManage unregistervm "$uuid" >/dev/null 2>&1 || true
fi

# A machine locked by another client's session: moving a large disk to another file system
# holds the lock for seconds. Only with RECORD_LOCKED=1: it needs 6 GB in /dev/shm.
if [[ ${RECORD_LOCKED:-0} == 1 ]]; then
    locked=vmtools-record-locked
    VBoxManage createvm --name "$locked" --basefolder "$work" --register >/dev/null
    VBoxManage storagectl "$locked" --name SATA --add sata
    VBoxManage createmedium disk --filename "$work/$locked/big.vdi" --size 6000 --variant Fixed >/dev/null
    VBoxManage storageattach "$locked" --storagectl SATA --port 0 --type hdd --medium "$work/$locked/big.vdi"
    target=$(mktemp -d /dev/shm/vmtools-record.XXXXXX)
    VBoxManage movevm "$locked" --type basic --folder "$target" >/dev/null 2>&1 &
    mover=$!
    until [[ $(VBoxManage modifyvm "$locked" --description waiting 2>&1) == *"already locked"* ]]; do
        kill -0 "$mover" 2>/dev/null || { echo "record-vboxmanage.sh: the move never held the lock" >&2; exit 1; }
        sleep 0.05
    done
    fails modifyvm-locked modifyvm "$locked" --memory 1024
    fails startvm-locked startvm "$locked" --type headless
    fails snapshot-take-locked snapshot "$locked" take factory-backup
    wait "$mover"
    VBoxManage unregistervm "$locked" --delete >/dev/null
    rm -rf "$target"
fi

# The same words every time: this run's folders and the machines' own names replaced.
service_home=$(dirname "$user_folder")
while IFS= read -r file; do
    sed -i -e "s|$work|/home/user/work|g" -e "s|$service_home|/home/user|g" \
        -e "s|$copy|copy|g" -e "s|$phone|phone|g" -e "s|$foreign|foreign|g" \
        -e "s|vmtools-record-locked|locked|g" "$file"
done < <(find "$out" -name '*.txt')
echo "recorded VirtualBox $version into $out"
