#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The first process of a run's own mount, network and PID namespaces (started by
# real-vbox.sh): mounts what VirtualBox needs into the root, runs the command there, then
# stops VirtualBox's VBoxSVC and undoes the mounts. Anything still running when this
# exits is killed by the kernel with the PID namespace.
#
#   REALVBOX_ROOT=... REALVBOX_REPO=... REALVBOX_HOME=... REALVBOX_CWD=... enter.sh COMMAND ARGS...
# shellcheck disable=SC2317  # the clean-up functions run from traps
set -euo pipefail

root=$REALVBOX_ROOT
repo=$REALVBOX_REPO
home=$REALVBOX_HOME
cwd=$REALVBOX_CWD
unset REALVBOX_ROOT REALVBOX_REPO REALVBOX_HOME REALVBOX_CWD
mounted=()

bind() {
    mkdir -p "$root$1"
    mount --rbind "$1" "$root$1"
    mounted+=("$root$1")
}

# VBoxSVC saves its settings on SIGTERM; a VBoxSVC that keeps running would hold the
# mounts (it otherwise exits by itself only some seconds after its last client).
stop_virtualbox() {
    local pids=() entry deadline
    for entry in /proc/[0-9]*/comm; do
        [[ $(cat "$entry" 2>/dev/null) == VBoxSVC ]] && pids+=("$(basename "$(dirname "$entry")")")
    done
    [[ ${#pids[@]} -gt 0 ]] || return 0
    kill -TERM "${pids[@]}" 2>/dev/null || true
    deadline=$((SECONDS + 10))
    while kill -0 "${pids[@]}" 2>/dev/null && [[ $SECONDS -lt $deadline ]]; do
        sleep 0.1
    done
}

cleanup() {
    stop_virtualbox
    local index
    for ((index = ${#mounted[@]} - 1; index >= 0; index--)); do
        umount -R "${mounted[index]}" 2>/dev/null || umount -R -l "${mounted[index]}" 2>/dev/null || true
    done
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

mount -t proc proc "$root/proc"
mounted+=("$root/proc")
# Mounted from inside the new network namespace, /sys/class/net shows this run's interfaces;
# without /sys VirtualBox counts no host processors.
mount -t sysfs sysfs "$root/sys"
mounted+=("$root/sys")
bind /dev
bind /tmp
bind "$repo"
case $home/ in
/tmp/* | "$repo"/*) ;;
*) bind "$home" ;;
esac
private() {
    mkdir -p "$1"
    mount -t tmpfs -o mode=0700 realvbox "$1"
    mounted+=("$1")
}
# VirtualBox reads root's home from the password database, not from HOME.
private "$root/run/realvbox"
awk -F: -v OFS=: -v home="$home" '$3 == 0 { $6 = home } { print }' "$root/etc/passwd" >"$root/run/realvbox/passwd"
mount --bind "$root/run/realvbox/passwd" "$root/etc/passwd"
mounted+=("$root/etc/passwd")
# VBoxSVC's socket lives in /tmp, which runs share: each run gets a VBoxSVC of its own.
private "$root/tmp/.vbox-root-ipc"
ip link set lo up

inside() {
    chroot "$root" /usr/bin/env --chdir="$cwd" HOME="$home" USER=root LOGNAME=root SHELL=/bin/bash \
        PATH="$repo/scripts/realvbox/bin:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin" \
        "$@"
}
[[ -n ${LANG:-} || -n ${LC_ALL:-} ]] || export LANG=C.UTF-8
inside "$repo/scripts/realvbox/hostonly.sh" restore
status=0
inside "$@" || status=$?
exit "$status"
