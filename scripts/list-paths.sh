#!/usr/bin/env bash
# Prints the library's fixed paths as src/base/Paths.h has them, "NAME PATH" a line.
#   scripts/list-paths.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}"

header=src/base/Paths.h
root=$(sed -nE 's/^#define QOR_INSTALL_ROOT "(.*)"$/\1/p' "$header")
[[ $root == /* ]] || { echo "$header does not define QOR_INSTALL_ROOT" >&2; exit 1; }

# Literals side by side are one; the root is one of them.
paths=$(sed -nE 's/^constexpr char (k[A-Za-z]+)\[\] = (.*);$/\1 \2/p' "$header" |
    sed -E -e "s|QOR_INSTALL_ROOT|\"$root\"|" -e 's/" +"//g' -e 's/^([^ ]+) "(.*)"$/\1 \2/')

wanted=$(grep -c '^constexpr' "$header")
found=$(grep -cE '^k[A-Za-z]+ [^" ]+$' <<<"$paths" || true)
((found == wanted && found > 0)) || {
    echo "$header: $found of $wanted constants understood" >&2
    exit 1
}
echo "$paths"
