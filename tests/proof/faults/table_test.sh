#!/usr/bin/env bash
# Compares the table of operations with the exported names: what touches files, processes or memory
# has cases, or stands in parts.txt. What it touches is not guessed: the proof of leaks calls each
# name once, and its calls of the kernel and its allocations are counted. Whether an operation calls
# what parts.txt says of it shows in the machine code: see calls.py.
#   table_test.sh SOURCE_DIR FAULTS_PROGRAM LEAKS_PROGRAM [PARTS]
set -euo pipefail
source_dir=$1 faults=$2 leaks=$3 parts=${4:-$1/tests/proof/faults/parts.txt}
# shellcheck source=../support/tables.sh source-path=SCRIPTDIR
source "$source_dir/tests/proof/support/tables.sh"

# "CIniFileReader.find_key" for "CIniFileReader::find_key(string, string&)"
plain() { sed -e 's/(.*$//' -e 's/::/./g' | sort -u; }

# Of lines "in WORD: NAME..." or "because WORD...: NAME...": the names, or what stands before them.
parts_names() { sed -nE "s/^$1 [^:]*: //p" "$parts" | tr ' ' '\n' | sort; }
parts_heads() { sed -nE "s/^$1 ([^:]*): .*/\1/p" "$parts" | sort -u; }

signatures=$(exported_operations "$source_dir")
exported=$(plain <<<"$signatures")
operations=$("$faults" --list | sort -u)
# The cases of "CFileTransfer.SendMessage.uninitialised" are "CFileTransfer.SendMessage"'s.
cases=$(sed 'p; s/\.[^.]*$//' <<<"$operations" | sort -u)
touches=$("$leaks" --touches)
called=$(cut -f2 <<<"$touches" | plain)
touching=$(awk -F'\t' '$3 + $4 > 0 { print $2 }' <<<"$touches" | plain)
untouching=$(only_in_first "$called" "$touching")
listed=$(sort -u <(parts_names in) <(parts_names because))
# Names with a list of types that another one has besides.
overloads=$(awk -F'(' 'NR == FNR { count[$1]++; next } count[$1] > 1' \
    <(echo "$signatures") <(echo "$signatures"))
touching_overloads=$(in_both "$overloads" \
    "$(awk -F'\t' '$3 + $4 > 0 { print $2 }' <<<"$touches" | sort)")
own=$(sed -nE 's/^as [^ :]+: //p' "$parts" | sort)
owners=$(sed -nE 's/^as ([^ :]+): .*/\1/p' "$parts" | sort)
# Lines "OPERATION<tab>NAME": what is said to be called by it.
claims=$(sed -nE 's/^as ([^ :]+): /\1\t/p' "$parts"
    awk '$1 == "in" { sub(":", "", $2); for (i = 3; i <= NF; i++) print $2 "\t" $i }' "$parts")

expect_none 'Lines of parts.txt that cannot be read:' \
    "$(grep -vE '^(#|in [^ :]+: [^ ]|because [^:]+: [^ ]|as [^ :]+: [^ ]+\()' "$parts" || true)"
expect_none 'Named twice in parts.txt:' \
    "$(sort <(parts_names in) <(parts_names because) | uniq --repeated)"
expect_none 'In parts.txt, but not exported:' "$(only_in_first "$listed" "$exported")"
expect_none 'In parts.txt, though it has cases:' "$(in_both "$listed" "$cases")"
expect_none 'In parts.txt, though it touches nothing:' "$(in_both "$listed" "$untouching")"
expect_none 'Operations in parts.txt that there are not:' \
    "$(only_in_first "$(sort -u <(parts_heads in) <(parts_heads as))" "$operations")"
expect_none 'Overloads with cases of their own that are no overloads:' \
    "$(only_in_first "$(uniq <<<"$own")" "$overloads")"
expect_none 'Overloads that touch something, without cases of their own:' \
    "$(only_in_first "$touching_overloads" "$(uniq <<<"$own")")"
expect_none 'Overloads named twice, or two as one operation:' \
    "$(uniq --repeated <<<"$own" && uniq --repeated <<<"$owners")"
expect_none 'Not called by the operation that parts.txt names:' \
    "$(python3 "$source_dir/tests/proof/faults/calls.py" "$faults" \
        "$source_dir"/tests/proof/faults/*.cpp <<<"$claims")"
known=$(sort -u <(echo "$cases") <(echo "$listed") <(echo "$untouching"))
expect_none 'Touches something, without cases in tests/proof/faults, and not in parts.txt:' \
    "$(only_in_first "$exported" "$known")"

echo "$(wc -l <<<"$exported") names exported, $(in_both "$exported" "$cases" | wc -l) with cases," \
     "$(wc -l <<<"$listed") parts of others, $(wc -l <<<"$own") overloads,"\
     "$(only_in_first "$(in_both "$exported" "$untouching")" "$cases" | wc -l) touch nothing;" \
     "$failures kinds of differences"
exit $((failures > 0))
