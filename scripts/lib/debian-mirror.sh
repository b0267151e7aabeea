#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Prints the Debian archive that this machine's apt uses (the first one that is not the
# security archive), or VMTOOLS_DEBIAN_MIRROR when it is set. Scripts that fetch packages
# take it from here, so that no package host is written into the repository.
#
#   mirror=$(scripts/lib/debian-mirror.sh) || exit 1
set -euo pipefail

if [[ -n ${VMTOOLS_DEBIAN_MIRROR:-} ]]; then
    printf '%s\n' "$VMTOOLS_DEBIAN_MIRROR"
    exit 0
fi
uri=$({
    cat /etc/apt/sources.list.d/*.sources 2>/dev/null |
        sed -n 's/^URIs:[[:space:]]*//p' | tr -s ' \t' '\n'
    cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
        sed -n 's/^[[:space:]]*deb[[:space:]]\+\(\[[^]]*\][[:space:]]\+\)\{0,1\}\([^[:space:]]\+\).*/\2/p'
} | grep -v -e '-security' -e '^$' | head -n 1) || true
if [[ -z $uri ]]; then
    echo "no Debian mirror found in /etc/apt/sources.list or /etc/apt/sources.list.d/;" \
        "set VMTOOLS_DEBIAN_MIRROR" >&2
    exit 1
fi
printf '%s\n' "$uri"
