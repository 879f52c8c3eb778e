#!/usr/bin/env bash
# Checks the documents against the tree: relative links lead to files and headings, and README.md
# mentions every public header.
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

((failures == 0)) && echo "$links links, every public header: clean"
exit $((failures > 0))
