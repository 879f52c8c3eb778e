#!/usr/bin/env bash
# Checks packaging/tmpfiles.d/qor-comlib.conf with systemd-tmpfiles(8) itself, in a private root:
# it agrees with src/base/Paths.h; directories get their owners and modes, also where they were
# wrong; another account neither looks into nor changes what it must not; a boot removes the stale
# scratch files and nothing else; the channel opens to a group as docs/services.md says, and installation
# and upgrade of the package leave it open; purging the package removes what its programs wrote.
#   scripts/check-tmpfiles.sh
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require systemd-tmpfiles setpriv
# Owners are root's to give. Others have a range of ids of their own where uidmap is set up.
if [[ $EUID -ne 0 ]]; then
    unshare --user --map-root-user --map-auto true 2>/dev/null || {
        echo "Owners cannot be given: run this as root, or with subordinate ids (uidmap)" >&2
        exit 77
    }
    exec unshare --user --map-root-user --map-auto "$0"
fi
cd "$(dirname "$0")/.."
conf=$PWD/packaging/tmpfiles.d/qor-comlib.conf

# same WHAT FOUND WANTED...: as lines, in any order.
same() {
    diff -u <(printf '%s\n' "${@:3}" | LC_ALL=C sort) <(LC_ALL=C sort <<<"$2") >&2 ||
        fail "$1 (- wanted, + found)"
}

read_paths
top=${path[kInstallRoot]} etc=${path[kEtcDirectory]} log=${path[kLogDirectory]}
som=${path[kObjectManager]} requests=${path[kClientDirectory]} answers=${path[kServerDirectory]}
scratch=${path[kScratchPrefix]} banner=${path[kBanner]}
directories=("$top" "$etc" "$log" "$som" "$requests" "$answers")
wanted=("d 755 0:0 $top" "d 755 0:0 $etc" "d 700 0:0 $log" "d 755 0:0 $som" "d 2770 0:0 $requests"
    "d 2770 0:0 $answers")
stamp=00001700000000000042
stale=("$scratch$stamp" "$scratch${stamp/17/18}" "$scratch${stamp/17/19}" "${path[kDmiCache]}"
    "${path[kBannerScratch]}" "${path[kBannerMark]}")
# Beside the stale files, and like them.
fresh=("$scratch" "${scratch}x" "$scratch${stamp%2}" "$scratch${stamp}7" "$scratch${stamp%2}x"
    "$scratch$stamp.bak" "${scratch/qor/our}$stamp" "/tmp/${scratch##*/}$stamp"
    "${path[kDmiCache]}.bak" "${path[kDmiCache]}2" "/tmp/${path[kDmiCache]##*/}"
    "${path[kBannerScratch]}x" "${path[kBannerScratch]}.bak" "/var/tmp/motd" "/tmp/motds"
    "$banner" "${path[kDeviceList]}" "$etc/motd.dat" "$log/QOR_som_trc_261115082918.log"
    "$requests/${stamp}cli.snd" "$requests/${stamp}cli.tmp" "$answers/${stamp}cli.snd")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Another account comes as far as the private root: the directories have to stop it.
chmod 0755 "$work"

new_root() {
    root=$(mktemp -d "$work/root.XXXXXX")
    mkdir -p "$root/etc" "$root/tmp" "$root/var/tmp"
    chmod 0755 "$root"
    chmod 1777 "$root/tmp" "$root/var/tmp"
    printf 'root:x:0:\nqorchannel:x:900:\n' >"$root/etc/group"
}

# tmpfiles OPTION...: complaints are failures, too.
tmpfiles() {
    local complaints
    complaints=$(systemd-tmpfiles --root="$root" "$@" "$conf" 2>&1) || fail "$*: $complaints"
    [[ -z $complaints ]] || fail "$*: $complaints"
}

# What lies at the install root and below, and the files of the whole root.
installed() {
    (cd "$root" && find ".$top" ! -name message -printf "%y %m %U:%G %p\n" | sed "s| \./| /|")
}
files() { (cd "$root" && find . ! -type d | sed 's|^\./|/|'); }
stranger() { setpriv --reuid=65534 --regid=65534 --clear-groups "$@" 2>/dev/null; }

new_root
tmpfiles --create --boot
same "directories made" "$(installed)" "${wanted[@]}"
same "files made" "$(files)" /etc/group

new_root
for directory in "${directories[@]}"; do
    mkdir -p "$root$directory"
    chmod 0777 "$root$directory"
done
chown 65534:65534 "$root$etc" "$root$log"
echo text >"$root$requests/message"
tmpfiles --create
same "directories corrected" "$(installed)" "${wanted[@]}"
[[ $(cat "$root$requests/message") == text ]] || fail "a message was lost"

