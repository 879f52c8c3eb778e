#!/usr/bin/env bash
# Reports how much of the library the tests have reached. Fails unless it is every line, but for
# those that say themselves why not (GCOVR_EXCL_LINE: reason), and 94.8 % of the branches.
#   scripts/coverage.sh BUILD_DIR [FOLDER...]
#     BUILD_DIR    built with QOR_COVERAGE, its tests have run
#     FOLDER       to look at alone: src/provider ...; 80 % of its branches, since the tests of other
#                  folders reach some; otherwise src and include
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require gcovr gcov
build=$(cd "${1:?BUILD_DIR is missing}" && pwd)
shift
cd "$(dirname "$0")/.."

branches=80
[[ $# -gt 0 ]] || { set -- src include; branches=94.8; }
# Branches without those that only exceptions take.
gcovr --root . "${@/#/--filter=}" --object-directory "$build" -j "$(nproc)" "$build" \
    --exclude-throw-branches --exclude-unreachable-branches \
    --print-summary --html-details "$build/coverage.html" --txt \
    --fail-under-line 100 --fail-under-branch "$branches"
echo "Line by line: $build/coverage.html"
