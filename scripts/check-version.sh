#!/usr/bin/env bash
# Checks that the version of the top CMakeLists.txt is the one everywhere else: the changelogs,
# the built library's SONAME and file name, the pkg-config file and the CMake package.
#   scripts/check-version.sh BUILD_DIR
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require objdump
build=$(cd "${1:?BUILD_DIR is missing}" && pwd)
cd "$(dirname "$0")/.."

version=$(sed -nE 's/^project\(qor_ComLib VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt)
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || {
    echo "CMakeLists.txt: no version found" >&2
    exit 1
}
failures=0

# expect WHERE WANTED FOUND
expect() {
    [[ $3 == "$2" ]] && return
    echo "$1: expected $2, found ${3:-nothing}" >&2
    failures=$((failures + 1))
}

library=$build/libqor_ComLib.so.$version
[[ -f $library ]] || { echo "$library is missing" >&2; exit 1; }
expect CHANGELOG.md "$version" "$(sed -nE '/^## /{s/^## ([0-9.]+).*/\1/p;q}' CHANGELOG.md)"
expect debian/changelog "$version" \
    "$(sed -nE '1s/^[^(]*\(([0-9]+:)?([0-9.]+).*/\2/p' debian/changelog)"
expect packaging/rpm/qor-comlib.spec "$version" \
    "$(sed -n 's/^Version: *//p' packaging/rpm/qor-comlib.spec)"
expect SONAME "libqor_ComLib.so.${version%%.*}" \
    "$(objdump -p "$library" | awk '$1 == "SONAME" {print $2}')"
expect qor_ComLib.pc "$version" "$(sed -n 's/^Version: //p' "$build/pkgconfig/qor_ComLib.pc")"
expect qor_ComLibConfigVersion.cmake "$version" \
    "$(sed -nE 's/^set\(PACKAGE_VERSION "(.*)"\)/\1/p' "$build/qor_ComLibConfigVersion.cmake")"

((failures == 0)) && echo "$version everywhere"
exit $((failures > 0))