# The files are open to all: the directories are what keeps others away.
for directory in "${directories[@]}"; do
    file=$root$directory/file
    echo secret >"$file"
    chmod 0666 "$file"
    ! stranger touch "$root$directory/new" || fail "another account makes files in $directory"
    ! stranger mv "$file" "$file.moved" || fail "another account renames in $directory"
    ! stranger rm -f "$file" || fail "another account removes in $directory"
done
for directory in "$log" "$requests" "$answers"; do
    ! stranger ls "$root$directory" >/dev/null || fail "another account lists $directory"
    ! stranger cat "$root$directory/file" >/dev/null || fail "another account reads $directory"
done
[[ $(stranger cat "$root$etc/file") == secret ]] || fail "settings cannot be read"
stranger touch "$root/var/tmp/of-another-account" || fail "the other account can do nothing"

new_root
tmpfiles --create
for file in "${stale[@]}" "${fresh[@]}"; do
    echo content >"$root$file"
done
ln -sf "$root$banner" "$root${stale[2]}"  # a planted link goes, its target stays
tmpfiles --remove
same "nothing is removed on a running system" "$(files)" "${stale[@]}" "${fresh[@]}" /etc/group
tmpfiles --clean --boot
same "nothing is removed for its age" "$(files)" "${stale[@]}" "${fresh[@]}" /etc/group
tmpfiles --boot --remove --create
same "the stale files are removed at boot" "$(files)" "${fresh[@]}" /etc/group
[[ $(cat "$root$banner") == content ]] || fail "a link's target was changed"

# The lines that the page gives to an administrator, in a file that comes first.
new_root
mkdir -p "$root/usr/lib/tmpfiles.d" "$root/etc/tmpfiles.d"
cp "$conf" "$root/usr/lib/tmpfiles.d/libqor-comlib1.conf"
sed -nE "s|^ +(d $som/[CS]S .*)$|\1|p" docs/services.md \
    >"$root/etc/tmpfiles.d/00-qor-channel.conf"
# script NAME ARGUMENT...: of the package, in the private root. Complaints are failures, too.
script() {
    local complaints
    complaints=$(DPKG_ROOT=$root DPKG_MAINTSCRIPT_PACKAGE_REFCOUNT=$instances \
        sh "debian/libqor-comlib1.$1" "${@:2}" 2>&1) || fail "$*: $complaints"
    [[ -z $complaints ]] || fail "$*: $complaints"
}

instances=1  # of the package, by architecture
of_group=("${wanted[@]/#d 2770 0:0/d 2770 0:900}")
script postinst configure
same "the channel is the group's" "$(installed)" "${of_group[@]}"
printf 'd %s 0750 root qorchannel -\n' "$log" >"$root/etc/tmpfiles.d/10-log.conf"
script postinst configure 1.0.0
same "overrides survive an upgrade" "$(installed)" "${of_group[@]/#d 700 0:0/d 750 0:900}"
grep -qx 'g qorchannel - -' packaging/sysusers.d/qor-comlib.conf || fail "nothing makes the group"

# What the library's programs wrote, and what an administrator put beside it.
written=("$log/QOR_som_trc_261115082918.log" "$log/QOR_som_trc_261114082918.log.gz"
    "$requests/${stamp}cli.snd" "$answers/${stamp}cli.tmp")
kept=("$etc/qorversion.ver" "$som/providers.ini" "$som/backup/CS/${stamp}cli.snd")
mkdir -p "$root$som/backup/CS"
for file in "${written[@]}" "${kept[@]}"; do
    echo content >"$root$file"
done
script postrm remove
script postrm upgrade 1.0.1
instances=2
script postrm purge
same "a removal keeps everything, and so does the package of another architecture" \
    "$(cd "$root" && find ".$top" -type f | sed 's|^\.||')" "${written[@]}" "${kept[@]}"
instances=1
script postrm purge
same "a purge keeps the administrator's files" "$(cd "$root" && find ./opt ! -type d | sed 's|^\.||')" \
    "${kept[@]}"
same "a purge removes empty directories" "$(cd "$root" && find ./opt -type d | sed 's|^\.||')" \
    /opt /opt/velmora "$top" "$etc" "$som" "$som/backup" "$som/backup/CS"
rm -r "$root$etc" "$root$som"
script postrm purge
same "a purge leaves nothing of its own" "$(cd "$root" && find ./opt | sed 's|^\.||')" /opt

echo "${#directories[@]} directories, ${#stale[@]} stale files of $((${#stale[@]} + ${#fresh[@]}))"
