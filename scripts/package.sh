#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the Debian packages vmtools and vmtools-dev with CPack, from a release build of
# its own (build-package/ by default), and checks them with lintian.
#
#   scripts/package.sh [--install] [--clean-root]
#
#   --install     also install both packages with apt-get on this machine, run the
#                 installed vmtools, build examples/host against the installed package,
#                 then remove them and check that nothing of theirs is left
#   --clean-root  also install vmtools into a fresh minimal Debian 12 made with
#                 debootstrap, where nothing else put Qt, so that its computed
#                 dependencies are proven; run it there, purge it, check nothing is left
#
# With STANDIN_DIR naming a folder with the VirtualBox stand-in's VBoxManage and ip
# (build/bin/simulator), the installed vmtools and host also load the engine against it.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${PACKAGE_BUILD_DIR:-$root/build-package}
jobs=$(nproc)
install_check=0 clean_root=0
for argument in "$@"; do
    case $argument in
    --install) install_check=1 ;;
    --clean-root) clean_root=1 ;;
    *)
        echo "usage: scripts/package.sh [--install] [--clean-root]" >&2
        exit 2
        ;;
    esac
done

sudo=()
[[ $(id -u) -ne 0 ]] && sudo=(sudo)
export DEBIAN_FRONTEND=noninteractive
fail() {
    echo "package.sh: $*" >&2
    exit 1
}

build_packages() {
    "$root/scripts/install-deps.sh" package
    # The system's own library directory needs no run-time search path in the binaries.
    cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
        -DVMTOOLS_BUILD_TESTS=OFF -DVMTOOLS_BUILD_SIMULATOR=OFF -DVMTOOLS_INSTALL_RPATH=OFF \
        -DVMTOOLS_WERROR=ON
    cmake --build "$build" -j"$jobs"
    rm -rf "$build/packages"
    (cd "$build" && cpack -G DEB)
    runtime=$(find "$build/packages" -maxdepth 1 -name 'vmtools_*.deb')
    development=$(find "$build/packages" -maxdepth 1 -name 'vmtools-dev_*.deb')
    [[ -n $runtime && -n $development ]] || fail "CPack did not make both packages"
    version=$(dpkg-deb -f "$runtime" Version)

    if command -v lintian >/dev/null 2>&1; then
        lintian --fail-on error "$runtime" "$development"
    else
        echo "package.sh: lintian is not installed; the packages were not checked"
    fi
    printf 'Built %s\n' "$runtime" "$development"
}

# Runs the installed vmtools (through the command `run`, which may enter a chroot).
check_installed_vmtools() {
    local run=("$@")
    # The first line names vmtools itself; the plug-in's and VirtualBox's follow.
    [[ $("${run[@]}" vmtools --version | head -n 1) == "vmtools $version" ]] ||
        fail "vmtools --version does not name the package's version $version"
    "${run[@]}" vmtools --help >/dev/null || fail "vmtools --help fails"
}

# Fails if any of the given files (the packages' own, listed before removal) is left.
check_removed() {
    local left=() file
    for file in "$@"; do
        # Shared folders such as /usr/bin stay; anything of the packages' own must go.
        if [[ -e $file && ! -d $file ]] || [[ -d $file && $file == */vmtools* ]]; then
            left+=("$file")
        fi
    done
    ((${#left[@]} == 0)) || fail "left after removal: ${left[*]}"
}

install_here() {
    local work=$1
    "${sudo[@]}" apt-get install -y -q "$runtime" "$development"
    mapfile -t files < <(dpkg -L vmtools vmtools-dev | sort -u)
    check_installed_vmtools env

    cmake -S "$root/examples/host" -B "$work/host" >/dev/null
    cmake --build "$work/host" -j"$jobs" >/dev/null
    [[ -f $work/host/plugins/libvboxmanage.so ]] || fail "no plug-in beside the host"
    if [[ -n ${STANDIN_DIR:-} ]]; then
        mkdir -p "$work/home" "$work/virtualbox"
        PATH=$STANDIN_DIR:$PATH HOME=$work/home QM_HOME=$work/home VBOXSIM_HOME=$work/virtualbox \
            "$work/host/example-host" | grep -q "^engine state 0," ||
            fail "the host built against the package loads no engine"
    fi

    "${sudo[@]}" apt-get purge -y -q vmtools vmtools-dev
    check_removed "${files[@]}"
    echo "package.sh: installed, used and removed on this machine"
}

install_in_clean_root() {
    local work=$1 chroot_root=$1/root
    "$root/scripts/install-deps.sh" clean-root
    local mirror
    mirror=$("$root/scripts/lib/debian-mirror.sh") || fail "no Debian mirror for the clean root"
    echo "package.sh: making a minimal Debian 12 in $chroot_root from $mirror"
    "${sudo[@]}" debootstrap --variant=minbase bookworm "$chroot_root" "$mirror" \
        >"$work/debootstrap.log" ||
        { tail -20 "$work/debootstrap.log" >&2; fail "debootstrap failed"; }
    "${sudo[@]}" cp "$runtime" "$chroot_root/tmp/"
    local in_root=("${sudo[@]}" chroot "$chroot_root" /usr/bin/env -i
        PATH=/opt/standin:/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive
        HOME=/tmp/home QM_HOME=/tmp/home VBOXSIM_HOME=/tmp/virtualbox)
    { "${in_root[@]}" apt-get update -q &&
        "${in_root[@]}" apt-get install -y -q --no-install-recommends "/tmp/$(basename "$runtime")"; } \
        >"$work/install.log" 2>&1 || { cat "$work/install.log" >&2; fail "no clean install"; }
    mapfile -t files < <("${in_root[@]}" dpkg -L vmtools | sort -u)
    check_installed_vmtools "${in_root[@]}"
    if [[ -n ${STANDIN_DIR:-} ]]; then
        "${sudo[@]}" mkdir -p "$chroot_root/opt/standin" "$chroot_root/tmp/home" \
            "$chroot_root/tmp/virtualbox"
        "${sudo[@]}" cp "$STANDIN_DIR/VBoxManage" "$STANDIN_DIR/ip" "$chroot_root/opt/standin/"
        "${in_root[@]}" vmtools info >/dev/null 2>"$work/info.log" ||
            { cat "$work/info.log" >&2; fail "the installed vmtools loads no engine"; }
    fi
    "${in_root[@]}" apt-get purge -y -q vmtools >"$work/purge.log" 2>&1 ||
        { cat "$work/purge.log" >&2; fail "vmtools does not purge"; }
    local inside=()
    mapfile -t inside < <(printf "$chroot_root%s\n" "${files[@]}")
    check_removed "${inside[@]}"
    echo "package.sh: installed, used and purged in a fresh Debian 12"
}

build_packages
((install_check || clean_root)) || exit 0
# Inside the build folder rather than /tmp, which may forbid devices or programs.
work=$build/check
"${sudo[@]}" rm -rf "$work"
mkdir -p "$work"
trap '"${sudo[@]}" rm -rf "$work"' EXIT
if ((install_check)); then
    install_here "$work"
fi
if ((clean_root)); then
    install_in_clean_root "$work"
fi
