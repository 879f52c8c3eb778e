#!/usr/bin/env bash
# Compares the table of operations with the exported names: each stands in it or among those that
# are left out with a reason, none is invented, and the program really calls what it lists.
#   table_test.sh SOURCE_DIR PROGRAM
set -euo pipefail
source_dir=$1 program=$2
# shellcheck source=../support/tables.sh source-path=SCRIPTDIR
source "$source_dir/tests/proof/support/tables.sh"

exported=$(exported_operations "$source_dir")
table=$("$program" --names)
covered=$(awk -F'\t' '$1 == "covered" { print $2 }' <<<"$table" | sort -u)
excluded=$(awk -F'\t' '$1 == "excluded" { print $2 }' <<<"$table" | sort -u)
imported=$(nm --dynamic --demangle --undefined-only "$program" | cut -c20- |
    sed -e 's/@.*$//' -e 's/\[abi:cxx11\]//g' \
        -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/string/g' |
    short "$source_dir")

listed=$(printf '%s\n%s\n' "$covered" "$excluded" | sort -u)
expect_none 'Exported, but not in the table of tests/proof/leaks:' \
    "$(only_in_first "$exported" "$listed")"
expect_none 'In the table, but not exported:' "$(only_in_first "$listed" "$exported")"
expect_none 'Both covered and left out:' "$(in_both "$covered" "$excluded")"
expect_none 'In the table, but nothing calls it:' "$(only_in_first "$covered" "$imported")"
expect_none 'Left out without a reason:' \
    "$(awk -F'\t' '$1 == "excluded" && $3 == "" { print $2 }' <<<"$table")"

echo "$(wc -l <<<"$exported") operations exported, $(wc -l <<<"$covered") covered," \
     "$(wc -l <<<"$excluded") left out; $failures kinds of differences"
exit $((failures > 0))
