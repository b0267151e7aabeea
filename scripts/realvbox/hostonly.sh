#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The host-only adapters that VirtualBox's kernel module would make, stood in by veth pairs.
# VirtualBox takes any Ethernet interface named vboxnetN for a host-only adapter: it lists it,
# configures it (through its own VBoxNetAdpCtl) and serves DHCP on it. Only making and
# removing one needs the module. Adapters are host-wide, so their state is kept in a file
# inside the root and restored into each run's own network namespace. Sourced by the
# VBoxManage wrapper beside it; run directly at the start of a run or for a clean slate:
#
#   hostonly.sh restore    make each known adapter's interface in this namespace
#   hostonly.sh reset      forget every adapter
#
# One line per adapter: NAME UP IPV4/PREFIX IPV6/PREFIX[,IPV6/PREFIX...] ("-" for none).

hostonly_state=/var/lib/vmtools-realvbox/hostonlyifs
hostonly_names=()
declare -A hostonly_up=() hostonly_ipv4=() hostonly_ipv6=()

hostonly_lock() {
    mkdir -p "$(dirname "$hostonly_state")"
    exec {hostonly_lock_fd}>>"$hostonly_state.lock"
    flock "$hostonly_lock_fd"
}

hostonly_load() {
    hostonly_names=()
    [[ -f $hostonly_state ]] || return 0
    local name up ipv4 ipv6
    while read -r name up ipv4 ipv6; do
        [[ -n $name ]] || continue
        hostonly_names+=("$name")
        hostonly_up[$name]=$up hostonly_ipv4[$name]=$ipv4 hostonly_ipv6[$name]=$ipv6
    done <"$hostonly_state"
}

hostonly_save() {
    local name
    for name in "${hostonly_names[@]}"; do
        printf '%s %s %s %s\n' "$name" "${hostonly_up[$name]}" "${hostonly_ipv4[$name]}" "${hostonly_ipv6[$name]}"
    done >"$hostonly_state.new"
    mv "$hostonly_state.new" "$hostonly_state"
}

hostonly_known() {
    local name
    for name in "${hostonly_names[@]}"; do
        [[ $name == "$1" ]] && return 0
    done
    return 1
}

# The other end must not be named vboxnet*, or VirtualBox would list it as an adapter too.
hostonly_peer() { printf 'peer-%s' "$1"; }

# The module gives vboxnetN the MAC 0a:00:27:00:00:0N.
hostonly_mac() {
    local number=${1#vboxnet}
    printf '0a:00:27:00:%02x:%02x' $(((number >> 8) & 255)) $((number & 255))
}

# A new adapter is down and unconfigured, as the module leaves it. Its peer is up, so
# that the adapter has a carrier (and its routes work) once VirtualBox brings it up.
hostonly_make_link() {
    local name=$1 peer
    peer=$(hostonly_peer "$name")
    ip link show dev "$name" >/dev/null 2>&1 ||
        ip link add "$name" address "$(hostonly_mac "$name")" type veth peer name "$peer"
    ip link set "$peer" up
}

hostonly_restore() {
    hostonly_lock
    hostonly_load
    local name address
    for name in "${hostonly_names[@]}"; do
        hostonly_make_link "$name"
        [[ ${hostonly_ipv4[$name]} == - ]] || ip -4 addr replace "${hostonly_ipv4[$name]}" dev "$name"
        if [[ ${hostonly_ipv6[$name]} != - ]]; then
            for address in ${hostonly_ipv6[$name]//,/ }; do
                ip -6 addr replace "$address" dev "$name" nodad
            done
        fi
        [[ ${hostonly_up[$name]} == 0 ]] || ip link set "$name" up
    done
}

# Records an adapter's configuration as VirtualBox left it on the interface.
hostonly_snapshot() {
    local name=$1 ipv4 ipv6
    ipv4=$(ip -o -4 addr show dev "$name" | awk '{ print $4; exit }')
    # Addresses that VirtualBox set, not those the kernel derives from the MAC.
    ipv6=$(ip -o -6 addr show dev "$name" | awk '!/proto kernel/ { print $4 }' | paste -sd,)
    hostonly_ipv4[$name]=${ipv4:--}
    hostonly_ipv6[$name]=${ipv6:--}
    if ip -o link show dev "$name" | grep -q '[<,]UP[,>]'; then
        hostonly_up[$name]=1
    else
        hostonly_up[$name]=0
    fi
}

hostonly_reset() {
    hostonly_lock
    rm -f "$hostonly_state"
}

if [[ ${BASH_SOURCE[0]} == "$0" ]]; then
    set -euo pipefail
    case ${1:-} in
    restore) hostonly_restore ;;
    reset) hostonly_reset ;;
    *)
        echo "usage: hostonly.sh restore|reset" >&2
        exit 2
        ;;
    esac
fi
