#!/usr/bin/env bash
# Builds the Debian packages vmtools and vmtools-dev with CPack, from a release build of
# its own (build-package/ by default), and checks them with lintian.
#
#   scripts/package.sh             build the packages into build-package/packages/
#   scripts/package.sh --install   also install them with apt-get on this machine, run the
#                                  installed vmtools and build examples/host against them,
#                                  then remove them and check that nothing is left
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${PACKAGE_BUILD_DIR:-$root/build-package}
jobs=$(nproc)
install_check=0
case ${1:-} in
"") ;;
--install) install_check=1 ;;
*)
    echo "usage: scripts/package.sh [--install]" >&2
    exit 2
    ;;
esac

sudo=()
[[ $(id -u) -ne 0 ]] && sudo=(sudo)
# dpkg-shlibdeps computes the packages' dependencies; file tells CPack what is a binary.
"$root/scripts/install-deps.sh" package

# The system's own library directory needs no run-time search path in the binaries.
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DVMTOOLS_BUILD_TESTS=OFF -DVMTOOLS_BUILD_SIMULATOR=OFF -DVMTOOLS_INSTALL_RPATH=OFF \
    -DVMTOOLS_WERROR=ON
cmake --build "$build" -j"$jobs"
rm -rf "$build/packages"
(cd "$build" && cpack -G DEB)
mapfile -t packages < <(find "$build/packages" -maxdepth 1 -name '*.deb' | sort)
((${#packages[@]} == 2)) || { echo "package.sh: expected two packages, got: ${packages[*]}" >&2; exit 1; }

if command -v lintian >/dev/null 2>&1; then
    lintian --fail-on error --info "${packages[@]}"
else
    echo "package.sh: lintian is not installed; the packages were not checked"
fi
printf 'Built %s\n' "${packages[@]}"
((install_check)) || exit 0

runtime=$(find "$build/packages" -maxdepth 1 -name 'vmtools_*.deb')
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get install -y -q "${packages[@]}"
mapfile -t files < <(dpkg -L vmtools vmtools-dev | sort -u)
/usr/bin/vmtools --version
/usr/bin/vmtools --help >/dev/null
[[ $(/usr/bin/vmtools --version) == "vmtools $(dpkg-deb -f "$runtime" Version)" ]] ||
    { echo "package.sh: vmtools --version does not name the package's version" >&2; exit 1; }

work=$(mktemp -d "${TMPDIR:-/tmp}/vmtools-package-XXXXXX")
trap 'rm -rf "$work"' EXIT
cmake -S "$root/examples/host" -B "$work/host" >/dev/null
cmake --build "$work/host" -j"$jobs" >/dev/null
[[ -f $work/host/plugins/libvboxmanage.so ]] || { echo "package.sh: no plug-in beside the host" >&2; exit 1; }

"${sudo[@]}" apt-get purge -y -q vmtools vmtools-dev
left=()
for file in "${files[@]}"; do
    # Shared folders such as /usr/bin stay; anything of the packages' own must go.
    if [[ -e $file && ! -d $file ]] || [[ -d $file && $file == */vmtools* ]]; then
        left+=("$file")
    fi
done
((${#left[@]} == 0)) || { echo "package.sh: left after removal: ${left[*]}" >&2; exit 1; }
echo "package.sh: installed, used and removed cleanly"
