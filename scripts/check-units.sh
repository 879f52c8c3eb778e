#!/usr/bin/env bash
# Checks packaging/systemd/ with systemd-analyze(1): service and drop-in, and the drop-in for a
# service of another name, are understood without a complaint and confine well; the doctor's timer and
# service are understood; the paths are those
# of src/base/Paths.h; what the library's own names and commands rest on is set.
#   scripts/check-units.sh
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require systemd-analyze
cd "$(dirname "$0")/.."

unit=packaging/systemd/qor-som.service
drop_in=packaging/systemd/qor-hardening.conf
exposure=25  # tenths: what "systemd-analyze security" may give at most
required=(PrivateTmp=yes UMask=0007 Environment=PATH=/usr/sbin:/usr/bin:/sbin:/bin
    IgnoreSIGPIPE=no ProtectSystem=strict)

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

read_paths

# values_of KEY FILE: one word a line, sorted.
values_of() { sed -nE "s/^$1=//p" "$2" | tr -s ' ' '\n' | LC_ALL=C sort; }
same() { diff -u <(printf '%s\n' "${@:3}" | LC_ALL=C sort) <(echo "$2") >&2 || fail "$1 (+ found)"; }

same "writable paths" "$(values_of ReadWritePaths $drop_in)" "-${path[kBanner]}" \
    "${path[kLogDirectory]}" "${path[kClientDirectory]}" "${path[kServerDirectory]}" \
    "${path[kEtcDirectory]}"
same "read-only paths" "$(values_of ReadOnlyPaths $drop_in)" "-${path[kDeviceScript]}"
same "the service's command" "$(sed -nE 's/^ExecStart=//p' $unit)" \
    "${path[kSbin]}/qor_som --providers ${path[kObjectManager]}/providers.ini"
for line in "${required[@]}"; do
    grep -qxF "$line" $drop_in || fail "$drop_in lacks $line"
done

# The verifier wants the units that others need, and the program that the service starts.
units=$root/etc/systemd/system
mkdir -p "$units"/{qor-som,another}.service.d "$root/usr/lib/systemd/system" "$root${path[kSbin]}"
cp -P /usr/lib/systemd/system/*.{target,slice} "$root/usr/lib/systemd/system"
install -m 0755 /dev/null "$root${path[kSbin]}/qor_som"
install -D -m 0755 /dev/null "$root/usr/sbin/qor_doctor"
cp $unit packaging/systemd/qor-doctor.* "$units"
for name in service timer; do
    complaints=$(systemd-analyze verify --man=no --root="$root" qor-doctor.$name 2>&1) ||
        fail "systemd-analyze verify: $complaints"
    [[ -z $complaints ]] || fail "systemd-analyze verify: $complaints"
done
same "where the doctor has something to do" \
    "$(sed -n 's/^ConditionPathExists=//p' packaging/systemd/qor-doctor.service)" "${path[kInstallRoot]}"
printf '[Service]\nExecStart=%s/qor_som\n' "${path[kSbin]}" >"$units/another.service"
for service in qor-som another; do
    cp $drop_in "$units/$service.service.d"
    # Its exit status says little: a key that it does not know is a line on its output.
    complaints=$(systemd-analyze verify --man=no --root="$root" "$service.service" 2>&1) ||
        fail "systemd-analyze verify: $complaints"
    [[ -z $complaints ]] || fail "systemd-analyze verify: $complaints"
    systemd-analyze security --offline=yes --root="$root" --threshold=$exposure --no-pager \
        "$service.service" >"$root/verdict" || fail "systemd-analyze security: $(cat "$root/verdict")"
    tail -n 1 "$root/verdict"
done
