#!/usr/bin/env bash
# The tests of folders reach what these hold: each line and function.
#   folder_coverage_test.sh SOURCE_DIR WORK_DIR FOLDER...    FOLDER: provider ...
#     WORK_DIR: where the build stays
set -euo pipefail
usage="usage: folder_coverage_test.sh SOURCE_DIR WORK_DIR FOLDER..."
source_dir=${1:?$usage}
build=${2:?$usage}
shift 2
[[ $# -gt 0 ]] || { echo "$usage" >&2; exit 2; }

mkdir -p "$build"
cmake -S "$source_dir" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=Debug \
    -DQOR_COVERAGE=ON >/dev/null
cmake --build "$build" --target "${@/#/qor_test_}" >"$build/log" ||
    { tail -n 60 "$build/log"; exit 1; }

find "$build" -name '*.gcda' -delete  # counters add up from run to run
for folder in "$@"; do
    GTEST_BRIEF=1 "$build/tests/$folder/qor_test_$folder"
done
"$source_dir/scripts/coverage.sh" "$build" "$@"
