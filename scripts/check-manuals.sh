#!/usr/bin/env bash
# Makes the reference in a scratch directory and checks it: Doxygen and mandoc have nothing to say,
# each public name has its page, another place and locale give the same bytes, and a name without a
# comment is noticed.
#   scripts/check-manuals.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

for tool in doxygen:doxygen lowdown:lowdown mandoc:mandoc ctags:universal-ctags python3:python3; do
    command -v "${tool%:*}" >/dev/null || {
        echo "${tool%:*} is missing: Debian package ${tool#*:} (scripts/install-deps.sh check)" >&2
        exit 1
    }
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

scripts/make-docs.sh "$work/first"

# All levels, style included. Titles are in lower case where names are: C++ tells cases apart.
pages=$(find "$work/first/man" -type f | wc -l)
((pages > 0)) || { echo "no manual pages" >&2; exit 1; }
complaints=$(find "$work/first/man" -type f -print0 | xargs -0 mandoc -T lint -W style |
    grep -v 'STYLE: lower case character in document title' || true)
[[ -z $complaints ]] || { echo "$complaints"; exit 1; }
echo "mandoc -T lint -W style: $pages pages clean"

scripts/check-manual-names.py "$work/first/man"

mkdir "$work/tree"
cp -r CMakeLists.txt docs include scripts "$work/tree/"
LC_ALL=C TZ=Pacific/Auckland "$work/tree/scripts/make-docs.sh" "$work/second" >/dev/null
diff -rq --no-dereference "$work/first" "$work/second"
! grep -rqF -e "$work" -e "$PWD" "$work/first" || {
    echo "paths of the builder in:"
    grep -rlF -e "$work" -e "$PWD" "$work/first"
    exit 1
}
echo "made again elsewhere: the same bytes"

find "$work/tree/include" -name '*.h' ! -name winapi.h -delete
rm "$work"/tree/docs/*.md
sed -i 's/^QOR_API int closesocket/QOR_API int WithoutComment();\n&/' "$work/tree/include/winapi.h"
if said=$("$work/tree/scripts/make-docs.sh" "$work/third" 2>&1); then
    echo "a function without a comment went unnoticed" >&2
    exit 1
fi
grep -q 'closesocket.*is not documented' <<<"$said" || {
    echo "a function without a comment gave another error:" >&2
    echo "$said" >&2
    exit 1
}
echo "a function without a comment is an error"
