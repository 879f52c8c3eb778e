#!/usr/bin/env bash
# Checks packaging/tmpfiles.d/qor-comlib.conf with systemd-tmpfiles(8) itself, in a private root:
# it agrees with src/base/Paths.h; directories get their owners and modes, again where they were
# wrong; another account neither looks into nor changes what it must not; a boot removes the stale
# scratch files and nothing else; the channel opens to a group as docs/services.md tells. Then each
# check is given a file with a fault, and has to find it.
#   scripts/check-tmpfiles.sh [SOURCE_DIR]
set -euo pipefail
script=$(realpath "$0")
cd "${1:-$(dirname "$0")/..}"

for tool in systemd-tmpfiles:systemd setpriv:util-linux; do
    command -v "${tool%:*}" >/dev/null ||
        { echo "${tool%:*} is missing: install the package ${tool#*:}" >&2; exit 1; }
done
# Owners are root's to give. Others have a range of ids of their own where uidmap is set up.
if [[ $EUID -ne 0 ]]; then
    unshare --user --map-root-user --map-auto true 2>/dev/null || {
        echo "Run this as root, or with subordinate ids (package uidmap, subuid(5))." >&2
        exit 1
    }
    exec unshare --user --map-root-user --map-auto "$script" "$PWD"
fi

conf=packaging/tmpfiles.d/qor-comlib.conf
page=docs/services.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Another account comes as far as the private root: what stops it must stand in the file.
chmod 0755 "$work"

paths=$(scripts/list-paths.sh .)
path_of() {
    awk -v name="$1" '$1 == name {print $2; found = 1} END {exit !found}' <<<"$paths"
}
install_root=$(path_of kInstallRoot)
log=$(path_of kLogDirectory)
som=$(path_of kObjectManager)
requests=$(path_of kClientDirectory)
answers=$(path_of kServerDirectory)
etc=$(path_of kEtcDirectory)
scratch=$(path_of kScratchPrefix)
dmi_cache=$(path_of kDmiCache)
banner_scratch=$(path_of kBannerScratch)
banner_mark=$(path_of kBannerMark)
banner=$(path_of kBanner)
device_list=$(path_of kDeviceList)
stamp=00001700000000000042

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

same() {
    diff -u <(echo "$1") <(echo "$2") >&2 || fail "$3 (- wanted, + found)"
}

new_root() {
    root=$(mktemp -d "$work/root.XXXXXX")
    chmod 0755 "$root"
    mkdir -p "$root/etc" "$root/tmp" "$root/var/tmp"
    chmod 1777 "$root/tmp" "$root/var/tmp"
    printf 'root:x:0:\nqorchannel:x:900:\n' >"$root/etc/group"
}

# run_tmpfiles CONF OPTION...: complaints are failures, too.
run_tmpfiles() {
    local file=$1 output status=0
    shift
    output=$(systemd-tmpfiles --root="$root" "$@" "$(realpath "$file")" 2>&1) || status=$?
    [[ $status -eq 0 && -z $output ]] || fail "systemd-tmpfiles $*: exit status $status: $output"
}

listing() {
    (cd "$root" && find opt -printf '%y %m %U:%G /%p\n' 2>/dev/null | LC_ALL=C sort -k4)
}

files_below() {
    (cd "$root" && find . ! -type d | LC_ALL=C sort)
}

digits() {
    printf '[0-9]%.0s' {1..20}
}

wanted_directories() {
    printf 'd %s\n' "755 0:0 /opt" "755 0:0 $(dirname "$install_root")" "755 0:0 $install_root" \
        "755 0:0 $etc" "700 0:0 $log" "755 0:0 $som" \
        "2770 0:0 $requests" "2770 0:0 $answers"
}

# --- The checks; each takes the file to be checked. ---

