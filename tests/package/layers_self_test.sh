#!/usr/bin/env bash
# The check of the layers finds an upward include by bare name, by path and from a header, and a
# spelt install root.
#   tests/package/layers_self_test.sh SOURCE_DIR
set -euo pipefail
cd "$1"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

while read -r file line; do
    rm -rf "${work:?}"/*
    cp -r src include "$work/"
    printf '%s\n' "$line" >>"$work/$file"
    if scripts/check-layers.sh "$work" >/dev/null; then
        echo "not found: $file: $line" >&2
        exit 1
    fi
done <<'END'
src/base/Format.cpp #include "CFileTransfer.h"
src/config/IniSyntax.cpp #include "trace/TraceScope.h"
src/config/IniSyntax.h #include "CTraceUtility.h"
src/base/Handles.h #include <CTraceUtility.h>
include/CStringUtil.h #include "CTraceUtility.h"
src/util/winapi/winapi_file.cpp const char root[] = "/opt/velmora";
END
echo "each found"
