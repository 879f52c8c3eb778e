#!/usr/bin/env bash
# Runs debian/tests with autopkgtest(1) in a fresh, minimal Debian: installs the packages, builds
# every example against them and has a request go all the way. Needs root and the network; takes
# minutes.
#   scripts/check-autopkgtest.sh DIRECTORY    DIRECTORY: what scripts/check-packages.sh kept
set -euo pipefail
script=$(realpath "$0")
packages=$(realpath "${1:?usage: check-autopkgtest.sh DIRECTORY}")

# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$script")/require.sh"
require autopkgtest mmdebstrap
[[ $EUID -eq 0 ]] || fail "this needs root"
[[ ${QOR_PRIVATE_MOUNTS:-} == yes ]] ||
    QOR_PRIVATE_MOUNTS=yes exec unshare --mount --propagation private "$script" "$packages"

changes=("$packages"/*.changes)
[[ ${#changes[@]} -eq 1 && -f ${changes[0]} ]] || fail "$packages does not hold exactly one .changes file"

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
[[ $status -eq 0 ]] || fail "autopkgtest ended with $status"
wanted=$(sed -n 's/^Tests: //p' "$(dirname "$script")/../debian/tests/control" | wc -w)
passed=$(grep -c ' PASS$' "$work/results/summary")
((passed == wanted && wanted > 0)) || fail "$passed of $wanted tests passed"
echo "$passed tests passed, in a fresh $(cat "$work/debian/etc/debian_version")"
