#!/usr/bin/env bash
# Installs what is missing, builds, and shows one request that goes all the way: a tool asks the
# object-manager service, which has a provider library run a method and answers through the spool
# directories. Exits non-zero when anything is not as it should be. Nothing outside the build tree
# is changed.
#   scripts/demo.sh [PRESET]    PRESET: demo (default), all, asan-ubsan, tsan, integer ...
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-demo}

scripts/install-deps.sh
cmake --preset "$preset"
cmake --build --preset "$preset" --target one_request
examples/one_request/run/run.sh show "build/$preset"
