#!/usr/bin/env bash
# Runs each recipe of docs/reading-logs.md, in private mounts with a journald of its own, against
# logs that the library wrote: each ends well and prints something. The example for logrotate(8) takes the
# compressed logs and leaves the others alone.
#   recipes_test.sh LOG_WRITER SOURCE_DIR
set -euo pipefail
writer=$(realpath "$1")
source_dir=$(realpath "$2")
# shellcheck source=private.sh source-path=SCRIPTDIR
source "$(dirname "$0")/private.sh"
# shellcheck source=../../scripts/require.sh source-path=SCRIPTDIR
source "$source_dir/scripts/require.sh"
require journalctl lnav logrotate
[[ ${QOR_PRIVATE_DISK:-} == yes ]] || enter_private "$0" "$writer" "$source_dir"

fail() {
    echo "FAILED: $*" >&2
    [[ ! -s /var/tmp/journald.log ]] || cat /var/tmp/journald.log >&2
    exit 1
}

# wait_for COMMAND...: until it succeeds.
wait_for() {
    local deadline=$((SECONDS + 30))
    until "$@"; do
        ((SECONDS < deadline)) || fail "waited in vain: $*"
        sleep 0.05
    done
}

private_disk() {
    cover /opt 0755 "$source_dir" "$(dirname "$writer")"
    mount -t tmpfs -o mode=0755 tmpfs /run
    cover /var/tmp 1777 "$source_dir" "$(dirname "$writer")"
    cover /srv 0755 "$source_dir" "$(dirname "$writer")"
    mkdir /var/tmp/dev
    for device in null zero urandom; do
        touch "/var/tmp/dev/$device"
        mount --bind "/dev/$device" "/var/tmp/dev/$device"
    done
    mount --rbind /var/tmp/dev /dev
    ln -s /run/systemd/journal/dev-log /dev/log
}

start_journald() {
    mkdir -p /run/systemd/journal /run/log/journal
    /lib/systemd/systemd-journald 2>/var/tmp/journald.log &
    journald=$!
    trap 'kill "$journald"' EXIT
    wait_for test -S /run/systemd/journal/dev-log
}

journal_has_record() {
    journalctl --sync 2>/dev/null
    # By what log_writer.cpp puts into it.
    journalctl --no-pager --quiet --directory=/run/log/journal | grep -q qord
}

private_disk
start_journald
install_component "$source_dir"
"$writer" >/dev/null
wait_for journal_has_record
touch -d '1 hour ago' /opt/velmora/qor/log/*.log.gz

# The document's fenced blocks, each in a file of its own.
awk -v prefix=/var/tmp/recipe. '
    /^```sh$/ { file = prefix sprintf("%02d", ++count); next }
    /^```$/ { file = "" }
    file { print >file }' "$source_dir/docs/reading-logs.md"

recipes=(/var/tmp/recipe.*)
for recipe in "${recipes[@]}"; do
    output=$(bash -euo pipefail "$recipe") || fail "exit status $? of: $(<"$recipe")"
    [[ -n $output && $output != *"No entries"* ]] || fail "nothing printed by: $(<"$recipe")"
    printf '%s\n  %.100s\n' "$(<"$recipe")" "${output%%$'\n'*}"
done
# The logs that may be open, by number, size and name.
open_logs() { stat -c '%i %s %n' /opt/velmora/qor/log/QOR_*.log; }

open=$(open_logs)
full=(/opt/velmora/qor/log/QOR_*.log.gz)
rm -rf /srv/log-archive
install -m 0644 "$source_dir/packaging/logrotate/qor-comlib" /var/tmp/qor-comlib
logrotate --force --state /var/tmp/logrotate.state /var/tmp/qor-comlib || fail "logrotate: $?"
[[ $(open_logs) == "$open" ]] || fail "logrotate changed a log that may be open"
for log in "${full[@]}"; do
    [[ ! -e $log ]] || fail "logrotate left $log"
    log=${log##*/}
    gzip --test "/srv/log-archive/${log%.gz}"-*.gz || fail "logrotate lost $log"
done

((${#recipes[@]} > 5)) || fail "only ${#recipes[@]} recipes were found"
