#!/usr/bin/env bash
# Compares the binary interface of a shared library with the stored baseline: what programs built
# against the baseline rely on must be there unchanged; additions pass. The library needs debug
# information. Types that only the headers know, plain records, are compared as well: a small
# library that uses each of them stands for the programs.
# Compilers, and versions of libabigail, describe one interface in different words: each pair has a
# baseline of its own in tests/package/abi/, and where there is none the comparison is skipped.
#   scripts/check-abi.sh LIBRARY [BASELINE.abi.xz HEADER_DIR]            compares
#   scripts/check-abi.sh --store LIBRARY [BASELINE.abi.xz HEADER_DIR]    makes it the baseline
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require abidw abidiff xz g++

store=false
if [[ ${1:-} == --store ]]; then
    store=true
    shift
fi
root=$(cd "$(dirname "$0")/.." && pwd)
library=${1:?LIBRARY is missing}
tools=$(g++ -dumpmachine)_g++-$(g++ -dumpversion)_$(abidw --version | sed 's/: /-/')
baseline=${2:-$root/tests/package/abi/$tools.abi.xz}
types_baseline=${baseline%.abi.xz}.types.abi.xz
headers=${3:-$root/include}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Prints a library that takes an object of each type that the headers define.
build_types() {
    local header name
    for header in "$headers"/*.h; do
        printf '#include "%s"\n' "${header##*/}"
        sed -nE '/;$/d; s/^class QOR_API /class /; s/^(class|struct) (\w+).*/\2/p' "$header" |
            while read -r name; do
                printf 'void Use(%s&);\nvoid Use(%s&) {}\n' "$name" "$name"
            done
    done >"$work/types.cpp"
    g++ -std=c++17 -g -shared -fPIC -I "$headers" "$work/types.cpp" -o "$work/libtypes.so"
}

# File names in the baseline say which types are the headers' own; folders are left out. Types that
# the headers only name, and what no exported name reaches, may change freely.
store_baseline() {
    abidw --exported-interfaces-only --drop-private-types --headers-dir "$headers" \
        --no-corpus-path --no-comp-dir-path --no-elf-needed "$1" |
        sed -E "s|(path=')[^']*/([^/']*')|\1\2|" | xz -9 >"$2"
    echo "stored: $2"
}

compare() {
    local result=0
    xz --decompress <"$2" >"$work/baseline.abi"
    abidiff --no-added-syms --exported-interfaces-only --drop-private-types \
        --fail-no-debug-info --headers-dir2 "$headers" "$work/baseline.abi" "$1" || result=$?
    ((result == 0)) || echo "abidiff: $result" >&2
    return "$result"
}

build_types
if $store; then
    store_baseline "$library" "$baseline"
    store_baseline "$work/libtypes.so" "$types_baseline"
    exit 0
fi

[[ -f $baseline ]] || {
    echo "There is no baseline of $tools: scripts/renew.sh makes one" >&2
    exit 77
}
same=true
compare "$library" "$baseline" || same=false
compare "$work/libtypes.so" "$types_baseline" || same=false
$same || { echo "The binary interface differs from the baseline; see docs/abi.md." >&2; exit 1; }
echo "binary interface: as in the baseline"
