#!/usr/bin/env bash
# Checks the documents against the tree: each row of docs/intended-surprises.md names tests, which
# exist; each header with an intended result has a section there; relative links lead to files and
# headings; README.md mentions every public header.
#   scripts/check-docs.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

surprises=docs/intended-surprises.md
documents=({README,CONTRIBUTING,SECURITY}.md docs/*.md {bench,fuzz,tests,tests/proof}/RESULTS.md)
failures=0

report() {
    echo "$1"
    failures=$((failures + 1))
}

[[ -f $surprises ]] || { echo "$surprises is missing"; exit 1; }

# Suite.Case of every test; the two names may stand on two lines.
tests=$(find tests -name '*.cpp' -exec cat {} + | tr '\n' ' ' |
    grep -oE '\bTEST(_F|_P)?\( *[A-Za-z0-9_]+, *[A-Za-z0-9_]+ *\)' |
    sed -E 's/^TEST[_FP]*\( *([A-Za-z0-9_]+), *([A-Za-z0-9_]+) *\)$/\1.\2/' | sort -u)

# The rows of the headers' sections, without the tables' heads.
rows=0
while IFS= read -r row; do
    rows=$((rows + 1))
    cell=$(sed -E 's/.* \| (.*) \|$/\1/' <<<"$row")
    names=$(grep -oE '[A-Za-z0-9_]+\.[A-Za-z0-9_]+' <<<"$cell" || true)
    [[ -n $names ]] || report "$surprises: a row names no test: $row"
    for name in $names; do
        grep -qxF "$name" <<<"$tests" || report "$surprises: no test $name in tests/"
    done
done < <(sed -n '/^## .*\.h$/,$p' "$surprises" | grep -E '^\|' | grep -vE '^\|(---| Operation )')
((rows > 0)) || report "$surprises holds no table"

while read -r header; do
    grep -qxF "## $(basename "$header")" "$surprises" ||
        report "$surprises has no section on $header"
done < <(grep -liE '\bintended\b' include/*.h)

# Whether the document $1 has a heading that "#$2" leads to.
has_anchor() {
    sed -n 's/^##* //p' "$1" | tr '[:upper:] ' '[:lower:]-' | sed 's/[^a-z0-9_-]//g' | grep -qxF "$2"
}

links=0
for document in "${documents[@]}"; do
    # Code is no text: fenced blocks, and what stands between backticks (\x60).
    while read -r target; do
        links=$((links + 1))
        file=${target%%#*}
        path=$document
        [[ -z $file ]] || path=$(dirname "$document")/$file
        [[ -e $path ]] || report "$document: no file $target"
        [[ ! -f $path || $target != *#* ]] || has_anchor "$path" "${target#*#}" ||
            report "$document: no heading $target"
    done < <(sed -e '/^\x60\{3\}/,/^\x60\{3\}/d' -e 's/\x60[^\x60]*\x60//g' "$document" |
        grep -oE '\]\([^) ]+\)' | sed -E 's/^\]\((.*)\)$/\1/' | grep -vE '^[a-z]+:' || true)
done

headers=(include/*.h)
for header in "${headers[@]}"; do
    grep -qE "(^|[^A-Za-z0-9_])$(basename "$header" .h)\.h" README.md ||
        report "README.md does not mention $(basename "$header")"
done

((failures == 0)) && echo "$rows surprises with tests, $links links, ${#headers[@]} headers: clean"
exit $((failures > 0))
