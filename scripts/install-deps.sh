#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs, from Debian's archive, whatever the build and the tests need and this
# machine lacks. Pass "bench" to add what the benchmarks need, "package" what the Debian
# packages need, "clean-root" what a fresh Debian root for them needs, "fuzz" what the
# fuzz targets need (clang and its libFuzzer and sanitizer runtimes).
set -euo pipefail

packages=(cmake make g++ qtbase5-dev libgtest-dev libgmock-dev zsh)
case ${1:-} in
bench) packages+=(libbenchmark-dev) ;;
package) packages+=(dpkg-dev file lintian) ;;
clean-root) packages+=(debootstrap) ;;
fuzz) packages+=(clang-14 libclang-rt-14-dev) ;;
esac

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "ok installed"; then
        missing+=("$package")
    fi
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing: ${missing[*]}"
sudo=()
[[ $(id -u) -ne 0 ]] && sudo=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -q
"${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
