#!/usr/bin/env bash
# Installs the Debian packages that are missing, by group.
#   scripts/install-deps.sh [GROUP...]    GROUP: build (default), check, bench, draw, package
# What the library itself is built with is read from debian/control.
set -euo pipefail

# from_control FIELD: the packages that a field of debian/control names, but for the packagers' own.
from_control() {
    sed -nE "/^$1:/,/^[^ ]/s/^ ([a-z0-9.+-]+).*/\1/p" "$(dirname "$0")/../debian/control" |
        grep -vE '^(debhelper|dh-)'
}

# What building, testing and the demo need.
mapfile -t build < <(from_control Build-Depends)
build+=(clang libgtest-dev libgmock-dev gzip util-linux bsdutils mount rsyslog dmidecode pciutils)
# What the tests of the packages, manuals and installed programs need, and all checks: static ones,
# sanitizers, fuzzing, memcheck, coverage.
mapfile -t check < <(from_control Build-Depends-Indep)
check+=(
    abigail-tools binutils xz-utils clang-16 devscripts pkg-config python3 lnav logrotate systemd
    mandoc clang-tidy clang-format cppcheck shellcheck gcovr
    libclang-rt-14-dev valgrind
)
# What the benchmarks measure with and against.
bench=(
    libbenchmark-dev python3
    libinih-dev libsimpleini-dev libiniparser-dev libglib2.0-dev nlohmann-json3-dev
    libspdlog-dev libgoogle-glog-dev liblog4cplus-dev libpstreams-dev libdbus-1-dev dbus
    valgrind
)
# What draws the pictures, and the font that it measures with.
draw=(graphviz fonts-dejavu-core python3)
# What building, checking and trying the packages takes.
debian=(
    debhelper dpkg-dev lintian git binutils locales tzdata autopkgtest mmdebstrap rpm
)

[[ $# -gt 0 ]] || set -- build
packages=()
for group in "$@"; do
    case $group in
        build) packages+=("${build[@]}") ;;
        check) packages+=("${check[@]}") ;;
        bench) packages+=("${bench[@]}") ;;
        draw) packages+=("${draw[@]}") ;;
        package) packages+=("${check[@]}" "${debian[@]}") ;;
        *)
            echo "Unknown group: $group" >&2
            exit 2
            ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
    [[ $status == "install ok installed" ]] || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

as_root=()
if [[ $EUID -ne 0 ]]; then
    command -v sudo >/dev/null || {
        echo "Missing packages: ${missing[*]}. Install them as root, then run this again." >&2
        exit 1
    }
    as_root=(sudo)
fi

echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends \
    "${missing[@]}"
