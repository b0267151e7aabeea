#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Fails, naming them, when source files (C++, shell, CMake, the manual page, completions,
# anything with a #! line) lack "SPDX-License-Identifier: Apache-2.0" in their first three
# lines. Data files (recordings, fuzz dictionaries, suppressions, documents) need none.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    # Files not yet added count too: a new file must carry the line from the start.
    list=(git ls-files --cached --others --exclude-standard)
else
    list=(find . \( -name '.git' -o -name 'build*' \) -prune -o -type f -printf '%P\n')
fi
files=()
while IFS= read -r file; do
    [[ -f $file ]] || continue
    case $file in
    *.cpp | *.h | *.h.in | *.sh | *.bash | *.cmake | *.cmake.in | *.1.in | CMakeLists.txt | \
        */CMakeLists.txt | cli/completion/*) ;;
    *)
        first=
        read -r -n 2 first <"$file" || true
        [[ $first == '#!' ]] || continue
        ;;
    esac
    files+=("$file")
done < <("${list[@]}")
# One awk for all files: starting a process per file is slow on a busy machine.
declare -A licensed
while IFS= read -r file; do
    licensed[$file]=1
done < <(awk 'FNR > 3 { nextfile } /SPDX-License-Identifier: Apache-2\.0/ { print FILENAME; nextfile }' \
    "${files[@]}")
missing=()
for file in "${files[@]}"; do
    [[ -n ${licensed[$file]:-} ]] || missing+=("$file")
done
if ((${#missing[@]})); then
    echo "these files lack the line 'SPDX-License-Identifier: Apache-2.0' at their top:" >&2
    printf '  %s\n' "${missing[@]}" >&2
    exit 1
fi
