#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs commands against a real VirtualBox 7.2 on this Debian 12 machine, which has no
# VirtualBox kernel modules. VirtualBox 7.2 comes from Debian's unstable suite and needs a
# newer C library, so it lives in a Debian root of its own; each run enters that root in
# fresh mount, network and PID namespaces, with the repository bind-mounted at its own path.
# Only the host-only adapter, which needs a kernel module, is stood in (scripts/realvbox/).
#
#   scripts/real-vbox.sh setup                               make (or reuse) the root
#   scripts/real-vbox.sh run [--home DIR] -- COMMAND ARGS... run COMMAND inside it
#   scripts/real-vbox.sh shell [--home DIR]                  an interactive shell inside it
#   scripts/real-vbox.sh netreset                            forget every host-only adapter
#
# HOME is a fresh folder, removed afterwards, unless --home names one: VirtualBox keeps its
# settings there, so runs that share --home share VMs and DHCP servers. Host-only adapters
# are host-wide, as on a real host: their state is kept in the root.
#
# VMTOOLS_VBOX_ROOT         the root (/var/cache/vmtools/vbox-root by default)
# VMTOOLS_DEBIAN_MIRROR     the Debian mirror (by default the one in this machine's apt sources)
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd -P)
repo=$(cd "$here/.." && pwd -P)
root=${VMTOOLS_VBOX_ROOT:-/var/cache/vmtools/vbox-root}
ready_marker=.vmtools-vbox-ready

fail() {
    echo "real-vbox.sh: $*" >&2
    exit 1
}
usage() {
    sed -n '8,11p' "${BASH_SOURCE[0]}" | sed 's/^# \{0,1\}//' >&2
    exit 2
}

[[ $(id -u) -eq 0 ]] || fail "must run as root (it mounts file systems and makes namespaces)"
[[ $root == /* ]] || fail "VMTOOLS_VBOX_ROOT must be an absolute path: $root"
root=${root%/}
[[ -n $root && $root != "$repo" && $root/ != "$repo"/* ]] ||
    fail "the root must lie outside the source tree: $root"

# Makes the root unless it is already complete. Concurrent callers wait for one another.
ensure_root() {
    [[ -f $root/$ready_marker ]] && return 0
    mkdir -p "$(dirname "$root")"
    local lock
    exec {lock}>>"$root.lock"
    flock "$lock"
    if [[ ! -f $root/$ready_marker ]]; then
        "$here/realvbox/make-root.sh" "$root" "$ready_marker" ||
            fail "could not make the VirtualBox root at $root (see the messages above)"
    fi
    exec {lock}>&-
}

# The variables a command inside sees, besides HOME, PATH, USER and the like set on entry.
kept_environment() {
    local name
    while IFS= read -r name; do
        case $name in
        VBOXSIM_* | QM_HOME | VMTOOLS_* | LANG | LANGUAGE | LC_* | TERM) printf '%s=%s\0' "$name" "${!name}" ;;
        esac
    done < <(compgen -e)
}

run_inside() {
    local home="" fresh_home=0
    while [[ $# -gt 0 ]]; do
        case $1 in
        --home)
            [[ $# -ge 2 ]] || usage
            home=$2
            shift 2
            ;;
        --home=*)
            home=${1#--home=}
            shift
            ;;
        --)
            shift
            break
            ;;
        *) usage ;;
        esac
    done
    [[ $# -gt 0 ]] || usage
    ensure_root

    if [[ -n $home ]]; then
        mkdir -p "$home"
        home=$(cd "$home" && pwd -P)
        [[ $home != / && $home != "$root" && $home != "$root"/* ]] || fail "unusable --home: $home"
    else
        home=$(mktemp -d /tmp/real-vbox-home.XXXXXX)
        fresh_home=1
    fi
    # The current directory means the same inside only where the same tree is mounted.
    local cwd
    cwd=$(pwd -P)
    case $cwd/ in
    "$repo"/* | /tmp/* | "$home"/*) ;;
    *) cwd=$home ;;
    esac

    local -a environment=()
    mapfile -d '' environment < <(kept_environment)
    local status=0
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin "${environment[@]}" \
        REALVBOX_ROOT="$root" REALVBOX_REPO="$repo" REALVBOX_HOME="$home" REALVBOX_CWD="$cwd" \
        unshare --net --pid --fork --mount-proc --propagation private -- \
        "$here/realvbox/enter.sh" "$@" || status=$?
    [[ $fresh_home -eq 0 ]] || rm -rf "$home"
    return "$status"
}

command=${1:-}
[[ $# -gt 0 ]] && shift
case $command in
setup)
    [[ $# -eq 0 ]] || usage
    ensure_root
    run_inside -- VBoxManage --version
    ;;
run) run_inside "$@" ;;
shell)
    run_inside "$@" -- /bin/bash -i
    ;;
netreset)
    [[ $# -eq 0 ]] || usage
    ensure_root
    run_inside -- "$here/realvbox/hostonly.sh" reset
    ;;
*) usage ;;
esac
