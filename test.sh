#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds the project with its tests and runs them all. Installs what is missing where apt may be
# used. Usage: ./test.sh [PRESET] [ctest options]; the preset is "dev" unless one is named (see
# CMakePresets.json: debug, clang, sanitizers, threads). The last line is "N passed, N failed, N skipped";
# the exit code is 0 only when nothing failed.
top=$(dirname "$(readlink -f "$0")")
cd "$top" || exit 2
. "$top/tools/packages.sh"

preset=dev
case ${1:-} in
-h | --help)
    sed -n '3,6s/^# //p' "$0"
    exit 0
    ;;
'' | -*) ;;
*)
    preset=$1
    shift
    ;;
esac

needed="$(build_packages)$(missing_packages "/usr/include/gtest/gtest.h libgtest-dev")"
case $preset in
clang | sanitizers | threads) needed="$needed$(missing_packages "clang++ clang")" ;;
esac
# shellcheck disable=SC2086 # lists of words
[ -z "$needed" ] || install_packages $needed || exit 2
# Without these some tests are skipped, no more.
useful=$(missing_packages "python3 python3" "openssl openssl" "xmlsec1 xmlsec1" "xmllint libxml2-utils" "valgrind valgrind" "strace strace")
# shellcheck disable=SC2086
[ -z "$useful" ] || install_packages $useful || echo "going on without:$useful" >&2

build="$top/build/$preset"
mkdir -p "$build" || exit 2
log="$build/build.log"
# The script xmldsig builds in the folder of the preset dev.
if command -v flock >/dev/null 2>&1; then
    exec 9>"$build/.lock"
    flock 9
fi
echo "building preset $preset ..."
# shellcheck disable=SC2046 # no option, no word
if ! { cmake --preset "$preset" $(ccache_option) && cmake --build --preset "$preset" -j "$(build_jobs)"; } >"$log" 2>&1; then
    grep -E -A8 'error|FAILED' "$log" | head -n 60
    echo "the build of preset $preset failed; the whole output is in $log"
    echo "0 passed, 1 failed, 0 skipped"
    exit 1
fi
exec 9>&-

echo "running the tests of preset $preset ..."
rm -f "$build/Testing/Temporary/LastTest.log"
ctest --test-dir "$build" -j "$(nproc 2>/dev/null || echo 2)" --timeout 600 --output-on-failure "$@"
awk -f "$top/tools/sum_tests.awk" "$build/Testing/Temporary/LastTest.log" || exit 1
