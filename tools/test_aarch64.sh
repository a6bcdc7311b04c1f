#!/bin/sh
# SPDX-License-Identifier: MIT
# For 64-bit ARM, built with Debian's cross compiler and run under qemu: the kernels against their portable
# twins, by the test programs of the folders that have them; and the reports of the static tool against those of
# this machine's. Installs what is missing where apt may be used.
# Usage: tools/test_aarch64.sh [--kernels]; with it the tool is left out, whose build takes minutes. The last line
# is "N passed, N failed"; the exit code 77 means that the programs could not be installed and nothing was done.
top=$(dirname "$(dirname "$(readlink -f "$0")")")
cd "$top" || exit 2
. tools/packages.sh

needed="$(build_packages)$(missing_packages "aarch64-linux-gnu-g++ g++-aarch64-linux-gnu" \
    "qemu-aarch64-static qemu-user-static" "python3 python3" "/usr/src/googletest/CMakeLists.txt googletest")"
# shellcheck disable=SC2086 # a list of words
[ -z "$needed" ] || install_packages $needed || {
    echo "nothing was tested for aarch64, for want of:$needed"
    exit 77
}

build=build/aarch64
folders="cpu text scan canon hash bignum zip"
mkdir -p "$build" || exit 2

# configure folder options...: for the other processor.
configure() {
    source=$1
    shift
    # shellcheck disable=SC2046 # no option, no word
    cmake -G Ninja -S "$source" -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64 -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_C_COMPILER=aarch64-linux-gnu-gcc -DCMAKE_CXX_COMPILER=aarch64-linux-gnu-g++ $(ccache_option) "$@"
}

# build targets...: what fails is shown.
build() {
    cmake --build "$build" -j "$(build_jobs)" --target "$@" >>"$build/build.log" 2>&1
}

build_failed() {
    tail -n 40 "$build/build.log"
    echo "0 passed, 1 failed"
    exit 1
}

echo "building for aarch64 ..."
{ configure /usr/src/googletest -B "$build/googletest" -DBUILD_GMOCK=OFF -DCMAKE_CXX_FLAGS_RELEASE=-O0 "-DCMAKE_INSTALL_PREFIX=$top/$build/gtest" &&
    cmake --build "$build/googletest" --target install &&
    configure . -B "$build" -DCMAKE_UNITY_BUILD=ON -DVANTREL_DEVELOPER=ON "-DGTest_DIR=$top/$build/gtest/lib/cmake/GTest" \
        "-DCMAKE_CROSSCOMPILING_EMULATOR=qemu-aarch64-static;-L;/usr/aarch64-linux-gnu"; } >"$build/build.log" 2>&1 || build_failed
# shellcheck disable=SC2046 # a list of words
build $(printf 'test_%s ' $folders) || build_failed

# Left out: what takes long and asks no kernel anything, and iconv, whose tables are not there.
export GTEST_FILTER="-XmlDocument.StaysConsistent*:XmlLimits.*:CanonPaths.Deep*:CanonPaths.Hostile*:XmlCanon.EveryStretch*:Hasher.MessagesBeyondFour*:Charset.WideForms*"
rm -f "$build/Testing/Temporary/LastTest.log"
# shellcheck disable=SC2086
ctest --test-dir "$build" -j "$(nproc 2>/dev/null || echo 2)" --timeout 600 --output-on-failure \
    -R "^($(echo $folders | tr ' ' '|'))\$"
kernels=$(awk -f tools/sum_tests.awk "$build/Testing/Temporary/LastTest.log" | tail -n 1)
reports="0 passed, 0 failed"
if [ "${1:-}" != --kernels ]; then
    build xmldsig_static || build_failed
    python3 tests/whole/same_reports.py ./xmldsig qemu-aarch64-static "$build/static/xmldsig" >"$build/reports.txt" 2>&1
    reports=$(tail -n 1 "$build/reports.txt")
    cat "$build/reports.txt"
fi
printf '%s\n' "$kernels" "$reports" | awk '
    { passed += $1; failed += $3 }
    END { print passed + 0 " passed, " failed + 0 " failed"; exit failed > 0 || passed == 0 }'
