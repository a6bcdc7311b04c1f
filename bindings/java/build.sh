#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds vantrel.jar: the package vantrel for Java 11 and later, with the native library of this machine
# in it. Usage: bindings/java/build.sh [FOLDER [LIBRARY]]
#
# FOLDER (build/java) then holds vantrel.jar and, for -Djava.library.path, libvantrel_jni.so. LIBRARY
# is a built libvantrel.a; without one it is built with the preset release. JAVA_HOME and CXX count.
# Exit code 77: there is no JDK.
top=$(dirname "$(dirname "$(dirname "$(readlink -f "$0")")")")
folder=${1:-$top/build/java}
library=${2:-}

fail() {
    echo "build.sh: $*" >&2
    exit 2
}

javac=${JAVA_HOME:+$JAVA_HOME/bin/}javac
if ! command -v "$javac" >/dev/null 2>&1; then
    echo "build.sh: there is no javac (Debian: openjdk-17-jdk-headless)" >&2
    exit 77
fi
home=$(dirname "$(dirname "$(readlink -f "$(command -v "$javac")")")")
if [ ! -f "$home/include/jni.h" ]; then
    echo "build.sh: there is no jni.h in $home" >&2
    exit 77
fi

if [ -z "$library" ]; then
    (cd "$top" && cmake --preset release && cmake --build --preset release --target vantrel) || fail "the library is not built"
    library=$top/build/release/libvantrel.a
fi
# As Java calls the machine.
case $(uname -m) in
x86_64) machine=amd64 ;;
*) machine=$(uname -m) ;;
esac

classes=$folder/classes
packed=$classes/vantrel/linux-$machine
rm -rf "$classes"
mkdir -p "$packed" || exit 2
# Everything but the C library is inside, and nothing but the native methods is seen from outside: a virtual
# machine may have loaded another C++ library before.
echo '{ global: Java_vantrel_*; local: *; };' >"$folder/exports.map" || exit 2
"${CXX:-c++}" -std=c++20 -O2 -Wall -Wextra -Wpedantic -Wconversion -Wno-sign-conversion -Werror -fPIC -fvisibility=hidden \
    -I "$top" -I "$top/include" -isystem "$home/include" -isystem "$home/include/linux" \
    -shared -o "$folder/libvantrel_jni.so" "$top/bindings/java/vantrel_jni.cpp" "$library" \
    -static-libstdc++ -static-libgcc "-Wl,--version-script=$folder/exports.map" -Wl,-z,defs -s -pthread || fail "the native library is not built"
cp "$folder/libvantrel_jni.so" "$packed" || exit 2
"$home/bin/javac" --release 11 -Xlint:all -Werror -d "$classes" "$top"/bindings/java/vantrel/*.java || fail "the classes are not built"
"$home/bin/jar" --create --file "$folder/vantrel.jar" -C "$classes" . || fail "the archive is not made"
echo "$folder/vantrel.jar"
