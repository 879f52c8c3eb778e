#!/usr/bin/env bash
# Shows that a proof can fail: the case holds as it is, and with the deliberate fault it is told as
# violated, for that fault's reason.
#   fault_test.sh PROGRAM VARIABLE FAULT CASE TEXT
set -euo pipefail
program=$1 variable=$2 fault=$3 case=$4 text=$5

# expect STATUS ENV_OPTION LINE...: the program ends with that status and tells each LINE.
expect() {
    local wanted=$1 option=$2 status=0 output
    shift 2
    output=$(env "$option" "$program" --verbose --case "$case" 2>&1) || status=$?
    printf '%s\n' "$output"
    [[ $status -eq $wanted ]] || { echo "$option: ended with $status, not $wanted" >&2; exit 1; }
    for line; do
        grep -qF -- "$line" <<<"$output" || { echo "$option: does not tell: $line" >&2; exit 1; }
    done
}

expect 0 "--unset=$variable" "held $case: " " 0 violations"
expect 1 "$variable=$fault" "VIOLATED $case: " "$text" " 1 violations"
