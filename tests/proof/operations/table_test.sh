#!/usr/bin/env bash
# Compares the table of operations with the names to be exported: each has a row, or stands
# among those that are left out with a reason; no row is invented; the program calls what it lists.
#   table_test.sh [--self-test] PROGRAM VERSION_SCRIPT
# --self-test: proves that a forgotten row shows.
set -euo pipefail
export LC_ALL=C
self_test=false
[[ $1 != --self-test ]] || { self_test=true; shift; }
program=$1 script=$2

# as_the_table_spells: the names of functions and data, without namespaces, allocators and the blanks
# that closing brackets get.
as_the_table_spells() {
    sed -E -e 's/@.*$//' -e 's/\[abi:cxx11\]//g' \
        -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/string/g' \
        -e 's/std::(__cxx11::)?//g' -e ':again' -e 's/, allocator<([^<>]|<[^<>]*>)*>//' -e 't again' \
        -e 's/ >/>/g' | sort -u
}
only_in_first() { comm -23 <(echo "$1") <(echo "$2"); }

differences=0
# expect_none WHAT LINES: the lines are a failure.
expect_none() {
    [[ -n $2 ]] || return 0
    printf '%s\n%s\n' "$1" "$2"
    differences=$((differences + 1))
}

exported=$(sed -nE 's/^ +(\w+);$/\1/p' "$script" | c++filt | grep -vE '^(typeinfo|vtable|VTT) ' |
    as_the_table_spells)
imported=$(nm --dynamic --demangle --undefined-only "$program" | cut -c20- | as_the_table_spells)
table=$("$program" --names)
$self_test && table=$(grep -vF 'SendMessage(string)' <<<"$table")
covered=$(awk -F'\t' '$1 == "covered" { print $2 }' <<<"$table" | sort -u)
left_out=$(awk -F'\t' '$1 == "left out" { print $2 }' <<<"$table" | sort -u)

expect_none 'Exported, without a row. Add one for each to tests/proof/operations/*.cpp:' \
    "$(only_in_first "$exported" "$(sort -u <(echo "$covered") <(echo "$left_out"))")"
expect_none 'Has a row in tests/proof/operations/, but is not exported:' \
    "$(only_in_first "$covered" "$exported")"
expect_none 'Left out in tests/proof/operations/Operation.cpp, but not exported:' \
    "$(only_in_first "$left_out" "$exported")"
expect_none 'Both called and left out:' "$(comm -12 <(echo "$covered") <(echo "$left_out"))"
expect_none 'Has a row, but nothing calls it:' "$(only_in_first "$covered" "$imported")"

echo "$(wc -l <<<"$exported") names exported, $(wc -l <<<"$covered") with rows," \
     "$(wc -l <<<"$left_out") left out; $differences kinds of differences"
if $self_test; then
    [[ $differences -eq 1 ]] || { echo "The forgotten row is not the one difference." >&2; exit 1; }
    exit 0
fi
exit $((differences > 0))
