#!/usr/bin/env bash
# Compares the table of operations with the exported names: each stands in it or among those that
# are left out with a reason, none is invented, and the program really calls what it lists.
#   table_test.sh SOURCE_DIR PROGRAM
set -euo pipefail
export LC_ALL=C
folder=$1/tests/proof/leaks
program=$2

short() { sed -E -f "$folder/short_names.sed" | sort -u; }

exported=$(grep -vE '^(typeinfo|vtable|VTT|virtual thunk|non-virtual thunk)' \
    "$1/tests/package/exported_names.txt" | short)
table=$("$program" --names)
covered=$(awk -F'\t' '$1 == "covered" { print $2 }' <<<"$table" | sort -u)
excluded=$(awk -F'\t' '$1 == "excluded" { print $2 }' <<<"$table" | sort -u)
imported=$(nm --dynamic --demangle --undefined-only "$program" | cut -c20- |
    sed -e 's/@.*$//' -e 's/\[abi:cxx11\]//g' \
        -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/string/g' |
    short)

failures=0
expect_none() {
    [[ -n $2 ]] || return 0
    printf '%s\n%s\n' "$1" "$2"
    failures=$((failures + 1))
}

listed=$(printf '%s\n%s\n' "$covered" "$excluded" | sort -u)
expect_none 'Exported, but not in the table of tests/proof/leaks:' \
    "$(comm -23 <(echo "$exported") <(echo "$listed"))"
expect_none 'In the table, but not exported:' \
    "$(comm -13 <(echo "$exported") <(echo "$listed"))"
expect_none 'Both covered and left out:' "$(comm -12 <(echo "$covered") <(echo "$excluded"))"
expect_none 'In the table, but nothing calls it:' \
    "$(comm -23 <(echo "$covered") <(echo "$imported"))"
expect_none 'Left out without a reason:' \
    "$(awk -F'\t' '$1 == "excluded" && $3 == "" { print $2 }' <<<"$table")"

echo "$(wc -l <<<"$exported") operations exported, $(wc -l <<<"$covered") covered," \
     "$(wc -l <<<"$excluded") left out; $failures kinds of differences"
exit $((failures > 0))
