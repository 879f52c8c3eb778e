#!/usr/bin/env bash
# A fault for each sanitizer that this build has must be reported and end the program; without a
# fault there is no report.
#   sanitizers_report.sh PROGRAM SANITIZER...    PROGRAM: qor_planted_fault
set -euo pipefail
program=${1:?usage: sanitizers_report.sh PROGRAM SANITIZER...}
shift
[[ $# -gt 0 ]] || {
    echo "No sanitizer is named." >&2
    exit 2
}
failures=0

# expect FAULT REPORT
expect() {
    local output status=0
    output=$("$program" "$1" 2>&1) || status=$?
    if [[ $status -ne 0 && $status -ne 2 && $output == *"$2"* ]]; then
        echo "$1: reported"
        return
    fi
    echo "$1: exit status $status, and no \"$2\" in: $output"
    failures=$((failures + 1))
}

status=0
output=$("$program" none 2>&1) || status=$?
if [[ $status -ne 0 || -n $output ]]; then
    echo "none: exit status $status: $output"
    exit 1
fi
for sanitizer in "$@"; do
    case $sanitizer in
    address)
        expect heap 'AddressSanitizer: heap-buffer-overflow'
        expect leak 'LeakSanitizer: detected memory leaks'
        ;;
    undefined) expect overflow 'runtime error: signed integer overflow' ;;
    integer) expect wrap 'runtime error: unsigned integer overflow' ;;
    implicit-conversion) expect truncation 'runtime error: implicit conversion' ;;
    thread) expect race 'ThreadSanitizer: data race' ;;
    *)
        echo "No fault is known for $sanitizer."
        failures=$((failures + 1))
        ;;
    esac
done
exit $((failures > 0))
