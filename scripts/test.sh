#!/usr/bin/env bash
# Installs what is missing, builds and runs every test.
#   scripts/test.sh [PRESET]    PRESET: dev (default), dev-clang, release, asan-ubsan, tsan
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-dev}

scripts/install-deps.sh build check
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset" --parallel "$(nproc)"
