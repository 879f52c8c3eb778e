#!/usr/bin/env bash
# Tells how much of the library the tests have reached, and fails below what is expected: lines
# 98 %, branches 90 %, each function; a line that is not reached must stand in
# tests/coverage_exceptions.tsv with its reason, and nothing else may.
#   scripts/coverage.sh BUILD_DIR    BUILD_DIR: built with QOR_COVERAGE, its tests have run
set -euo pipefail
build=$(cd "${1:?BUILD_DIR is missing}" && pwd)
cd "$(dirname "$0")/.."
result=0

# Branches without those that only exceptions take.
gcovr --root . --filter src/ --filter include/ --object-directory "$build" -j "$(nproc)" "$build" \
    --exclude-throw-branches --exclude-unreachable-branches \
    --print-summary --html-details "$build/coverage.html" --txt "$build/coverage.txt" \
    --json "$build/coverage.json" --fail-under-line 98 --fail-under-branch 90 || result=$?
cat "$build/coverage.txt"
echo "Line by line: $build/coverage.html"
scripts/check-coverage.py "$build/coverage.json" tests/coverage_exceptions.tsv || result=$?
exit "$result"
