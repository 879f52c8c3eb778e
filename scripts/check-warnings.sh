#!/usr/bin/env bash
# Builds the library with g++ and clang, for debugging and for release, with warnings as errors.
#   scripts/check-warnings.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for compiler in g++ clang++; do
    for type in Debug RelWithDebInfo; do
        cmake -S . -B "$work/$compiler-$type" -G Ninja "-DCMAKE_CXX_COMPILER=$compiler" \
            "-DCMAKE_BUILD_TYPE=$type" -DQOR_WARNINGS_AS_ERRORS=ON -DQOR_BUILD_TESTS=OFF \
            -DQOR_BUILD_EXAMPLES=OFF >/dev/null
        cmake --build "$work/$compiler-$type"
        echo "$compiler $type: clean"
    done
done
