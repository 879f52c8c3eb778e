#!/usr/bin/env bash
# Builds and tests what is committed on each machine that the library is for, and prints a table with a
# verdict for each. A machine is a private root, made from the packages of a Debian release and removed
# afterwards; programs for other processors run in an emulator that nothing else on the host sees.
# Needs root, the network and up to 10 GB below build/; takes half an hour and more.
#   scripts/matrix.sh [ROW...]    ROW: of the table that follows, all unless named
# Logs are build/matrix/ROW.log. QOR_MIRROR: where packages come from, by default where apt-get(8) of the
# host has its own from. Status 1: a row failed; 77: a row could not run.
set -euo pipefail

# Row, release, what is done there and with what.
rows() {
    cat <<'END'
debian-12       bookworm  full
debian-13       trixie    full
debian-testing  testing   demo
debian-11       bullseye  units
arm64           trixie    cross   aarch64
s390x           trixie    cross   s390x
32-bit          trixie    refuse  i686
rpm             bookworm  rpm
END
}

# foreign PROCESSOR: Debian's name of it.
foreign() { if [[ $1 == aarch64 ]]; then echo arm64; else echo "$1"; fi; }

# make_root ROOT RELEASE KIND [PROCESSOR]
make_root() {
    local architecture options=() include=git,mount package
    case $3 in
    cross)
        architecture=$(foreign "$4")
        options+=("--architectures=amd64,$architecture")
        include+=,qemu-user,cmake,ninja-build,g++,g++-${4}-linux-gnu
        include+=,python3,gzip,util-linux,bsdutils,rsyslog,dmidecode,pciutils
        for package in libboost-dev libxml2-dev libgtest-dev libgmock-dev; do
            include+=,$package:$architecture
        done
        ;;
    refuse) include+=,cmake,ninja-build,libboost-dev,libxml2-dev,g++-${4}-linux-gnu ;;
    esac
    # A mirror may be older than a week, for which testing's lists are valid.
    [[ $2 != testing ]] || options+=('--aptopt=Acquire::Check-Valid-Until "false"')
    # As its installer makes it: /bin is /usr/bin.
    [[ $2 != bullseye ]] || options+=(--setup-hook=/usr/share/mmdebstrap/hooks/merged-usr/setup00.sh)
    mmdebstrap --quiet --variant=apt --skip=cleanup/apt/lists "${options[@]}" "--include=$include" \
        "$2" "$1" "$mirror"
}

# enter ROOT COMMAND...: with the host's devices, network and time, and processes of its own.
enter() {
    # shellcheck disable=SC2016 # the inner shell's
    unshare --mount --propagation private --pid --fork --kill-child bash -euc '
        root=$1
        shift
        mount --bind "$root" "$root"
        cp /etc/resolv.conf "$root/etc/resolv.conf"
        mount -t proc none "$root/proc"
        for tree in dev sys; do mount --rbind "/$tree" "$root/$tree"; done
        cd "$root"
        pivot_root . .
        umount --lazy .
        cd /root/qor
        exec env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
            LC_ALL=C.UTF-8 "$@"' bash "$@" </dev/null
}

# run_row ROW RELEASE KIND [PROCESSOR]: its line of the table.
run_row() {
    local row=$1 log=$out/$1.log status=0 built=- verdict ran=() began=$SECONDS
    root=$(mktemp -d "$out/$row.XXXXXX")
    chmod 0755 "$root"
    if ! make_root "$root" "${@:2}" >"$log" 2>&1; then
        status=77
        ran=("not run: no root of $2, see $row.log")
    else
        git clone --quiet --no-hardlinks . "$root/root/qor"
        enter "$root" scripts/matrix-row.sh "${@:3}" >>"$log" 2>&1 || status=$?
        [[ ! -f $root/root/notes ]] || { read -r built && mapfile -t ran; } <"$root/root/notes"
        case $status in
        0) ran+=(ok) ;;
        77) ran+=("not run: $(cat "$root/root/reason" 2>/dev/null || echo "see $row.log")") ;;
        *) ran+=("FAILED, see $row.log") ;;
        esac
    fi
    rm -rf --one-file-system "$root"
    printf -v verdict '; %s' "${ran[@]}"
    echo "| $row | $built | ${verdict:2} | $(((SECONDS - began + 59) / 60)) min |" >"$out/$row.row"
    return "$status"
}

cd "$(dirname "$0")/.."
# shellcheck source=require.sh source-path=SCRIPTDIR
source scripts/require.sh
require mmdebstrap unshare git
[[ $EUID -eq 0 ]] || { echo "Run this as root." >&2; exit 77; }
# shellcheck disable=SC2016 # apt's own
mirror=${QOR_MIRROR:-$(apt-get indextargets --format '$(REPO_URI)' 'Label: Debian' | head -n 1)}
[[ -n $mirror ]] || { echo "Set QOR_MIRROR to a mirror of the Debian archive." >&2; exit 77; }
out=$PWD/build/matrix
mkdir -p "$out"
root=  # of the row that runs
trap '[[ -z $root ]] || rm -rf --one-file-system "$root"' EXIT
[[ $# -gt 0 ]] || mapfile -t all < <(rows | awk '{ print $1 }')
[[ $# -gt 0 ]] || set -- "${all[@]}"

table='| machine | built with | what ran | time |
|---|---|---|---|'
worst=0
for row in "$@"; do
    read -ra words < <(rows | awk -v row="$row" '$1 == row') || { echo "There is no row $row." >&2; exit 2; }
    status=0
    run_row "${words[@]}" || status=$?
    if ((status == 77)); then ((worst == 1)) || worst=77; elif ((status != 0)); then worst=1; fi
    cat "$out/$row.row"
    table+=$'\n'$(<"$out/$row.row")
done
printf '\n%s\n' "$table"
exit "$worst"
