#!/usr/bin/env bash
# Installs the Debian packages that are missing, by group.
#   scripts/install-deps.sh [GROUP...]    GROUP: build (default), check, bench, draw, package
# What the library itself is built with is read from debian/control. "A|B" is A where the release
# has it, or else B; what a release does not have at all is left out, and the checks that need it are
# skipped. Where there is no apt-get(8), one line names what is needed, and nothing is installed.
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
# sanitizers, fuzzing, memcheck, coverage. The sanitizers' libraries are those of the release's clang.
mapfile -t check < <(from_control Build-Depends-Indep)
check+=(
    abigail-tools binutils xz-utils "clang-16|clang" devscripts pkg-config python3 lnav logrotate systemd
    mandoc bsdextrautils clang-tidy clang-format cppcheck shellcheck gcovr valgrind
    "libclang-rt-dev|libclang-common-11-dev"
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
    build-essential debhelper dpkg-dev lintian git binutils locales tzdata autopkgtest mmdebstrap rpm
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

if ! command -v apt-get >/dev/null; then
    echo "Without apt-get nothing is installed. Needed, by dnf's names: gcc-c++ clang cmake ninja-build" \
        "boost-devel libxml2-devel gtest-devel gmock-devel gzip util-linux rsyslog dmidecode pciutils" \
        "lowdown python3; for the checks: doxygen libabigail binutils xz ShellCheck cppcheck" \
        "clang-tools-extra compiler-rt gcovr valgrind mandoc lnav logrotate systemd." >&2
    exit 0
fi

# Sets missing to what has to be installed, and absent to what the release does not have.
look() {
    local names package alternative
    local -A installed=() available=()
    read -ra names <<<"${packages[*]//|/ }"
    while read -r package; do
        installed[$package]=yes
    done < <(dpkg-query -W -f '${Package} ${Status}\n' "${names[@]}" 2>/dev/null | sed -n 's/ install ok installed$//p')
    while read -r package _; do
        available[$package]=yes
    done < <(apt-cache madison "${names[@]}" 2>/dev/null)
    missing=() absent=()
    for package in "${packages[@]}"; do
        for alternative in ${package//|/ }; do
            [[ -z ${installed[$alternative]:-} ]] || continue 2
            [[ -z ${available[$alternative]:-} ]] || { missing+=("$alternative"); continue 2; }
        done
        absent+=("$package")
    done
}

look
[[ $((${#missing[@]} + ${#absent[@]})) -gt 0 ]] || exit 0

as_root=()
if [[ $EUID -ne 0 ]]; then
    command -v sudo >/dev/null || {
        echo "Missing packages: ${missing[*]} ${absent[*]}. Install them as root, then run this again." >&2
        exit 1
    }
    as_root=(sudo)
fi

"${as_root[@]}" apt-get update -qq
look  # the lists of packages may have been empty or old
[[ ${#absent[@]} -eq 0 ]] || echo "Not in this release: ${absent[*]}"
[[ ${#missing[@]} -gt 0 ]] || exit 0
echo "Installing: ${missing[*]}"
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends \
    "${missing[@]}"
