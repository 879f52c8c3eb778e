#!/usr/bin/env bash
# Builds the library as part of a consumer's tree, runs the consumer, installs the library from
# there into directories that were given as absolute paths, and uses it through pkg-config.
#   subdirectory_test.sh SOURCE_DIR CONSUMER_DIR
set -euo pipefail
source_dir=$1 consumer=$2
# shellcheck source=consumer_support.sh source-path=SCRIPTDIR
source "$(dirname "$0")/consumer_support.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake -S "$consumer" -B "$work/build" -G Ninja "-DQOR_SOURCE_DIR=$source_dir" \
    "-DCMAKE_INSTALL_PREFIX=$work/prefix" "-DCMAKE_INSTALL_LIBDIR=$work/absolute/lib" \
    "-DCMAKE_INSTALL_INCLUDEDIR=$work/absolute/headers" >/dev/null
cmake --build "$work/build" >"$work/log" || { cat "$work/log"; fail "does not build"; }
run_consumers "subdirectory" "$work/build"

cmake --install "$work/build" >/dev/null
rm -r "$work/build"
build_with_pkg_config "pkg-config, absolute directories" "$consumer/main.cpp" \
    "$work/absolute/lib/pkgconfig" "$work/by_pkg_config"
