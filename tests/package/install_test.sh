#!/usr/bin/env bash
# Installs the library, then builds and runs consumers against the tree, against the tree moved
# elsewhere with each compiler, and through pkg-config.
#   install_test.sh BUILD_DIR CONSUMER_DIR
set -euo pipefail
build=$1 consumer=$2
# shellcheck source=consumer_support.sh source-path=SCRIPTDIR
source "$(dirname "$0")/consumer_support.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# build_against WHAT PREFIX COMPILER
build_against() {
    cmake -S "$consumer" -B "$work/build" --fresh -G Ninja "-DCMAKE_CXX_COMPILER=$3" \
        "-DCMAKE_PREFIX_PATH=$2" >/dev/null
    cmake --build "$work/build" >"$work/log" || { cat "$work/log"; fail "$1: does not build"; }
    run_consumers "$1" "$work/build"
}

cmake --install "$build" --prefix "$work/installed" >/dev/null
build_against "installed tree, g++" "$work/installed" g++

mv "$work/installed" "$work/moved"
for compiler in g++ clang++ clang++-16; do
    build_against "moved tree, $compiler" "$work/moved" "$compiler"
done
build_with_pkg_config "pkg-config, moved tree" "$consumer/main.cpp" \
    "$(dirname "$(find "$work/moved" -name qor_ComLib.pc)")" "$work/by_pkg_config"

library=$(find "$work/moved" -name libqor_ComLib.so)
soname=$(objdump -p "$library" | awk '$1 == "SONAME" {print $2}')
[[ $soname == libqor_ComLib.so.1 ]] || fail "unexpected SONAME: $soname"
nodes=$(objdump -p "$library" | sed -n '/^Version definitions:/,/^$/p' | awk 'NF == 4 {print $4}')
[[ $nodes == $'libqor_ComLib.so.1\nQOR_1' ]] || fail "unexpected version nodes: $nodes"
