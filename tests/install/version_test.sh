#!/bin/bash
# SPDX-License-Identifier: MIT
#
# version_test.sh SOURCE BUILD QT_MAJOR LIBRARY_NAME PACKAGE VERSION: every installed file with a
# version has the version of CMakeLists.txt.

set -euo pipefail
source=$1
build=$2
qt=$3
name=$4
package=$5
version=$6
major=${version%%.*}
failed=0

work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >"$work/log"
libdir=$(dirname "$(find "$prefix" -name "lib$name.so")")
export PKG_CONFIG_PATH=$libdir/pkgconfig${PKG_CONFIG_PATH:+:$PKG_CONFIG_PATH}
export LD_LIBRARY_PATH=$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}

# says WHO EXPECTED ACTUAL
says() {
    if [ "$3" != "$2" ]; then
        echo "$1: \"$3\" and not \"$2\""
        failed=1
    fi
}

for library in "$name" "${name/hnipc/hnipcasync}"; do
    says "file of lib$library" "lib$library.so.$version" \
        "$(basename "$(realpath "$libdir/lib$library.so")")"
    says "soname of lib$library" "lib$library.so.$major" \
        "$(readelf --dynamic --wide "$libdir/lib$library.so" \
            | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')"
    says "pkg-config $library" "$version" "$(pkg-config --modversion "$library")"
done

# The header and the library, with a program like a user's.
cat >"$work/version.cpp" <<'CODE'
#include <hnipc/hnipc.h>
#include <cstdio>
int main()
{
    printf("header %s\n", HNIPC_VERSION_STRING);
    printf("number %d.%d.%d\n", HNIPC_VERSION >> 16, HNIPC_VERSION >> 8 & 0xff,
           HNIPC_VERSION & 0xff);
    printf("library %s\n", hnipcVersion());
}
CODE
standard=$([ "$qt" -ge 6 ] && echo c++17 || echo c++11)
read -ra flags < <(pkg-config --cflags --libs "$name")
"${CXX:-g++}" -std="$standard" -fPIC "$work/version.cpp" -o "$work/version" "${flags[@]}"
says "the header and the library" "header $version
number $version
library $version" "$("$work/version")"

# CMake's package, which also refuses a request for another major version.
cat >"$work/CMakeLists.txt" <<'CODE'
cmake_minimum_required(VERSION 3.16)
project(version LANGUAGES CXX)
find_package(${PACKAGE} ${WANTED} QUIET)
message("package ${${PACKAGE}_FOUND} ${${PACKAGE}_VERSION}")
CODE
asked_for() {
    cmake -S "$work" -B "$work/build" -DPACKAGE="$package" -DWANTED="$1" -Wno-dev \
        -DCMAKE_PREFIX_PATH="$prefix" 2>&1 | sed -n 's/^package //p'
    rm -rf "$work/build"
}
says "CMake's $package" "1 $version" "$(asked_for "$version")"
says "CMake's $package for another major version" "0 " \
    "$(asked_for $((major + 1)) | sed 's/ .*/ /')"

for program in "$prefix"/bin/*; do
    [ -e "$program" ] || continue # there is none with Qt 4
    says "$(basename "$program") --version" "$(basename "$program") $version" \
        "$(QT_QPA_PLATFORM=offscreen "$program" --version)"
done

# The QML module has its own version, for its QML interface. Its major version is the library's.
qmltypes=$(find "$prefix" -name plugins.qmltypes)
if [ "$qmltypes" ]; then
    says "QML types" "HNIPC/HNIPC $major" \
        "$(sed -n 's/.*exports: \["\(HNIPC\/HNIPC [0-9]*\)\..*/\1/p' "$qmltypes")"
fi

says "CHANGELOG.md, at its head" "$version" \
    "$(sed -n 's/^## \([^ ]*\).*/\1/p' "$source/CHANGELOG.md" | head -1)"
says "debian/changelog, at its head" "$version" \
    "$(sed -n '1s/.*(\(.*\)).*/\1/p' "$source/debian/changelog")"

exit $failed
