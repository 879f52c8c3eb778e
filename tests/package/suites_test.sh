#!/usr/bin/env bash
# Checks that "ctest -R NAME" finds cases for each public header and each class that it defines. The
# cases of a struct may be those of the operations that fill it, in a test file of its header.
#   tests/package/suites_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
cd "$1"

cases=$(ctest --test-dir "$2" -N | sed -nE 's/^ *Test +#[0-9]+: //p')
names=0 failures=0

# check NAME [TEST_FILES]
check() {
    names=$((names + 1))
    if ! grep -q "$1" <<<"$cases" &&
        ! { [[ -n ${2:-} ]] && grep -rqw --include="$2" "$1" tests; }; then
        echo "No case is named after $1"
        failures=$((failures + 1))
    fi
}

for path in include/*.h; do
    grep -q '^[^#/]' "$path" || continue  # macros and comments alone: no case can name it
    header=$(basename "$path" .h)
    check "$header"
    while read -r kind name; do
        [[ $kind == class ]] && files="" || files="$header*_test.cpp"
        [[ $name == "$header" ]] || check "$name" "$files"
    done < <(sed -nE '/;$/d; s/^(class|struct) (QOR_API )?(\w+).*/\1 \3/p' "$path")
done
echo "$names names, $failures without cases"
exit $((failures > 0 || names == 0))
