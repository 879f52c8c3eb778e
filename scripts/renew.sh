#!/usr/bin/env bash
# Renews the list of what the library exports, which follows from the headers. Then reports what is
# still missing of operations that are new.
#   scripts/renew.sh [--abi LIBRARY]
#     --abi LIBRARY    stores its binary interface as the baseline as well; built by g++ with debug
#                      information. docs/abi.md says what a change of it means.
set -euo pipefail
cd "$(dirname "$0")/.."

# renew FILE COMMAND...: a failure leaves the file as it is.
renew() {
    local file=$1 new
    shift
    new=$(mktemp)
    "$@" >"$new" || { rm "$new"; echo "$file stays as it is" >&2; exit 1; }
    if cmp -s "$new" "$file"; then
        echo "$file: up to date"
    else
        cat "$new" >"$file"
        echo "$file: renewed"
    fi
    rm "$new"
}

case ${1:-} in
'' | --abi) ;;
*) sed -n '3,6s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
renew cmake/qor_ComLib.map scripts/exports.py
if [[ -n ${1:-} ]]; then
    scripts/check-additions.py --to-store
    scripts/check-abi.sh --store "${2:?LIBRARY is missing}"
else
    scripts/check-additions.py
fi
