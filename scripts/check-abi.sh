#!/usr/bin/env bash
# Compares the binary interface of a shared library with the stored baseline: what programs built
# against the baseline rely on must be there unchanged; additions pass. The library needs debug
# information.
#   scripts/check-abi.sh LIBRARY [BASELINE HEADER_DIR]    compares
#   scripts/check-abi.sh --store LIBRARY [BASELINE HEADER_DIR]    makes the library the baseline
set -euo pipefail

store=false
if [[ ${1:-} == --store ]]; then
    store=true
    shift
fi
root=$(cd "$(dirname "$0")/.." && pwd)
library=${1:?LIBRARY is missing}
baseline=${2:-$root/tests/package/qor_ComLib.abi.xz}
headers=${3:-$root/include}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Types that the headers only name, and what no exported name reaches, may change freely. Which
# types are the headers' own is told by the file names in the baseline; folders tell nothing more.
if $store; then
    abidw --exported-interfaces-only --drop-private-types --headers-dir "$headers" \
        --no-corpus-path --no-comp-dir-path --no-elf-needed "$library" |
        sed -E "s|(path=')[^']*/([^/']*')|\1\2|" | xz -9 >"$baseline"
    echo "stored: $baseline"
    exit 0
fi

xz --decompress <"$baseline" >"$work/baseline.abi"
result=0
abidiff --no-added-syms --exported-interfaces-only --drop-private-types --fail-no-debug-info \
    --headers-dir2 "$headers" "$work/baseline.abi" "$library" || result=$?
if ((result != 0)); then
    echo "The binary interface differs from the baseline (abidiff: $result); see docs/abi.md." >&2
    exit 1
fi
echo "binary interface: as in the baseline"
