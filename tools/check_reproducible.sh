#!/bin/sh
# SPDX-License-Identifier: MIT
# Whether a release is the same, byte for byte, wherever it is built: builds HEAD twice, in folders of different names and without
# a compiler cache, and compares what comes out. Usage: tools/check_reproducible.sh [TARGET...], by default the tool and the library.
# The exit code is 0 only when nothing differs.
set -eu
top=$(dirname "$(dirname "$(readlink -f "$0")")")
[ $# -gt 0 ] || set -- xmldsig xmldsig_static vantrel
# Once, since both builds take long and work may go on meanwhile.
commit=$(git -C "$top" rev-parse HEAD)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for name in one another-folder; do
    mkdir "$work/$name"
    git -C "$top" archive "$commit" | tar -x -C "$work/$name"
    echo "building in $name ..."
    if ! (cd "$work/$name" && cmake --preset release -DBUILD_SHARED_LIBS=ON && cmake --build --preset release --target "$@") >"$work/$name.log" 2>&1; then
        tail -n 40 "$work/$name.log"
        exit 2
    fi
done
compared=0
different=0
for file in $(cd "$work/one/build/release" && find . -type f \( -name xmldsig -o -name 'libvantrel*' -o -name 'xmldsig.*' \) ! -path '*/CMakeFiles/*' | sort); do
    compared=$((compared + 1))
    if cmp "$work/one/build/release/$file" "$work/another-folder/build/release/$file"; then
        sha256sum "$work/one/build/release/$file" | sed "s|$work/one/build/release/||"
    else
        different=$((different + 1))
    fi
done
echo "$compared compared, $different different"
[ "$compared" -gt 0 ] && [ "$different" -eq 0 ]
