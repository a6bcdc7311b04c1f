#!/bin/sh
# SPDX-License-Identifier: MIT
# Whether anything reads memory that nobody has set: the fuzz targets, built with clang's memory sanitizer, over their corpora, what
# stands in the tests' vectors and, where VANTREL_SHARED names it, in the shared corpus, and over changes of each input. The C++ library has no
# such build in Debian, so its templates are compiled along, and fuzz/memory_sanitizer.cpp knows the rest.
# Usage: tools/test_memory_sanitizer.sh [--mutations=N] [TARGET...], by default 3 changes of each input, all targets. The last line is
# "N passed, N failed" (targets); the exit code 77 means that the compiler could not be installed and nothing was done.
top=$(dirname "$(dirname "$(readlink -f "$0")")")
cd "$top" || exit 2
. tools/packages.sh

needed="$(build_packages)$(missing_packages "clang++ clang" "python3 python3" "/usr/include/gtest/gtest.h libgtest-dev")"
# shellcheck disable=SC2086 # a list of words
[ -z "$needed" ] || install_packages $needed || {
    echo "nothing was tested for unset memory, for want of:$needed"
    exit 77
}

mutations=--mutations=3
case ${1:-} in
--mutations=*)
    mutations=$1
    shift
    ;;
esac
build=build/memory
# shellcheck disable=SC2046 # a list of words
[ $# -gt 0 ] || set -- $(ls fuzz | sed -n 's/_fuzz\.cpp$//p')
mkdir -p "$build/logs" || exit 2
echo "building with the memory sanitizer ..."
# shellcheck disable=SC2046 # lists of words
{ cmake --preset memory $(ccache_option) &&
    cmake --build "$build" -j "$(build_jobs)" --target $(printf 'replay_%s ' "$@"); } >"$build/build.log" 2>&1 || {
    tail -n 40 "$build/build.log"
    echo "0 passed, 1 failed"
    exit 1
}
tools/fuzz_all.py --work "$build/inputs" --gather ${VANTREL_SHARED:+--seeds "$VANTREL_SHARED"} "$@" || exit 2

# replay target: its number of inputs, or the report of what it read.
replay() {
    if "$build/fuzz/replay_$1" "$mutations" "$build/inputs/corpus/$1" >"$build/logs/$1.txt" 2>&1; then
        echo "$1: $(tail -n 1 "$build/logs/$1.txt")"
    else
        tail -n 40 "$build/logs/$1.txt"
        echo "$1: FAILED"
    fi
}
for target in "$@"; do
    replay "$target"
done | tee "$build/logs/all.txt"
awk -v targets=$# '/: FAILED$/ { failed++ }
    / inputs$/ { passed++; inputs += $2 }
    END { print inputs + 0 " inputs"; print passed + 0 " passed, " targets - passed " failed"; exit passed != targets }' "$build/logs/all.txt"
