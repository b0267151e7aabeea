#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes the Debian unstable root that holds VirtualBox 7.2 (about 4 minutes and 1 GB):
#
#   make-root.sh ROOT MARKER
#
# It is built beside ROOT and moved into place only when complete, with MARKER written
# last, so that an interrupted set-up is never taken for a usable root. The caller holds
# the lock. VMTOOLS_DEBIAN_MIRROR overrides the mirror read from this machine's apt sources.
set -euo pipefail

# Runs in a mount namespace of its own, so that these mounts vanish with it.
# virtualbox-source satisfies VirtualBox's kernel-module dependency without building one;
# Qt 5 is what the project's binaries, built on Debian 12 and run inside, link against.
install_inside() {
    local root=$1 qt=(libqt5core5t64 libqt5network5t64)
    export DEBIAN_FRONTEND=noninteractive
    mount -t proc proc "$root/proc"
    mount -t sysfs sysfs "$root/sys"
    mount --rbind /dev "$root/dev"
    chroot "$root" apt-get update -q
    chroot "$root" apt-cache show "${qt[0]}" >/dev/null 2>&1 || qt=(libqt5core5a libqt5network5)
    chroot "$root" apt-get install -y -q --no-install-recommends \
        virtualbox virtualbox-source iproute2 procps "${qt[@]}"
    chroot "$root" apt-get clean
}
if [[ ${1:-} == --install-inside ]]; then
    install_inside "$2"
    exit
fi

root=$1
marker=$2
partial=$root.partial
export DEBIAN_FRONTEND=noninteractive

fail() {
    echo "real-vbox.sh: $*" >&2
    exit 1
}
step() { printf 'real-vbox.sh: %s\n' "$*" >&2; }

# Refuses to delete a tree that still has something mounted inside it.
remove_tree() {
    if awk -v p="$1/" 'index($5 "/", p) == 1 { found = 1 } END { exit !found }' /proc/self/mountinfo; then
        fail "$1 still has file systems mounted inside it; unmount them first"
    fi
    rm -rf "$1"
}

mirror=$("$(dirname "$0")/../lib/debian-mirror.sh") || fail "no Debian mirror to make the root from"
if ! command -v debootstrap >/dev/null 2>&1; then
    step "installing debootstrap"
    apt-get install -y -q debootstrap >/dev/null 2>&1 ||
        { apt-get update -q >/dev/null && apt-get install -y -q debootstrap >/dev/null; } ||
        fail "could not install debootstrap"
fi

[[ -e $root ]] && remove_tree "$root"
[[ -e $partial ]] && remove_tree "$partial"
mkdir -p "$partial"
log=$partial.log

step "making a Debian unstable root in $root from $mirror (about 2 minutes)"
if ! debootstrap --variant=minbase --components=main,contrib sid "$partial" "$mirror" >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    fail "debootstrap failed (log: $log)"
fi

# The unstable suite's Release file may be past its Valid-Until date on a mirror that
# lags; services must not start inside (there is no init there).
cat >"$partial/etc/apt/apt.conf.d/90vmtools" <<'EOF'
Acquire::Check-Valid-Until "false";
APT::Install-Recommends "false";
EOF
printf '#!/bin/sh\nexit 101\n' >"$partial/usr/sbin/policy-rc.d"
chmod 755 "$partial/usr/sbin/policy-rc.d"
[[ -s $partial/etc/resolv.conf ]] || cp /etc/resolv.conf "$partial/etc/resolv.conf"

step "installing VirtualBox and the Qt 5 libraries inside (about 2 minutes)"
if ! unshare --mount --propagation private -- "$0" --install-inside "$partial" >>"$log" 2>&1; then
    tail -n 20 "$log" >&2
    fail "installing VirtualBox inside the root failed (log: $log)"
fi

vboxmanage=/usr/lib/virtualbox/VBoxManage
[[ -x $partial$vboxmanage ]] || fail "VirtualBox's $vboxmanage is missing after the install"
install -d -m 755 "$partial/var/lib/vmtools-realvbox"
mv "$partial" "$root"
mv "$log" "$root/var/log/vmtools-make-root.log"
date -u +%FT%TZ >"$root/$marker"
step "the root is ready"
