#!/usr/bin/env bash
# Checks that "ctest -R NAME" finds cases for each public header and each class that it exports.
#   tests/package/suites_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
cd "$1"

cases=$(ctest --test-dir "$2" -N | sed -nE 's/^ *Test +#[0-9]+: //p')
names=$(for header in include/*.h; do
    [[ $header == include/QorExport.h ]] || basename "$header" .h
    sed -nE 's/^class QOR_API ([A-Za-z]+).*/\1/p' "$header"
done | sort -u)
[[ -n $cases && -n $names ]] || { echo "no cases, or no public names" >&2; exit 1; }

failures=0
for name in $names; do
    if ! grep -q "$name" <<<"$cases"; then
        echo "No case is named after $name"
        failures=$((failures + 1))
    fi
done
echo "$(wc -w <<<"$names") names, $failures without cases"
exit $((failures > 0))
