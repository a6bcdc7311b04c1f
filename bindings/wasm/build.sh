#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds the WebAssembly module (Emscripten) as build/wasm/vantrel.wasm, and the npm package with it in
# build/npm. Exit code 77, with a message, where Emscripten is not installed.
top=$(dirname "$(dirname "$(dirname "$(readlink -f "$0")")")")
cd "$top" || exit 2
. "$top/tools/packages.sh"

if ! command -v emcmake >/dev/null 2>&1; then
    echo "skipped: Emscripten is not installed (on Debian: apt-get install emscripten)" >&2
    exit 77
fi

build="$top/build/wasm"
mkdir -p "$build" || exit 2
log="$build/build.log"
# ccache takes emcc for a compiler that it does not know unless it is told.
export CCACHE_COMPILERTYPE=clang
# shellcheck disable=SC2046 # no option, no word
if ! { emcmake cmake --preset wasm $(ccache_option) && cmake --build --preset wasm -j "$(build_jobs)"; } >"$log" 2>&1; then
    grep -E -A8 'error|FAILED' "$log" | head -n 60
    echo "the build failed; the whole output is in $log" >&2
    exit 1
fi
cp "$build/bindings/wasm/vantrel.wasm" "$build/vantrel.wasm" || exit 1

package="$top/build/npm"
rm -rf "$package"
mkdir -p "$package" || exit 2
cp bindings/npm/* bindings/wasm/verifier.js build/wasm/vantrel.wasm LICENSE "$package" || exit 1
echo "$(wc -c <"$build/vantrel.wasm") octets in build/wasm/vantrel.wasm, $(gzip -9c "$build/vantrel.wasm" | wc -c) with gzip"
