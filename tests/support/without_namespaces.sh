#!/usr/bin/env bash
# A test program that cannot have private mounts must fail, say why, and run no test; listing
# its tests must work all the same.
#   without_namespaces.sh PROGRAM
set -euo pipefail

# No rights, in a user namespace whose limit is spent: neither way in is open. Where there are
# no user namespaces to begin with, being without rights is enough.
powerless=(setpriv --bounding-set=-all --inh-caps=-all)
without_rights()
{
    if unshare --user --map-root-user true 2>/dev/null; then
        unshare --user --map-root-user \
            sh -c 'echo 0 > /proc/sys/user/max_user_namespaces && exec "$@"' sh \
            "${powerless[@]}" "$@"
    elif [[ $EUID -eq 0 ]]; then
        "${powerless[@]}" "$@"
    else
        "$@"
    fi
}

status=0
output=$(without_rights "$1" 2>&1) || status=$?
[[ $status -eq 1 ]] || { echo "exit status $status: $output" >&2; exit 1; }
[[ $output == "Cannot set up private mounts: unshare("*") failed: "* ]] || {
    echo "unexpected message: $output" >&2
    exit 1
}
echo "$output"

list=$(without_rights "$1" --gtest_list_tests)
[[ $list == *PrivateMountsTest.* ]] || { echo "no list: $list" >&2; exit 1; }
