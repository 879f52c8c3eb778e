#!/usr/bin/env bash
# Builds the examples by themselves, against the installed package alone, and runs the basic ones.
#   examples_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1 source_dir=$2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/installed" >/dev/null
cp -R "$source_dir/examples" "$work/examples" # nothing else of the tree is there
cmake -S "$work/examples" -B "$work/build" -G Ninja "-DCMAKE_PREFIX_PATH=$work/installed" \
    >/dev/null
cmake --build "$work/build" >"$work/log" || { cat "$work/log"; exit 1; }
if grep -q 'warning:' "$work/log"; then
    cat "$work/log"
    exit 1
fi
"$work/examples/basics/run.sh" "$work/build/basics"
