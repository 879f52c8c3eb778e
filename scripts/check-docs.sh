#!/usr/bin/env bash
# Checks the documents against the tree: relative links lead to files and headings; README.md mentions
# every public header; docs/intended-surprises.md has a section on each header with an intended
# result, and each row there names tests, which exist.
#   scripts/check-docs.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"
failures=0

report() {
    echo "$1"
    failures=$((failures + 1))
}

# links_of DOCUMENT: without code, which is in fences or between backticks (\x60).
links_of() {
    sed -e '/^\x60\{3\}/,/^\x60\{3\}/d' -e 's/\x60[^\x60]*\x60//g' "$1" |
        grep -oE '\]\([^) ]+\)' | sed -E 's/^\]\((.*)\)$/\1/' | grep -vE '^[a-z]+:'
}

# Whether the document $1 has a heading that "#$2" leads to.
has_anchor() {
    sed -n 's/^##* //p' "$1" | tr '[:upper:] ' '[:lower:]-' | sed 's/[^a-z0-9_-]//g' | grep -qxF "$2"
}

links=0
while read -r document; do
    while read -r link; do
        links=$((links + 1))
        target=$(dirname "$document")/${link%%#*}
        [[ $link != \#* ]] || target=$document
        if [[ ! -e $target ]]; then
            report "$document: no file $link"
        elif [[ $link == *\#* ]] && ! has_anchor "$target" "${link#*#}"; then
            report "$document: no heading $link"
        fi
    done < <(links_of "$document" || true)
done < <(find . -path './build*' -prune -o -name '*.md' -print)
((links > 0)) || report "no document has a link"

for header in include/*.h; do
    grep -qwF "$(basename "$header")" README.md || report "README.md: no mention of $header"
done

surprises=docs/intended-surprises.md
while read -r header; do
    grep -qxF "## $(basename "$header")" "$surprises" ||
        report "$surprises: no section on $header"
done < <(grep -liE '\bintended\b' include/*.h)

# Suite.Case of every test; the two names may stand on two lines.
tests=$(find tests -name '*.cpp' -exec cat {} + | tr '\n' ' ' |
    grep -oE '\bTEST(_F|_P)?\( *[A-Za-z0-9_]+, *[A-Za-z0-9_]+ *\)' |
    sed -E 's/^TEST[_FP]*\( *([A-Za-z0-9_]+), *([A-Za-z0-9_]+) *\)$/\1.\2/' | sort -u)
rows=0
while read -r row; do
    rows=$((rows + 1))
    names=$(sed -E 's/.* \| (.*) \|$/\1/' <<<"$row" | grep -oE '[A-Za-z0-9_]+\.[A-Za-z0-9_]+') ||
        report "$surprises: no test in the row $row"
    for name in $names; do
        grep -qxF "$name" <<<"$tests" || report "$surprises: no test $name"
    done
done < <(sed -n '/^## .*\.h$/,$p' "$surprises" | grep '^|' | grep -vE '^\|(---| Operation )')
((rows > 0)) || report "$surprises: no rows"

((failures == 0)) && echo "$links links, every public header, $rows surprises with tests: clean"
exit $((failures > 0))
