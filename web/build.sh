#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds the page that checks documents in a browser: build/web, to be opened from there or copied to
# any host. Exit code 77, with a message, where Emscripten is not installed.
top=$(dirname "$(dirname "$(readlink -f "$0")")")
"$top/bindings/wasm/build.sh" || exit $?
rm -rf "$top/build/web"
exec python3 "$top/web/assemble.py" "$top/build/wasm/vantrel.wasm" "$top/build/web"
