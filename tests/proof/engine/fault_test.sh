#!/usr/bin/env bash
# Shows that a proof can fail: the case holds as it is, and with the deliberate fault it is a
# violation, for that fault's reason.
#   fault_test.sh PROGRAM FAULT CASE TEXT
set -euo pipefail
program=$1 fault=$2 case=$3 text=$4

# expect STATUS ENV_OPTION LINE...: the program ends with that status and prints each LINE.
expect() {
    local wanted=$1 option=$2 status=0 output
    shift 2
    output=$(env "$option" "$program" --verbose --case "$case" 2>&1) || status=$?
    printf '%s\n' "$output"
    [[ $status -eq $wanted ]] || { echo "$option: ended with $status, not $wanted" >&2; exit 1; }
    for line; do
        grep -qF -- "$line" <<<"$output" || { echo "$option: does not print: $line" >&2; exit 1; }
    done
}

expect 0 --unset=QOR_PROOF_FAULT "held $case: " " 0 violations"
expect 1 "QOR_PROOF_FAULT=$fault" "VIOLATED $case: " "$text" " 1 violations"
