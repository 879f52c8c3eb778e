#!/usr/bin/env bash
# Installs the Debian packages that are missing, by group.
#   scripts/install-deps.sh [GROUP...]    GROUP: build (default), check, bench, package
set -euo pipefail

# What building, testing and the demo need.
build=(
    g++ clang cmake ninja-build
    libboost-dev libxml2-dev libgtest-dev libgmock-dev
    gzip util-linux bsdutils mount rsyslog dmidecode pciutils
)
# What the tests of the packages, manuals and installed programs need, and all checks: static ones,
# sanitizers, fuzzing, memcheck, coverage.
check=(
    abigail-tools binutils xz-utils clang-16 pkg-config python3 lnav systemd
    doxygen lowdown mandoc clang-tidy clang-format cppcheck shellcheck
    gcovr libclang-rt-14-dev valgrind
)
# What the benchmarks measure with and against.
bench=(
    libbenchmark-dev python3
    libinih-dev libsimpleini-dev libiniparser-dev libglib2.0-dev nlohmann-json3-dev
    libspdlog-dev libgoogle-glog-dev liblog4cplus-dev libpstreams-dev libdbus-1-dev dbus
    valgrind
)
# What building, checking and trying the Debian packages takes.
debian=(
    debhelper dpkg-dev lintian git binutils locales tzdata doxygen lowdown python3
    autopkgtest mmdebstrap
)

[[ $# -gt 0 ]] || set -- build
packages=()
for group in "$@"; do
    case $group in
        build) packages+=("${build[@]}") ;;
        check) packages+=("${check[@]}") ;;
        bench) packages+=("${bench[@]}") ;;
        package) packages+=("${debian[@]}") ;;
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
