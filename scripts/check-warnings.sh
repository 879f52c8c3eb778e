#!/usr/bin/env bash
# Builds the library with g++ and clang, for debugging and for release, with warnings as errors; for
# release the programs qor_doctor, qor_som and qor_cli too.
#   scripts/check-warnings.sh [SOURCE_DIR [WORK_DIR]]    WORK_DIR: where the builds stay
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

if [[ -n ${2:-} ]]; then
    work=$2
else
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
fi

for compiler in g++ clang++; do
    for type in Debug RelWithDebInfo; do
        cmake -S . -B "$work/$compiler-$type" -G Ninja "-DCMAKE_CXX_COMPILER=$compiler" \
            "-DCMAKE_BUILD_TYPE=$type" -DQOR_WARNINGS_AS_ERRORS=ON -DQOR_BUILD_TESTS=OFF \
            >/dev/null
        targets=(qor_ComLib)
        [[ $type == Debug ]] || targets+=(qor_doctor qor_som qor_cli)
        cmake --build "$work/$compiler-$type" --target "${targets[@]}"
        echo "$compiler $type: clean"
    done
done
