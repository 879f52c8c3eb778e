#!/usr/bin/env bash
# Compares the names at which things are planted with the fixed paths of the library: each stands
# in the table or among those that are left out with a reason.
#   paths_test.sh SOURCE_DIR PROGRAM
set -euo pipefail
export LC_ALL=C

table=$("$2" --names)
wanted=$("$1/scripts/list-paths.sh" "$1" | cut -d' ' -f1 | sort -u)
listed=$(cut -f2 <<<"$table" | sort -u)
reasonless=$(awk -F'\t' '$1 == "left out" && $3 == "" { print $2 }' <<<"$table")

diff -u <(echo "$wanted") <(echo "$listed") ||
    { echo 'The table of tests/proof/hostile/Cases.cpp and src/base/Paths.h differ.'; exit 1; }
[[ -z $reasonless ]] || { echo "Left out without a reason: $reasonless"; exit 1; }
echo "$(wc -l <<<"$wanted") fixed paths, each planted or left out with a reason"
