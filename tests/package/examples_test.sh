#!/usr/bin/env bash
# Builds examples and tools by themselves, against the installed package alone, and runs the basic
# examples. Installed programs use the package's library, not a copy of it.
#   examples_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1 source_dir=$2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/installed" >/dev/null
for folder in examples tools; do
    mkdir "$work/$folder"
    cp -R "$source_dir/$folder" "$work/$folder/source" # nothing else of the tree is there
    cmake -S "$work/$folder/source" -B "$work/$folder/build" -G Ninja \
        "-DCMAKE_PREFIX_PATH=$work/installed" -DCMAKE_UNITY_BUILD=ON >/dev/null
    cmake --build "$work/$folder/build" --parallel 1 >"$work/log" || { cat "$work/log"; exit 1; }
    if grep -q 'warning:' "$work/log"; then
        cat "$work/log"
        exit 1
    fi
done
"$work/examples/source/basics/run.sh" "$work/examples/build/basics"
"$work/tools/build/doctor/qor_doctor" --version

cmake --install "$work/examples/build" --component one_request --prefix "$work/tree" >/dev/null
for program in bin/qor_cli sbin/qor_som provider/libqorp_Inventory.so; do
    ldd "$work/tree/$program" | grep -F "=> $work/installed/" ||
        { echo "$program uses another library: $(ldd "$work/tree/$program")" >&2; exit 1; }
done
