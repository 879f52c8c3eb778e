#!/usr/bin/env bash
# Makes the reference: HTML and section 3 from the headers, sections 5 and 7 from docs/.
#   scripts/make-docs.sh OUT_DIR    writes OUT_DIR/{html,man/man3,man/man5,man/man7}
# The output depends on the tree alone: no dates of the build, no paths of the builder.
set -euo pipefail
[[ $# -eq 1 ]] || { sed -n 2,4p "$0" >&2; exit 2; }
source=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$1"
out=$(cd "$1" && pwd)
cd "$source"

for tool in doxygen lowdown python3; do
    command -v "$tool" >/dev/null || {
        echo "$tool is missing: Debian package $tool (scripts/install-deps.sh check)" >&2
        exit 1
    }
done
version=$(sed -nE 's/^project\(qor_ComLib VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
[[ -n $version ]] || { echo "no version in CMakeLists.txt" >&2; exit 1; }

rm -rf "$out/html" "$out/man" "$out/xml"
{
    cat docs/reference/Doxyfile
    printf '%s\n' "PROJECT_NUMBER = $version" "OUTPUT_DIRECTORY = \"$out\"" \
        "STRIP_FROM_PATH = \"$source/include\" \"$source\""
} | LC_ALL=C.UTF-8 doxygen -
scripts/make-man3.py "$out/xml" docs/manuals.ini "$out/man/man3" "$version"
scripts/make-man57.py docs/manuals.ini "$out/man" "$version"
rm -rf "$out/xml"
