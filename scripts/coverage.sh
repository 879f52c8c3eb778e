#!/usr/bin/env bash
# Tells how much of the library the tests have reached, and fails below what is expected: lines
# 98 %, branches 90 %, each function; a line that is not reached must stand in
# tests/coverage_exceptions.tsv with its reason, and nothing else may.
#   scripts/coverage.sh BUILD_DIR [FOLDER...]
#     BUILD_DIR    built with QOR_COVERAGE, its tests have run
#     FOLDER       of src/, to look at alone: provider ...; 80 % of its branches, since the tests of
#                  other folders reach some; otherwise all, and include/
set -euo pipefail
build=$(cd "${1:?BUILD_DIR is missing}" && pwd)
shift
cd "$(dirname "$0")/.."
result=0

filters=(--filter src/ --filter include/)
branches=90
exceptions=tests/coverage_exceptions.tsv
if [[ $# -gt 0 ]]; then
    filters=()
    branches=80
    exceptions=$build/coverage_exceptions.tsv
    : >"$exceptions"
    for folder in "$@"; do
        filters+=(--filter "src/$folder/")
        grep "^src/$folder/" tests/coverage_exceptions.tsv >>"$exceptions" || [[ $? -eq 1 ]]
    done
fi

# Branches without those that only exceptions take.
gcovr --root . "${filters[@]}" --object-directory "$build" -j "$(nproc)" "$build" \
    --exclude-throw-branches --exclude-unreachable-branches \
    --print-summary --html-details "$build/coverage.html" --txt "$build/coverage.txt" \
    --json "$build/coverage.json" --fail-under-line 98 --fail-under-branch "$branches" || result=$?
cat "$build/coverage.txt"
echo "Line by line: $build/coverage.html"
scripts/check-coverage.py "$build/coverage.json" "$exceptions" || result=$?
exit "$result"
