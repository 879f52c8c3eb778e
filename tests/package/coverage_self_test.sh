#!/usr/bin/env bash
# Proves that the check of what tests reach can fail: a small report and list take the place of
# ours, and one change at a time is made to them.
#   coverage_self_test.sh CHECK_COVERAGE
set -euo pipefail
check_coverage=$1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir src
files=(src/Count.cpp report.json list.tsv)

write_original() {
    cat >src/Count.cpp <<'END'
#include "Count.h"

int Count::Next(int step)
{
    if (step < 0)
        return -1;
    return value_ += step;
}

int Count::Reset()
{
    if (value_ == 9)
        return -1;
    return value_ = 0;
}
END
    # Counts of the lines 3, 5, 6, ... and of the two functions.
    cat >report.json <<'END'
{"files": [{"file": "src/Count.cpp",
  "functions": [{"execution_count": 4, "lineno": 3, "name": "Count::Next(int)"},
    {"execution_count": 1, "lineno": 10, "name": "Count::Reset()"}],
  "lines": [{"branches": [], "count": 4, "line_number": 3},
    {"branches": [], "count": 4, "line_number": 5},
    {"branches": [], "count": 0, "line_number": 6},
    {"branches": [], "count": 4, "line_number": 7},
    {"branches": [], "count": 1, "line_number": 10},
    {"branches": [], "count": 1, "line_number": 12},
    {"branches": [], "count": 1, "line_number": 13},
    {"branches": [], "count": 1, "line_number": 14},
    {"branches": [], "count": 0, "line_number": 15, "gcovr/noncode": true}]}],
 "gcovr/format_version": "0.3"}
END
    printf '# a comment\n\n%s\t%s\t%s\t%s\n' \
        src/Count.cpp Count::Next "return -1;" "steps are not negative" >list.tsv
}

# expect pass|fail NAME SED_SCRIPT TEXT: makes the change in the files; the output holds TEXT.
expect() {
    local wanted=$1 name=$2 change=$3 text=$4 got=pass
    write_original
    cat "${files[@]}" >before
    sed -E -i "$change" "${files[@]}"
    ! cat "${files[@]}" | cmp -s before || [[ $name == unchanged ]] || {
        echo "$name: nothing was changed" >&2
        exit 1
    }
    "$check_coverage" report.json list.tsv >log 2>&1 || got=fail
    if [[ $got != "$wanted" ]] || ! grep -qF -- "$text" log; then
        cat log
        echo "$name: expected to $wanted with: $text" >&2
        exit 1
    fi
    echo "$name: $(grep -F -- "$text" log | head -n 1)"
}

all_well="7 of 8 lines and 2 of 2 functions reached, 1 listed: as it is to be"
gone="reached, or gone: src/Count.cpp, Count::Next: return -1;"

expect pass "unchanged" "" "$all_well"
expect pass "a listed line is indented otherwise" 's/^ +(return -1;)$/\t\1/' "$all_well"
expect pass "a listed line moves" \
    's/^    if \(step/    \/\/ why\n&/; s/("line_number": )7/\19/; s/("line_number": )6/\17/' \
    "$all_well"
expect fail "a row is missing" '/Count::Next\t/d' \
    "src/Count.cpp:6: not reached and not listed, in Count::Next: return -1;"
expect fail "another line is not reached" 's/4(, "line_number": 7)/0\1/' \
    "src/Count.cpp:7: not reached and not listed, in Count::Next: return value_ += step;"
expect fail "the same text in another function" 's/1(, "line_number": 13)/0\1/' \
    "src/Count.cpp:13: not reached and not listed, in Count::Reset: return -1;"
expect fail "a listed line is reached" 's/0(, "line_number": 6)/1\1/' "$gone"
expect fail "a listed line has gone" 's/^( *return -)1;$/\12;/' "$gone"
expect fail "a row stands twice" '/Count::Next\t/p' "$gone"
expect fail "a row without a reason" 's/steps are not negative//' \
    "list.tsv:3: not a file, a function, a text and a reason"
expect fail "a function is not reached" 's/("execution_count": )1/\10/' \
    "function not reached: src/Count.cpp:10: Count::Reset()"
expect fail "nothing is counted" '/"files"/c{"files": [],
/lineno|line_number/d' \
    "nothing was counted"
