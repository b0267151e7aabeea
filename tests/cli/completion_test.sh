#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The shell completions and the manual page: each valid for its reader, and the bash
# completion completing what vmtools takes, against a stand-in vmtools with two devices.
#
#   completion_test.sh SOURCE_DIR MANUAL_PAGE_GZ
set -uo pipefail

source_dir=$1 manual=$2
failed=0
fail() {
    echo "FAILED: $*" >&2
    failed=1
}

bash -n "$source_dir/cli/completion/vmtools.bash" || fail "the bash completion does not parse"
if command -v zsh >/dev/null 2>&1; then
    zsh -n "$source_dir/cli/completion/_vmtools" || fail "the zsh completion does not parse"
else
    echo "zsh is not installed: its completion was not parsed"
fi
if command -v man >/dev/null 2>&1; then
    # As lintian reads manual pages: every warning of groff counts.
    warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 \
        man --warnings -E UTF-8 -l -Tutf8 -Z "$manual" 2>&1 >/dev/null)
    [[ -z $warnings ]] || fail "man warns about the manual page: $warnings"
fi

# The list as `vmtools list --no-headers` prints it: a name with a blank, columns padded.
vmtools() {
    case "$*" in
    "list --no-headers")
        printf '%s\n' "Pixel 2  off      -               2     2048 MB  8.0  1080x1920" \
            "phone    running  192.168.56.101  2     2048 MB  8.0  1080x1920" ;;
    "network phone interfaces") printf '%s\n' eth0 wlan0 ;;
    esac
}
compopt() { :; } # only while bash completes
# shellcheck source=/dev/null
source "$source_dir/cli/completion/vmtools.bash"

# expect "CANDIDATES" WORD... : completing the last word gives the candidates, sorted, one
# blank apart.
expect() {
    local expected=$1
    shift
    COMP_WORDS=(vmtools "$@")
    COMP_CWORD=$#
    COMPREPLY=()
    _vmtools
    local actual
    actual=$(printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | paste -sd'|')
    [[ $actual == "$expected" ]] || fail "vmtools $*: '$actual', not '$expected'"
}

expect "list" l
expect "start|stop" st
expect "delete|delete-disk" dele
expect "show" --log-file vmtools.log sh
expect "--help|--json|--log-file|--quiet|--verbose|--version|-h|-q|-v" -
expect "--json" --js
expect "--gui" start --g
expect "--timeout" start --wait --t
expect "phone" start --timeout 30 ph
expect "--yes" delete --y
expect "--no-headers" list --no
expect "--cpus" create --c
expect "Pixel 2|phone" show ""
expect "phone" --json start ph
expect "" clone phone ""
expect "full-hx|full-screen" set phone ful
expect "off|on" set phone full-screen ""
expect "" set phone cpus ""
expect "density" set phone cpus 2 dens
expect "release-date|resolution" get phone re
expect "bridged" network phone b
expect "eth0|wlan0" network phone bridged ""
expect "wait-ip" help wa
expect "" help list ""
exit $failed
