#!/usr/bin/env bash
# Checks packaging/systemd/ with systemd-analyze(1): service and drop-in, and the drop-in for a
# service of another name, are understood without a complaint and confine well; above each line
# stands a comment; the paths are those of src/base/Paths.h. Then each check is given files with a
# fault, and has to find it.
#   scripts/check-units.sh [SOURCE_DIR]
set -euo pipefail
script=$(realpath "$0")
cd "${1:-$(dirname "$0")/..}"

command -v systemd-analyze >/dev/null ||
    { echo "systemd-analyze is missing: install the package systemd" >&2; exit 1; }

# The program that the service starts has to exist for the verifier: it gets an /opt of its own.
if [[ ${QOR_PRIVATE_OPT:-} != yes ]]; then
    if unshare --mount true 2>/dev/null; then
        private=(unshare --mount)
    elif unshare --user --map-root-user --mount true 2>/dev/null; then
        private=(unshare --user --map-root-user --mount)
    else
        echo "No private mounts: run this as root, or allow user namespaces." >&2
        exit 1
    fi
    QOR_PRIVATE_OPT=yes exec "${private[@]}" "$script" "$PWD"
fi
mount -t tmpfs -o mode=0755 none /opt

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

unit=packaging/systemd/qor-som.service
drop_in=packaging/systemd/qor-hardening.conf
exposure=25  # tenths: what "systemd-analyze security" may give at most

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

paths=$(scripts/list-paths.sh .)
path_of() {
    awk -v name="$1" '$1 == name {print $2; found = 1} END {exit !found}' <<<"$paths"
}
sbin=$(path_of kSbin)
som=$(path_of kObjectManager)
log=$(path_of kLogDirectory)
requests=$(path_of kClientDirectory)
answers=$(path_of kServerDirectory)
etc=$(path_of kEtcDirectory)
banner=$(path_of kBanner)
device_script=$(path_of kDeviceScript)

mkdir -p "$sbin"
printf '#!/bin/sh\n' >"$sbin/qor_som"
chmod 0755 "$sbin/qor_som"

# values_of KEY FILE: one word a line, sorted.
values_of() {
    sed -nE "s/^$1=//p" "$2" | tr -s ' ' '\n' | LC_ALL=C sort
}

same() {
    diff -u <(echo "$1") <(echo "$2") >&2 || fail "$3 (- wanted, + found)"
}

# --- The checks; each takes a service and a drop-in. ---

give_a_reason_for_each_line() {
    local file
    for file in "$@"; do
        awk -v file="$file" '
            /^[A-Za-z]+=/ && !/^(Description|Documentation)=/ && before !~ /^# ./ {
                print file ": no comment above: " $0
                bad = 1
            }
            {before = $0}
            END {exit bad}' "$file" >&2 || fail "lines without a reason"
    done
}

name_the_library_s_paths() {
    same "$(printf '%s\n' "-$banner" "$log" "$requests" "$answers" "$etc" | LC_ALL=C sort)" \
        "$(values_of ReadWritePaths "$2")" "writable paths"
    same "-$device_script" "$(values_of ReadOnlyPaths "$2")" "read-only paths"
    same "$sbin/qor_som --providers $som/providers.ini" "$(sed -nE 's/^ExecStart=//p' "$1")" \
        "the service's command"
}

# The lines that the library's own names and commands rest on.
close_the_known_hazards() {
    local line
    for line in PrivateTmp=yes UMask=0007 Environment=PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        IgnoreSIGPIPE=no ProtectSystem=strict; do
        grep -qxF "$line" "$2" || fail "$2 lacks $line"
    done
}

# lay_out SERVICE DROP-IN NAME: as a directory of units; prints it.
lay_out() {
    local units
    units=$(mktemp -d "$work/units.XXXXXX")
    mkdir "$units/$3.service.d"
    cp "$1" "$units/$3.service"
    cp "$2" "$units/$3.service.d/qor-hardening.conf"
    echo "$units/$3.service"
}

another_service() {
    printf '[Service]\nExecStart=%s/qor_som\n' "$sbin" >"$work/another.service"
    echo "$work/another.service"
}

# The verifier's exit status tells little: a key that it does not know is a line on its output.
are_understood() {
    local file complaints status
    for file in "$(lay_out "$1" "$2" qor-som)" "$(lay_out "$(another_service)" "$2" another)"; do
        status=0
        complaints=$(systemd-analyze verify --man=no "$file" 2>&1) || status=$?
        [[ $status -eq 0 && -z $complaints ]] || fail "systemd-analyze verify: $complaints"
    done
}

confine_well() {
    local file status
    for file in "$(lay_out "$1" "$2" qor-som)" "$(lay_out "$(another_service)" "$2" another)"; do
        status=0
        systemd-analyze security --offline=yes "--threshold=$exposure" --no-pager "$file" \
            >"$work/security" 2>&1 || status=$?
        [[ $status -eq 0 ]] || fail "systemd-analyze security: $(cat "$work/security")"
        grep -q '^→ Overall exposure level' "$work/security" ||
            fail "systemd-analyze security gives no verdict: $(cat "$work/security")"
    done
}

# --- Each check can fail. ---

faults=0

# finds CHECK FILE SED: the check, given that file with that change, fails.
finds() {
    local faulty_unit=$unit faulty_drop_in=$drop_in
    faults=$((faults + 1))
    sed -E "$3" "$2" >"$work/faulty"
    ! cmp -s "$2" "$work/faulty" || fail "no such line: $3"
    if [[ $2 == "$unit" ]]; then
        faulty_unit=$work/faulty
    else
        faulty_drop_in=$work/faulty
    fi
    if ("$1" "$faulty_unit" "$faulty_drop_in") >/dev/null 2>&1; then
        fail "$1 does not see this fault: $3"
    fi
}

for check in give_a_reason_for_each_line name_the_library_s_paths close_the_known_hazards \
    are_understood confine_well; do
    "$check" "$unit" "$drop_in"
    echo "$check: yes"
done
sed -n 's/^→ //p' "$work/security"

finds give_a_reason_for_each_line "$unit" 's/^Restart=/\n&/'
finds give_a_reason_for_each_line "$drop_in" 's/^ProtectHome=/PrivateUsers=no\n&/'
finds name_the_library_s_paths "$drop_in" "s|^(ReadWritePaths=).*/log|\1/var/log|"
finds name_the_library_s_paths "$drop_in" 's|^ReadOnlyPaths=.*||'
finds name_the_library_s_paths "$unit" 's|^(ExecStart=/opt/)velmora|\1other|'
finds close_the_known_hazards "$drop_in" 's/^PrivateTmp=yes/PrivateTmp=no/'
finds close_the_known_hazards "$drop_in" 's/^UMask=.*/UMask=0022/'
finds are_understood "$drop_in" 's/^PrivateTmp=/PrivateTemp=/'
finds are_understood "$drop_in" 's/^UMask=0007/UMask=0009/'
finds are_understood "$drop_in" 's/^(ProtectSystem=).*/\1mostly/'
finds are_understood "$unit" 's|^ExecStart=/|ExecStart=|; s|opt/velmora||'
finds are_understood "$unit" 's|^(ExecStart=/opt/)velmora|\1other|'
finds confine_well "$drop_in" '/^(CapabilityBoundingSet|SystemCallFilter|PrivateDevices)=/d'
echo "$faults faults, each found"
