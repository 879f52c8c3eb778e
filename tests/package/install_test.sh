#!/usr/bin/env bash
# Installs the library aside, moves it, and builds and runs a consumer against the moved package.
#   install_test.sh BUILD_DIR CONSUMER_DIR CXX_COMPILER
set -euo pipefail
build=$1 consumer=$2 compiler=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
cmake -S "$consumer" -B "$work/build" -G Ninja "-DCMAKE_CXX_COMPILER=$compiler" \
    "-DCMAKE_PREFIX_PATH=$work/moved" >/dev/null
cmake --build "$work/build"

output=$("$work/build/consumer")
[[ $output == "/opt/velmora/qor/som caught across the library's border" ]] || {
    echo "unexpected output: $output" >&2
    exit 1
}
library=$(find "$work/moved" -name libqor_ComLib.so)
soname=$(objdump -p "$library" | awk '$1 == "SONAME" {print $2}')
[[ $soname == libqor_ComLib.so.1 ]] || { echo "unexpected SONAME: $soname" >&2; exit 1; }
echo "consumer: $output"
