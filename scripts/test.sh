#!/usr/bin/env bash
# Installs what is missing, builds and runs every test.
#   scripts/test.sh [PRESET]    PRESET: all (default), all-clang, all-release, asan-ubsan, tsan; dev ...
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-all}

scripts/install-deps.sh build check
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset" --parallel $(($(nproc) + 2))  # some tests wait
