#!/bin/sh
# SPDX-License-Identifier: MIT
# Makes what a release hands out, in one folder: the sources, Debian packages, the static tool, the wheel for
# Python, what all this consists of (SPDX), and SHA-256 sums of it.
# Usage: tools/release.sh [FOLDER]; the folder is build/release-VERSION unless one is named.
#
# The sources are those of the last commit, with its time, so that everybody who runs this at the same commit
# has the same archive; so is the wheel with the same compiler. What is not committed is refused.
set -eu
top=$(dirname "$(dirname "$(readlink -f "$0")")")
cd "$top"
. tools/packages.sh

if [ -n "$(git status --porcelain)" ]; then
    echo "release.sh: there are changes that are not committed" >&2
    exit 2
fi
version=$(awk '/define VANTREL_VERSION_(MAJOR|MINOR|PATCH) / {text = text point $3; point = "."} END {print text}' api/version.h)
if ! grep -q "^## .*$version" CHANGELOG.md; then
    echo "release.sh: CHANGELOG.md has no section for $version" >&2
fi
folder=${1:-build/release-$version}
mkdir -p "$folder"
folder=$(readlink -f "$folder")
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

archive="vantrel-$version.tar.gz"
git archive --format=tar --prefix="vantrel-$version/" HEAD | gzip -n -9 >"$folder/$archive"
tools/make_sbom.py "$folder/$archive" >"$folder/vantrel-$version.spdx.json"

# From the archive, so that it is known to hold what it takes; always in the same place, which compilers write
# into what they make, and by which ccache knows what it has.
place="$top/build/release-tree"
rm -rf "$place"
mkdir -p "$place"
tar -xzf "$folder/$archive" -C "$place"
cd "$place/vantrel-$version"
# shellcheck disable=SC2046 # no option, no word
cmake --preset packages $(ccache_option) >"$place/log" 2>&1 &&
    cmake --build --preset packages -j "$(build_jobs)" >>"$place/log" 2>&1 &&
    (cd build/packages && cpack) >>"$place/log" 2>&1 || {
    tail -n 40 "$place/log" >&2
    exit 1
}
cp build/packages/packages/*.deb build/packages/python/*.whl "$folder"
strip -o "$folder/xmldsig-$version-linux-$(uname -m)" build/packages/static/xmldsig

cd "$folder"
rm -f SHA256SUMS
sha256sum -- * >"$place/sums"
mv "$place/sums" SHA256SUMS
ls -l
