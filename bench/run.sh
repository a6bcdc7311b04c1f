#!/bin/sh
# SPDX-License-Identifier: MIT
# Measures everything, on a fresh machine as well: installs the peers where apt may be used, builds
# the benchmarks and the tool, runs them, and writes the table of whole documents into
# docs/performance.md. The figures of the kernels go to build/dev/bench/NAME.txt, from which the
# second table there is made by hand. Usage: bench/run.sh [--quick | --slow]
top=$(dirname "$(dirname "$(readlink -f "$0")")")
cd "$top" || exit 2
. "$top/tools/packages.sh"

case ${1:-} in
'' | --quick | --slow) ;;
*)
    sed -n '3,6s/^# //p' "$0"
    exit 2
    ;;
esac
needed="$(build_packages)$(missing_packages "/usr/include/benchmark/benchmark.h libbenchmark-dev" \
    "/usr/include/openssl/evp.h libssl-dev" "/usr/include/libxml2/libxml/parser.h libxml2-dev" \
    "/usr/include/xmlsec1/xmlsec/xmlsec.h libxmlsec1-dev" "/usr/include/zlib.h zlib1g-dev" \
    "xmlsec1 xmlsec1" "pkg-config pkg-config")"
# shellcheck disable=SC2086 # a list of words
[ -z "$needed" ] || install_packages $needed || exit 2

# shellcheck disable=SC2046 # no option, no word
cmake --preset dev $(ccache_option) >/dev/null &&
    cmake --build --preset dev -j "$(build_jobs)" --target benchmarks xmldsig xmldsig_static || exit 1

bench="build/dev/bench"
# shellcheck disable=SC2086 # no option, no word
"$bench/bench_verify" ${1:-} --tool build/dev/xmldsig --write docs/performance.md || exit 1
[ "${1:-}" != --quick ] || exit 0
for program in "$bench"/bench_*; do
    name=${program#"$bench"/bench_}
    case $name in
    verify | *.*) continue ;;
    esac
    echo "bench_$name"
    "$program" >"$bench/$name.txt" 2>&1 || exit 1
done
