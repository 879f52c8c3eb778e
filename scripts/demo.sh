#!/usr/bin/env bash
# Installs what is missing, builds, and shows one request that goes all the way: a tool asks the
# object-manager service, which has a provider library run a method and answers through the spool
# directories. Exits non-zero when anything is not as it should be. Nothing outside the build tree
# is changed.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset release
cmake --build --preset release --target one_request
examples/one_request/run/run.sh show build/release
