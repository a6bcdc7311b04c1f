#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds the static tool for 64-bit ARM with Debian's cross compiler, runs it under qemu, and compares its
# reports with those of this machine's tool. Installs what is missing where apt may be used.
# The last line is "N passed, N failed".
top=$(dirname "$(dirname "$(readlink -f "$0")")")
cd "$top" || exit 2
. tools/packages.sh

needed="$(build_packages)$(missing_packages "aarch64-linux-gnu-g++ g++-aarch64-linux-gnu" \
    "qemu-aarch64-static qemu-user-static" "python3 python3")"
# shellcheck disable=SC2086 # a list of words
[ -z "$needed" ] || install_packages $needed || exit 2

build=build/aarch64
mkdir -p "$build" || exit 2
echo "building for aarch64 ..."
# shellcheck disable=SC2046 # no option, no word
{ cmake -G Ninja -S . -B "$build" -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64 \
    -DCMAKE_CXX_COMPILER=aarch64-linux-gnu-g++ $(ccache_option) &&
    cmake --build "$build" --target xmldsig_static -j "$(build_jobs)"; } >"$build/build.log" 2>&1 || {
    tail -n 40 "$build/build.log"
    echo "0 passed, 1 failed"
    exit 1
}
exec python3 tests/whole/same_reports.py ./xmldsig qemu-aarch64-static "$build/static/xmldsig"
