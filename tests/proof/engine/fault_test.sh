#!/usr/bin/env bash
# Shows that a proof can fail: the case holds as it is, and with the deliberate fault it is a
# violation, for that fault's reason.
#   fault_test.sh PROGRAM FAULT CASE PATTERN
set -euo pipefail
program=$1 fault=$2 case=$3 pattern=$4

# expect STATUS ENV_OPTION PATTERN TEXT...: the program ends with that status and prints a line that
# matches PATTERN, and each TEXT.
expect() {
    local wanted=$1 option=$2 pattern=$3 status=0 output
    shift 3
    output=$(env "$option" "$program" --verbose --case "$case" 2>&1) || status=$?
    printf '%s\n' "$output"
    [[ $status -eq $wanted ]] || { echo "$option: ended with $status, not $wanted" >&2; exit 1; }
    grep -qE -- "$pattern" <<<"$output" || { echo "$option: no line with $pattern" >&2; exit 1; }
    for text; do
        grep -qF -- "$text" <<<"$output" || { echo "$option: does not print: $text" >&2; exit 1; }
    done
}

expect 0 --unset=QOR_PROOF_FAULT "" "held $case: " " 0 violations"
expect 1 "QOR_PROOF_FAULT=$fault" "$pattern" "VIOLATED $case: " " 1 violations"
