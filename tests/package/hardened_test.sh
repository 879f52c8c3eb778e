#!/usr/bin/env bash
# The release builds of each compiler: library and programs are hardened.
#   hardened_test.sh SOURCE_DIR WORK_DIR    WORK_DIR: of scripts/check-warnings.sh
set -euo pipefail

for compiler in g++ clang++; do
    build=$2/$compiler-RelWithDebInfo
    echo "$compiler:"
    "$1/scripts/check-hardening.sh" "$build/libqor_ComLib.so" \
        "$build/tools/doctor/qor_doctor" "$build"/examples/one_request/qor_{som,cli}
done
