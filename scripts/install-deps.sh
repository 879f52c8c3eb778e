#!/usr/bin/env bash
# Installs the Debian packages that building, testing and the demo need and that are missing.
set -euo pipefail

packages=(
    g++ clang cmake ninja-build
    libboost-dev libxml2-dev libgtest-dev libgmock-dev libbenchmark-dev
    gzip util-linux bsdutils mount rsyslog dmidecode pciutils
)

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
