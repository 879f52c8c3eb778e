#!/usr/bin/env bash
# Compares the names that the shared library exports with the committed list.
#   exports_test.sh SOURCE_DIR LIBRARY
set -euo pipefail

if ! diff -u "$1/tests/package/exported_names.txt" <("$1/scripts/list-exports.sh" "$2"); then
    echo "The exported names differ. If that is meant: scripts/list-exports.sh LIBRARY" \
         "> tests/package/exported_names.txt" >&2
    exit 1
fi
