#!/usr/bin/env bash
# Brings up to date what follows from the headers: the list of exported names and, where operations
# are new, the stored interface. Builds the library and the table of operations (preset all), and
# reports all that the new operations still lack. The interface is stored once they lack nothing.
set -euo pipefail
cd "$(dirname "$0")/.."
library=build/all/libqor_ComLib.so
complete=true

# check COMMAND...: goes on after a failure.
check() { "$@" || complete=false; }

new=$(mktemp)
trap 'rm "$new"' EXIT
scripts/exports.py >"$new"
cmp -s "$new" cmake/qor_ComLib.map || cat "$new" >cmake/qor_ComLib.map

cmake --preset all >/dev/null
check cmake --build --preset all --target qor_ComLib qor_proof_leaks -- -k 0
check scripts/exports.py "$library"
check tests/proof/operations/table_test.sh build/all/tests/proof/qor_proof_leaks cmake/qor_ComLib.map
check scripts/check-docs.py
additions=0 interface=0
scripts/check-additions.py || additions=$?
scripts/check-abi.sh "$library" || interface=$?
[[ $additions =~ ^[03]$ && $interface =~ ^(0|77)$ ]] || complete=false
$complete || { echo "The interface is not stored: see above." >&2; exit 1; }
((additions + interface == 0)) || scripts/check-abi.sh --store "$library"
