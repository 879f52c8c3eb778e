#!/usr/bin/env bash
# Runs debian/tests with autopkgtest(1) in a fresh, minimal Debian: installs the packages, builds
# every example against them and has a request go all the way. Needs root and the network; takes
# minutes.
#   scripts/check-autopkgtest.sh DIRECTORY    DIRECTORY: what scripts/check-packages.sh kept
set -euo pipefail
script=$(realpath "$0")
packages=$(realpath "${1:?usage: check-autopkgtest.sh DIRECTORY}")

for tool in autopkgtest:autopkgtest mmdebstrap:mmdebstrap; do
    command -v "${tool%:*}" >/dev/null ||
        { echo "${tool%:*} is missing: install the package ${tool#*:}" >&2; exit 1; }
done
[[ $EUID -eq 0 ]] || { echo "Run this as root." >&2; exit 1; }
[[ ${QOR_PRIVATE_MOUNTS:-} == yes ]] ||
    QOR_PRIVATE_MOUNTS=yes exec unshare --mount --propagation private "$script" "$packages"

changes=("$packages"/*.changes)
[[ ${#changes[@]} -eq 1 && -f ${changes[0]} ]] ||
    { echo "$packages does not hold exactly one .changes file" >&2; exit 1; }

# All is mounted in here, so it can be removed as a whole when the mounts are gone.
work=$(mktemp -d)
trap 'umount --recursive --lazy "$work/debian" 2>/dev/null; rm -rf --one-file-system "$work"' EXIT

mmdebstrap --variant=apt --skip=cleanup/apt/lists bookworm "$work/debian"
# A mount of its own: unshare(1) in there wants its root directory to be one.
mount --bind "$work/debian" "$work/debian"
cp /etc/resolv.conf "$work/debian/etc/resolv.conf"
mount -t proc none "$work/debian/proc"
mount -t sysfs -o ro none "$work/debian/sys"
mount --rbind /dev "$work/debian/dev"

status=0
autopkgtest --output-dir "$work/results" --no-built-binaries "${changes[0]}" \
    -- chroot "$work/debian" || status=$?
# 2: a test was skipped. That is no success here.
[[ $status -eq 0 ]] || { echo "FAILED: autopkgtest ended with $status" >&2; exit 1; }
wanted=$(sed -n 's/^Tests: //p' "$(dirname "$script")/../debian/tests/control" | wc -w)
passed=$(grep -c ' PASS$' "$work/results/summary")
((passed == wanted && wanted > 0)) ||
    { echo "FAILED: $passed of $wanted tests passed" >&2; exit 1; }
echo "$passed tests passed, in a fresh $(cat "$work/debian/etc/debian_version")"
