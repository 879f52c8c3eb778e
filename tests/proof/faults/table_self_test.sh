#!/usr/bin/env bash
# Proves that the comparison of the table with the exported names can fail: parts.txt gets one fault
# at a time.
#   table_self_test.sh SOURCE_DIR FAULTS_PROGRAM LEAKS_PROGRAM
set -euo pipefail
source_dir=$1 faults=$2 leaks=$3
folder=$source_dir/tests/proof/faults

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# expect TEXT NAME SED_SCRIPT: with the change the test tells the text and the name, and fails.
expect() {
    sed -E "$3" "$folder/parts.txt" >"$work/parts.txt"
    if "$folder/table_test.sh" "$source_dir" "$faults" "$leaks" "$work/parts.txt" >"$work/log" ||
        ! grep -qF -- "$1" "$work/log" || ! grep -qxF -- "$2" "$work/log"; then
        cat "$work/log"
        echo "$3: expected to fail with \"$1\" and \"$2\"" >&2
        exit 1
    fi
    echo "found: $1 $2"
}

expect "not in parts.txt:" CTraceWrite.rotate '/ CTraceWrite.rotate$/d'
expect "not exported:" CTraceWrite.turn 's/ CTraceWrite.rotate$/& CTraceWrite.turn/'
expect "though it has cases:" CTraceWrite.compress 's/ CTraceWrite.rotate$/& CTraceWrite.compress/'
expect "though it touches nothing:" swap_endian16 's/ CTraceWrite.rotate$/& swap_endian16/'
expect "Named twice" CTraceWrite.Open 's/ CTraceWrite.rotate$/& CTraceWrite.Open/'
expect "that there are not:" CFileTransfer.Sweep 's/^in CFileTransfer.scan/in CFileTransfer.Sweep/'
expect "without cases of their own:" 'IWbemClassObject::pop(string) const' \
    '/^as IWbemClassObject.pop:/d'
expect "that are no overloads:" 'CTraceRead::Turn(string)' \
    's/^as CTraceRead.ReadLog: .*/as CTraceRead.ReadLog: CTraceRead::Turn(string)/'
expect "two as one operation:" IWbemClassObject.pop \
    's/^as IWbemClassObject.pop.object:/as IWbemClassObject.pop:/'
expect "Not called by the operation" 'CTraceWrite.compress in CTraceRead.ReadLog' \
    's/^in CTraceWrite.CTraceWrite: .*/&\nin CTraceRead.ReadLog: CTraceWrite.compress/'
expect "cannot be read:" "because: CTraceWrite.rotate" 's/^in .*( CTraceWrite.rotate)$/because:\1/'
