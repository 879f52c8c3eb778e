#!/usr/bin/env bash
# Has lnav read logs that the library wrote, a rotated and compressed one among them: each record
# is one of the format's, with its level, thread id or read code, and nothing shows as plain text.
#   lnav_test.sh LOG_WRITER SOURCE_DIR
set -euo pipefail
writer=$(realpath "$1")
source_dir=$(realpath "$2")
# shellcheck source=private.sh source-path=SCRIPTDIR
source "$(dirname "$0")/private.sh"
# shellcheck source=../../scripts/require.sh source-path=SCRIPTDIR
source "$source_dir/scripts/require.sh"
require lnav
[[ ${QOR_PRIVATE_DISK:-} == yes ]] || enter_private "$0" "$writer" "$source_dir"

cover /opt 0755 "$source_dir" "$(dirname "$writer")"
cover /var/tmp 1777 "$source_dir" "$(dirname "$writer")"
export HOME=/var/tmp/home TMPDIR=/var/tmp/home
mkdir -p "$HOME" /var/tmp/lnav/formats/qor
cp "$source_dir/packaging/lnav/qor_log.json" /var/tmp/lnav/formats/qor
install_component "$source_dir"

# ask QUERY: the result's rows, without their head.
ask() {
    lnav -I /var/tmp/lnav -n -c ";$1" -c ':write-csv-to -' /opt/velmora/qor/log/* | tail -n +2
}

# expect WHAT WANTED QUERY
expect() {
    local found
    found=$(ask "$3")
    [[ $found == "$2" ]] || fail "$1: expected $2, found ${found:-nothing}"
    echo "$1: $2"
}

lnav -I /var/tmp/lnav -C || fail "lnav finds faults in the format file"
read -r operations per_level < <("$writer")
compressed=(/opt/velmora/qor/log/QOR_um_dbg_*.log.gz)
[[ -f ${compressed[0]} ]] || fail "no log was rotated and compressed"

expect "files without a format" 0 "SELECT count(*) FROM lnav_file WHERE format IS NULL"
expect "operation records" "$operations" "SELECT count(*) FROM qor_operation_log"
expect "with a read code" "$operations" \
    "SELECT count(*) FROM qor_operation_log WHERE read LIKE '0x________'"
expect "of type info" $((operations - 2)) \
    "SELECT count(*) FROM qor_operation_log WHERE type = 'info' AND log_level = 'info'"
expect "of type fail" 1 \
    "SELECT count(*) FROM qor_operation_log WHERE type = 'fail' AND log_level = 'error'"
expect "debug records" $((per_level * 7)) "SELECT count(*) FROM qor_debug_log"
expect "with a thread id" $((per_level * 7)) \
    "SELECT count(*) FROM qor_debug_log WHERE thread LIKE '0x________'"
for level in critical error warning trace debug; do
    expect "of level $level" "$per_level" \
        "SELECT count(*) FROM qor_debug_log WHERE log_level = '$level'"
done
expect "of level info, or of none" $((per_level * 2)) \
    "SELECT count(*) FROM qor_debug_log WHERE log_level = 'info'"
