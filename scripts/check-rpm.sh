#!/usr/bin/env bash
# Builds the RPM packages from git archive with packaging/rpm/qor-comlib.spec, the unit tests included,
# and checks them: every installed file is in one package, each package holds what it is for, the
# library's post-installation reads the administrator's lines of tmpfiles.d(5). Takes minutes.
#   scripts/check-rpm.sh [OPTION...]    OPTION: of rpmbuild(8), such as --without check
# On a machine whose packages are not RPM's, what the build needs is found by the build itself.
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require git rpmbuild rpm cmake ninja doxygen lowdown python3
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
spec=packaging/rpm/qor-comlib.spec
version=$(sed -n 's/^Version: *//p' $spec)
mkdir -p "$work/SOURCES"
export HOME=$work  # for the database that rpm makes where it finds none
git archive --prefix="qor-comlib-$version/" -o "$work/SOURCES/qor-comlib-$version.tar.gz" HEAD

options=("$@")
rpm --query cmake >/dev/null 2>&1 || options+=(--nodeps)
rpmbuild -ba --define "_topdir $work" --define "_build_name_fmt %%{NAME}.rpm" \
    --define "_buildhost localhost" "${options[@]}" $spec \
    >"$work/log" 2>&1 || { tail -n 50 "$work/log" >&2; fail "rpmbuild"; }
! grep -E '^ *(warning|error):' "$work/log" >&2 || fail "the build complains"

# files PACKAGE
files() { rpm --query --list --package "$work/RPMS/$1.rpm" 2>/dev/null; }

# holds PACKAGE PATTERN...: a path of the package matches each.
holds() {
    local pattern
    for pattern in "${@:2}"; do
        grep -qE "$pattern" <(files "$1") || fail "$1 lacks $pattern"
    done
}

holds qor-comlib 'libqor_ComLib\.so\.1$' '/tmpfiles\.d/qor-comlib\.conf$' '/sysusers\.d/qor-comlib\.conf$'
holds qor-comlib-devel '/qor/CFileTransfer\.h$' 'libqor_ComLib\.so$' 'qor_ComLib\.pc$' 'qor_ComLibConfig\.cmake$'
holds qor-comlib-doc '/SECURITY\.md$' '/docs/services\.md$' '/html/index\.html$' '/qor\.7qor(\.gz)?$'
holds qor-comlib-tools '/qor_doctor$' '/qor-doctor\.timer$' '/qor_doctor\.8qor(\.gz)?$' '/socket\.conf\.5qor(\.gz)?$' \
    '/qor_services\.7qor(\.gz)?$' '/qor_log\.json$'
twice=$(for package in qor-comlib{,-devel,-doc,-tools}; do files "$package"; done | sort | uniq -d)
[[ -z $twice ]] || fail "files in two packages: $twice"
rpm --query --scripts --package "$work/RPMS/qor-comlib.rpm" 2>/dev/null |
    grep -q -- 'systemd-tmpfiles --create --prefix=' || fail "the installation makes no directories"
for package in qor-comlib{,-devel,-doc,-tools}; do
    echo "$package: $(files "$package" | wc -l) files"
done
grep -E '^[0-9]+% tests passed' "$work/log" || [[ " $* " == *" --without check "* ]] ||
    fail "no test has run"
