#!/usr/bin/env bash
# Runs a test program that writes marked files below the directories that are private to it,
# and shows from outside that the host has none of them: as the caller, and when that is root,
# as an ordinary user too.
#   host_untouched.sh PROGRAM
set -euo pipefail
program=$1
mark=qor_host_untouched.$$
filter='PrivateMountsTest.Keeps*'
directories=(/opt /opt/velmora /var/tmp /etc /usr/bin /usr/sbin /tmp /dev /dev/shm)
removed=(/etc/passwd /usr/bin/env /usr/sbin/chroot)

# A copy, since an ordinary user may not reach the build tree.
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
chmod 0755 "$copy"
install -m 0755 "$program" "$copy/program"

check_host()
{
    local directory file
    for directory in "${directories[@]}"; do
        [[ ! -e $directory/$mark ]] || { echo "the host has $directory/$mark" >&2; return 1; }
    done
    for file in "${removed[@]}"; do
        [[ -e $file ]] || { echo "the host has lost $file" >&2; return 1; }
    done
}

run()
{
    echo "== as $1"
    QOR_TEST_MARK=$mark "${@:2}" "$copy/program" --gtest_filter="$filter"
    check_host
}

run "$(id -un)" env
ordinary=(setpriv --reuid 65534 --regid 65534 --clear-groups)
machine() { od -An -tx1 -j18 -N2 "$1"; }  # elf(5): e_machine
if [[ $EUID -ne 0 ]]; then
    exit 0
elif [[ $(machine "$program") != "$(machine /proc/$$/exe)" ]]; then
    echo "An emulator has threads, and so cannot enter a user namespace: shown for root only."
elif "${ordinary[@]}" unshare --user --map-root-user --mount true; then
    run "an ordinary user" "${ordinary[@]}"
else
    echo "Ordinary users have no user namespaces here: shown for root only."
fi
