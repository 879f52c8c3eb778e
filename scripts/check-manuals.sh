#!/usr/bin/env bash
# Makes the reference in a scratch directory and checks it: doxygen and mandoc(1) report nothing,
# a blank line follows each table, headers link to documents, and another place, time zone and locale
# give the same bytes. Proves that a public name without a
# comment, a link to a missing heading and a page with a wrong macro are reported.
#   scripts/check-manuals.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"
# shellcheck source=require.sh source-path=SCRIPTDIR
source scripts/require.sh
require doxygen lowdown python3 mandoc col
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

pages_are_valid() {
    local pages
    pages=$(find "$1" -type f | wc -l)
    ((pages > 0)) || { echo "no manual pages"; return 1; }
    find "$1" -type f -print0 | xargs -0 mandoc -T lint -W warning || return 1
    echo "mandoc -T lint -W warning: $pages pages clean"
}

# A table's last line, and then text.
tables_are_set_off() {
    local page
    for page in "$1"/man[78]/*; do
        mandoc -T ascii "$page" | col -b -x | awk -v page="${page##*/}" '
            after && NF && !/^ *\|/ { print page ": no blank line before: " $0; bad = 1 }
            { after = /^ *\+-[-+]*\+$/ }
            END { exit bad }' || return 1
    done
    echo "a blank line follows each table"
}

# Runs a command that has to fail and to print PATTERN: fails_with PATTERN COMMAND...
fails_with() {
    local pattern=$1 output
    shift
    if output=$("$@" 2>&1) || ! grep -q "$pattern" <<<"$output"; then
        printf '%s: no failure with "%s":\n%s\n' "$*" "$pattern" "$output" >&2
        exit 1
    fi
    echo "found: $pattern"
}

scripts/make-docs.sh "$work/first"
pages_are_valid "$work/first/man"
tables_are_set_off "$work/first/man"
grep -qE '<a class="el" href="qor_channel\.html"' "$work/first/html/classCFileTransfer.html" ||
    { echo "the reference of CFileTransfer has no link to its document" >&2; exit 1; }
grep -q 'href="reference\.css"' "$work/first/html/qor_channel.html" ||
    { echo "the reference lacks its style sheet, by which titles are larger than headings" >&2; exit 1; }
! grep -rlE 'docs/[a-z-]+\.md' "$work/first/html" --include='*.html' ||
    { echo "these pages name documents without a link" >&2; exit 1; }

mkdir "$work/tree"
cp -r CMakeLists.txt debian docs include scripts tools "$work/tree/"
LC_ALL=C TZ=Pacific/Auckland "$work/tree/scripts/make-docs.sh" "$work/second" >/dev/null
diff -rq --no-dereference "$work/first" "$work/second"
if grep -rlF -e "$work" -e "$PWD" "$work/first"; then
    echo "these files hold paths of the builder" >&2
    exit 1
fi
echo "made again elsewhere: the same bytes"

cd "$work/tree"
find include docs \( -name '*.h' -o -name '*.md' \) ! -name winapi.h -delete
sed -i 's/^QOR_API int closesocket.*/&\nQOR_API int WithoutComment();/' include/winapi.h
fails_with 'WithoutComment.*is not documented' scripts/make-docs.sh "$work/third"
sed -i '/WithoutComment/d' include/winapi.h
printf '# Page\n\nSee [there](#nowhere).\n' >docs/page.md
fails_with 'unable to resolve reference' scripts/make-docs.sh "$work/third"
printf '.nonsense\n' >>"$work/first/man/man7/qor.7qor"
fails_with 'unknown macro' pages_are_valid "$work/first/man"
sed -i '/^\.sp$/d' "$work/first/man/man7/qor_logging.7qor"
fails_with 'no blank line before' tables_are_set_off "$work/first/man"
