# Sourced by the tests that compare a table of operations with the exported names.
# shellcheck shell=bash
export LC_ALL=C
failures=0

# exported_operations SOURCE_DIR: what can be called of tests/package/exported_names.txt, as the
# tables spell it.
exported_operations() {
    grep -vE '^(typeinfo|vtable|VTT|virtual thunk|non-virtual thunk)' \
        "$1/tests/package/exported_names.txt" | short "$1"
}

# short SOURCE_DIR: names as the tables spell them, from the standard input, each once.
short() { sed -E -f "$1/tests/proof/support/short_names.sed" | sort -u; }

# expect_none WHAT LINES: the lines are a failure.
expect_none() {
    [[ -n $2 ]] || return 0
    printf '%s\n%s\n' "$1" "$2"
    failures=$((failures + 1))
}

# Lines of the first text that the second does not have; both sorted.
only_in_first() { comm -23 <(echo "$1") <(echo "$2"); }
in_both() { comm -12 <(echo "$1") <(echo "$2"); }