agrees_with_the_library() {
    local wanted
    wanted=$(LC_ALL=C sort <<END
d $install_root 0755 root root -
d $etc 0755 root root -
d $log 0700 root root -
d $som 0755 root root -
d $requests 2770 root root -
d $answers 2770 root root -
r! $scratch$(digits)
r! $dmi_cache
r! $banner_scratch
r! $banner_mark
END
    )
    same "$wanted" "$(sed -E -e '/^(#|$)/d' -e 's/ +/ /g' "$1" | LC_ALL=C sort)" \
        "$1 and src/base/Paths.h disagree"
}

makes_the_directories() {
    new_root
    run_tmpfiles "$1" --create --boot
    same "$(wanted_directories)" "$(listing)" "directories made"
    same ./etc/group "$(files_below)" "files made"
}

mends_the_directories() {
    new_root
    local directory
    for directory in "$install_root" "$etc" "$log" "$som" \
        "$requests" "$answers"; do
        mkdir -p "$root$directory"
    done
    chmod 0777 "$root$install_root" "$root$som"/* "$root$log"
    chown 65534:65534 "$root$etc" "$root$log"
    echo message >"$root$requests/${stamp}cli.snd"

    run_tmpfiles "$1" --create
    same "$(wanted_directories)" "$(listing | grep -v '^f')" "directories mended"
    [[ $(cat "$root$requests/${stamp}cli.snd") == message ]] || fail "a message was lost"
}

stranger() {
    setpriv --reuid=65534 --regid=65534 --clear-groups "$@" 2>/dev/null
}

keeps_strangers_out() {
    new_root
    run_tmpfiles "$1" --create
    local directory file
    # The files would be open to all: the directories are what keeps others away.
    for directory in "$install_root" "$etc" "$log" "$som" \
        "$requests" "$answers"; do
        echo secret >"$root$directory/file"
        chmod 0666 "$root$directory/file"
    done

    for directory in "$install_root" "$etc" "$log" "$som" \
        "$requests" "$answers"; do
        file=$root$directory/file
        ! stranger touch "$root$directory/new" || fail "another account makes files in $directory"
        ! stranger ln -s /etc/passwd "$root$directory/link" || fail "and links in $directory"
        ! stranger mkfifo "$root$directory/fifo" || fail "and FIFOs in $directory"
        ! stranger mv "$file" "$file.moved" || fail "another account renames in $directory"
        ! stranger rm -f "$file" || fail "another account removes in $directory"
    done
    for directory in "$log" "$requests" "$answers"; do
        ! stranger ls "$root$directory" >/dev/null || fail "another account lists $directory"
        ! stranger cat "$root$directory/file" >/dev/null || fail "another account reads $directory"
    done
    # What must be possible, is: so it was the directory that said no above.
    [[ $(stranger cat "$root$etc/file") == secret ]] || fail "settings cannot be read"
    stranger touch "$root/var/tmp/of-another-account" || fail "the other account can do nothing"
}

clears_stale_files_at_boot() {
    new_root
    run_tmpfiles "$1" --create
    local file before stale
    stale=("$scratch$stamp" "$scratch${stamp/17/18}" "$scratch${stamp/17/19}"
        "$dmi_cache" "$banner_scratch" "$banner_mark")
    for file in "${stale[@]}" \
        "$scratch" "${scratch}x" "$scratch${stamp%2}" "$scratch${stamp}7" \
        "$scratch${stamp%2}x" "$scratch$stamp.bak" "${scratch/qor/our}$stamp" \
        "$(dirname "$banner_scratch")/qortmp$stamp" "$dmi_cache.bak" "${dmi_cache}2" \
        "$(dirname "$banner_scratch")/dmitmp" "${banner_scratch}x" "$banner_scratch.bak" \
        "$(dirname "$banner_mark")/motd" "$(dirname "$banner_scratch")/motds" "$banner" \
        "$device_list" "$etc/motd.dat" "$log/QOR_som_trc_261115082918.log" \
        "$requests/${stamp}cli.snd" "$requests/${stamp}cli.tmp" \
        "$answers/${stamp}cli.snd"; do
        echo content >"$root$file"
    done
    # A planted link goes, its target stays.
    ln -sf "$root$banner" "$root$scratch${stamp/17/19}"
    before=$(files_below)

    run_tmpfiles "$1" --remove
    same "$before" "$(files_below)" "on a running system nothing is removed"
    run_tmpfiles "$1" --clean --boot
    same "$before" "$(files_below)" "nothing is removed for its age"
    run_tmpfiles "$1" --boot --remove --create
    same "$(grep -vxF "$(printf '.%s\n' "${stale[@]}")" <<<"$before")" "$(files_below)" \
        "at boot exactly the stale files are removed"
    [[ $(cat "$root$banner") == content ]] || fail "a link's target was changed"
}

# The lines that the page gives to an administrator, in a file that comes first.
opens_to_a_group() {
    new_root
    mkdir -p "$root/usr/lib/tmpfiles.d" "$root/etc/tmpfiles.d"
    cp "$1" "$root/usr/lib/tmpfiles.d/libqor-comlib1.conf"
    sed -nE "s|^ +(d $som/[CS]S .*)$|\1|p" "$page" \
        >"$root/etc/tmpfiles.d/00-qor-channel.conf"
    [[ $(wc -l <"$root/etc/tmpfiles.d/00-qor-channel.conf") -eq 2 ]] ||
        fail "$page does not give two lines for the channel's group"

    # Lines for one path: the first counts; the others are complained about.
    systemd-tmpfiles --root="$root" --create --prefix=/opt 2>"$work/complaints" ||
        fail "$(cat "$work/complaints")"
    same "$(wanted_directories | sed -E 's|^(d 2770 0):0|\1:900|')" "$(listing)" \
        "the channel is the group's"
}

# --- Each check can fail. ---

faults=0

# finds CHECK SED: the check, given the file with that change, fails.
finds() {
    faults=$((faults + 1))
    sed -E "$2" "$conf" >"$work/faulty.conf"
    ! cmp -s "$conf" "$work/faulty.conf" || fail "no such line: $2"
    if ("$1" "$work/faulty.conf") >/dev/null 2>&1; then
        fail "$1 does not see this fault: $2"
    fi
}

checks=(agrees_with_the_library makes_the_directories mends_the_directories keeps_strangers_out
    clears_stale_files_at_boot opens_to_a_group)
for check in "${checks[@]}"; do
    "$check" "$conf"
    echo "$check: yes"
done

finds agrees_with_the_library 's|/opt/velmora/qor/log|/var/log/qor|'
finds agrees_with_the_library 's|^r! /var/tmp/dmitmp|r! /var/tmp/dmicache|'
finds agrees_with_the_library '/motds/d'
finds makes_the_directories 's/^(d .*log +)0700/\10750/'
finds makes_the_directories 's/^(d .*CS +2770 root) root/\1 qorchannel/'
finds makes_the_directories 's|^d (.*/etc )|f \1|'
finds mends_the_directories 's/^(d .*etc +)0755/\1:0755/; s/^(d .*log +)0700/\1-   /'
finds keeps_strangers_out 's/^(d .*log +)0700/\10755/'
finds keeps_strangers_out 's/^(d .*SS +)2770/\11777/'
finds keeps_strangers_out 's/^(d .*som +)0755/\10777/'
finds clears_stale_files_at_boot 's/^r! (.*dmitmp)/r \1/'
finds clears_stale_files_at_boot '/^r! .*dmitmp/d'
finds clears_stale_files_at_boot 's/^(r! .*qortmp).*/\1*/'
finds clears_stale_files_at_boot 's/^(r! .*tmp.motd)$/\1*/'
finds opens_to_a_group 's/^d (.*som +)0755/d \10700/'
echo "$faults faults, each found"
