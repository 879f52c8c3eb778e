#!/usr/bin/env bash
# The tests of a folder reach each line of it, and notice small changes to it; in a checkout below
# /tmp, which the tests cover, with a blank and a colon in its path.
#   folder_test.sh SOURCE_DIR WORK_DIR FOLDER    WORK_DIR: where the build stays; FOLDER: provider ...
set -euo pipefail
# shellcheck source=private.sh source-path=SCRIPTDIR
source "$(dirname "$0")/private.sh"
[[ ${QOR_PRIVATE_DISK:-} == yes ]] || enter_private "$0" "$@"
source_dir=$1 work=$2 folder=$3

place="/tmp/qor: a checkout of $UID"  # always the same, so that little is rebuilt
mkdir -p "$work"
cover /tmp 1777 "$source_dir" "$work"
mkdir "$place"
mount --bind "$work" "$place"

mutate=("$source_dir/scripts/mutate.py" --folder "$folder" --jobs 1 --build "$place"
    --define QOR_COVERAGE=ON CMAKE_UNITY_BUILD=ON)
find "$place" -name '*.gcda' -delete  # counters add up from run to run
"${mutate[@]}" --count 0
"$place/1/source/scripts/coverage.sh" "$place/1/build" "src/$folder"
"${mutate[@]}" --count 8
