#!/usr/bin/env bash
# Makes the HTML reference of the headers and documents, and manual pages of the documents.
#   scripts/make-docs.sh OUT_DIR [html|man]    writes OUT_DIR/html, and OUT_DIR/man/man5, man7 and man8
# The output depends on the tree alone: no dates of the build, no paths of the builder.
set -euo pipefail
[[ $# -eq 1 || ${2:-} == html || ${2:-} == man ]] || { sed -n 2,4p "$0" >&2; exit 2; }
kinds=${2:-html man}
source=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$1"
out=$(cd "$1" && pwd)
cd "$source"

# shellcheck source=require.sh source-path=SCRIPTDIR
source scripts/require.sh
version=$(sed -nE 's/^project\(qor_ComLib VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
[[ -n $version ]] || { echo "no version in CMakeLists.txt" >&2; exit 1; }

make_html() {
    require doxygen
    {
        cat docs/reference/Doxyfile
        printf '%s\n' "PROJECT_NUMBER = $version" "OUTPUT_DIRECTORY = \"$out\"" \
            "STRIP_FROM_PATH = \"$source/include\" \"$source\""
    } | LC_ALL=C.UTF-8 doxygen -
    mkdir "$out/html/pictures"
    cp docs/pictures/*.svg "$out/html/pictures"
}

make_man() {
    local date
    require lowdown python3
    date=$(sed -nE '/^ -- /{s/.*>  //p;q}' debian/changelog)
    LC_ALL=C.UTF-8 scripts/make-man.py "$out/man" "$version" "$(TZ=UTC date -d "$date" +%F)"
}

for kind in $kinds; do
    rm -rf "${out:?}/$kind"
    "make_$kind"
done
