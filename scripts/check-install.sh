#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Checks the install rules as a host application's developer meets them: installs a
# built tree into a prefix, moves the prefix elsewhere, builds examples/host against it
# with only find_package(VMTools), and runs that host and the installed vmtools (through
# its link in bin/) against the VirtualBox stand-in.
#
#   scripts/check-install.sh [BUILD_DIR]     (build/ by default, built with the stand-in)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
jobs=$(nproc)
work=$(mktemp -d "${TMPDIR:-/tmp}/vmtools-install-XXXXXX")
trap 'rm -rf "$work"' EXIT

fail() {
    echo "check-install: $*" >&2
    exit 1
}
step() { printf '== %s\n' "$*"; }

step "Install into a prefix, then move it"
cmake --install "$build" --prefix "$work/staged" --strip >"$work/install.log"
mv "$work/staged" "$work/prefix"
prefix=$work/prefix
for path in lib/libvmtools_framework.so.0 lib/vmtools/vmtools lib/vmtools/plugins/libvboxmanage.so \
    include/vmtools/vmtoolsengine.h include/vmtools/vmtools_export.h include/vmtools/version.h \
    lib/cmake/VMTools/VMToolsConfig.cmake lib/cmake/VMTools/VMToolsConfigVersion.cmake \
    share/man/man1/vmtools.1.gz share/bash-completion/completions/vmtools \
    share/zsh/vendor-completions/_vmtools; do
    [[ -e $prefix/$path ]] || fail "nothing installed at $path"
done
[[ $(readlink "$prefix/bin/vmtools") == ../lib/vmtools/vmtools ]] ||
    fail "bin/vmtools is not a relative link to lib/vmtools/vmtools"
# Nothing of this machine's build may be baked into what a user installs.
if matches=$(grep -rlF -e "$build" -e "$root" "$prefix"); then
    fail "build paths inside the installed files: $matches"
fi

step "Build a host outside the tree with only find_package(VMTools)"
cmake -S "$root/examples/host" -B "$work/host-build" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_INSTALL_PREFIX="$work/host-prefix" >"$work/host-configure.log" ||
    { cat "$work/host-configure.log" >&2; fail "the host does not configure"; }
cmake --build "$work/host-build" -j"$jobs" >"$work/host-build.log" ||
    { cat "$work/host-build.log" >&2; fail "the host does not build"; }
[[ -f $work/host-build/plugins/libvboxmanage.so ]] ||
    fail "vmtools_deploy_plugin left no plug-in beside the built host"
cmake --install "$work/host-build" >/dev/null
[[ -f $work/host-prefix/bin/plugins/libvboxmanage.so ]] ||
    fail "vmtools_deploy_plugin left no plug-in beside the installed host"

step "Run both against the VirtualBox stand-in"
export PATH=$build/bin/simulator:$PATH
export VBOXSIM_HOME=$work/virtualbox VBOXSIM_VERSION=${VBOXSIM_VERSION:-7.1}
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config QM_HOME=$work/home
mkdir -p "$HOME" "$VBOXSIM_HOME"
vmtools=$prefix/bin/vmtools
[[ $("$vmtools" --version) == "vmtools 0"* ]] || fail "vmtools --version from the link"
"$vmtools" create phone "$build/share/vmtools/sample-device.ova" --cpus 2 --memory 2048 >/dev/null 2>&1 ||
    fail "the installed vmtools cannot create a device"

expect_listing() {
    local output=$1
    grep -q "^engine state 0, VirtualBox $VBOXSIM_VERSION" <<<"$output" &&
        grep -qx "1 device(s)" <<<"$output" && grep -qx "phone 2 CPU(s) 2048 MB" <<<"$output"
}
output=$("$work/host-build/example-host" 2>"$work/host.err") || { cat "$work/host.err" >&2; fail "the built host fails"; }
expect_listing "$output" || fail "the built host lists: $output"
# The installed host finds the framework where the system would keep it.
output=$(LD_LIBRARY_PATH=$prefix/lib "$work/host-prefix/bin/example-host" 2>"$work/host.err") ||
    { cat "$work/host.err" >&2; fail "the installed host fails"; }
expect_listing "$output" || fail "the installed host lists: $output"
echo "$output"
echo "check-install: passed"
