#!/usr/bin/env bash
# Builds the Debian packages from a clean copy of the tree, twice, in different folders, languages,
# time zones and with different umasks, and checks them: lintian(1) has neither errors nor warnings,
# both builds are the same to the byte, nothing is missing and nothing too much. Takes minutes.
#   scripts/check-packages.sh [DIRECTORY]    DIRECTORY: keeps the packages
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require git dpkg-buildpackage dh lintian localedef nm
keep=${1:-}
[[ -z $keep ]] || { mkdir -p "$keep" && keep=$(realpath "$keep"); }
cd "$(dirname "$0")/.."

[[ -f /usr/share/i18n/locales/tr_TR && -f /usr/share/zoneinfo/Pacific/Kiritimati ]] || {
    echo "The packages locales or tzdata are missing: scripts/install-deps.sh package" >&2
    exit 77
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
version=$(sed -nE '1s/^[^(]*\(([^)]*)\).*/\1/p' debian/changelog)
triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
arch=$(dpkg-architecture -qDEB_HOST_ARCH)
soname=libqor_ComLib.so.${version%%.*}
lib=libqor-comlib${version%%.*}
dev=libqor-comlib-dev
doc=libqor-comlib-doc
tools=qor-comlib-tools

same() {
    diff -u <(echo "$1") <(echo "$2") >&2 || fail "$3 (- wanted, + found)"
}

# What git knows, or would after "git add": no build trees, no editor's files.
export_tree() {
    local file
    mkdir -p "$1"
    git ls-files -z --cached --others --exclude-standard |
        while IFS= read -r -d '' file; do
            [[ ! -e $file && ! -L $file ]] || printf '%s\0' "$file"
        done |
        tar --create --null --files-from=- | tar --extract --directory="$1"
}

# build DIRECTORY VARIABLE...: with only these in the environment.
build() {
    local tree=$1 log=$1.log
    shift
    export_tree "$tree"
    (cd "$tree" &&
        env -i PATH="$PATH" "$@" dpkg-buildpackage --unsigned-source --unsigned-changes) \
        >"$log" 2>&1 || { tail -n 50 "$log" >&2; fail "the build in $tree"; }
    # Diversions are the machine's: libc6 of Debian 13 has some.
    ! grep -E '^(dh_[a-z_]+|dpkg-[a-z]+): (warning|error)' "$log" | grep -v ': diversions involved' >&2 ||
        fail "the build complains"
}

# paths_of PACKAGE: files and links in it.
paths_of() {
    dpkg-deb --fsys-tarfile "$packages/$1"_*.deb | tar --list | grep -v '/$' | sed 's/^\.//' |
        LC_ALL=C sort
}

read_from() {
    dpkg-deb --fsys-tarfile "$packages/$1"_*.deb | tar --extract --to-stdout ".$2"
}

control_file() {
    dpkg-deb --ctrl-tarfile "$packages/$1"_*.deb | tar --extract --to-stdout "./$2"
}

# --- The checks ---

is_reproducible() {
    local first second
    for first in "$packages"/*.deb; do
        second=$again/$(basename "$first")
        cmp "$first" "$second" && continue
        command -v diffoscope >/dev/null && diffoscope "$first" "$second" >&2
        fail "$(basename "$first") differs between two builds"
    done
    (cd "$packages" && sha256sum ./*.deb)
}

# run_lintian FILE: exit status 0 without errors and warnings.
run_lintian() {
    lintian --allow-root --display-info --fail-on error,warning "$1" 2>"$work/lintian.err"
}

pleases_lintian() {
    run_lintian "$packages/libqor-comlib_${version}_$arch.changes" ||
        fail "lintian: errors or warnings $(cat "$work/lintian.err")"

    # It would say so if there were any.
    mkdir -p "$work/bad/DEBIAN" "$work/bad/opt/velmora"
    printf '%s\n' 'Package: bad' 'Version: 1' 'Architecture: all' 'Maintainer: nobody' \
        'Description: bad' >"$work/bad/DEBIAN/control"
    dpkg-deb --build "$work/bad" "$work/bad.deb" >/dev/null
    ! run_lintian "$work/bad.deb" >"$work/bad.out" || fail "lintian finds a bad package good"
    grep -q '^E: bad: dir-or-file-in-opt' "$work/bad.out" || fail "lintian: $(cat "$work/bad.out")"
}

holds_the_library() {
    same "$(LC_ALL=C sort <<END
/usr/lib/$triplet/$soname
/usr/lib/$triplet/libqor_ComLib.so.$version
/usr/lib/sysusers.d/$lib.conf
/usr/lib/tmpfiles.d/$lib.conf
/usr/share/doc/$lib/changelog.gz
/usr/share/doc/$lib/copyright
END
    )" "$(paths_of "$lib")" "files of $lib"

    read_from "$lib" "/usr/lib/tmpfiles.d/$lib.conf" |
        cmp - packaging/tmpfiles.d/qor-comlib.conf || fail "the tmpfiles.d file is another"
    [[ $(control_file "$lib" postinst) == *systemd-sysusers*systemd-tmpfiles*--create\ --prefix=* ]] ||
        fail "the installation makes no group, or no directories after it"
    [[ $(control_file "$lib" postinst) != *--create\ $lib.conf* ]] ||
        fail "the installation ignores the administrator's lines"
    [[ $(control_file "$lib" triggers) == *ldconfig* ]] || fail "the loader's cache is not renewed"

    read_from "$lib" "/usr/lib/$triplet/libqor_ComLib.so.$version" >"$work/library"
    scripts/check-hardening.sh "$work/library" || fail "the library is not hardened"
}

# One line of debian/ stands for the version node; here are the names that it stood for.
lists_each_symbol() {
    nm --dynamic --defined-only --with-symbol-versions "$work/library" |
        awk '{sub("@@", "@", $3); print $2 == "A" ? "QOR_1@QOR_1" : $3}' |
        LC_ALL=C sort >"$work/names"
    control_file "$lib" symbols >"$work/symbols"
    same "$soname $lib #MINVER#" "$(head -n 1 "$work/symbols")" "symbols: first line"
    same "$(cat "$work/names")" \
        "$(sed -nE 's/^ ([^ ]+@QOR_1) [0-9.]+$/\1/p' "$work/symbols" | LC_ALL=C sort)" "symbols"
}

holds_what_programs_are_built_with() {
    local header file
    same "$({
        for header in include/*; do
            echo "/usr/include/qor/${header#include/}"
        done
        for file in Config ConfigVersion Targets Targets-relwithdebinfo; do
            echo "/usr/lib/$triplet/cmake/qor_ComLib/qor_ComLib$file.cmake"
        done
        echo "/usr/lib/$triplet/libqor_ComLib.so"
        echo "/usr/lib/$triplet/pkgconfig/qor_ComLib.pc"
        echo "/usr/share/doc/$dev/changelog.gz"
        echo "/usr/share/doc/$dev/copyright"
    } | LC_ALL=C sort)" "$(paths_of "$dev")" "files of $dev"
    [[ $(dpkg-deb --field "$packages/${dev}_${version}_$arch.deb" Depends) == \
        *"$lib (= $version)"* ]] || fail "$dev does not need the library of its version"
}

holds_the_documents() {
    local path link page target root=$work/documents
    paths_of "$doc" >"$work/paths"
    for path in README.md CHANGELOG.md CONTRIBUTING.md docs/*.md \
        $(git ls-files --cached --others --exclude-standard examples packaging tools); do
        [[ ! -e $path ]] || grep -qxF "/usr/share/doc/$dev/$path" "$work/paths" ||
            fail "$doc lacks $path"
    done

    for path in doc/$dev/SECURITY.md doc/$dev/html/index.html man/man5/qor_text_record.5qor.gz \
        man/man7/qor.7qor.gz; do
        grep -qxF "/usr/share/$path" "$work/paths" || fail "$doc lacks $path"
    done

    # Links between pages, and to installed headers, lead to files.
    mkdir "$root"
    dpkg-deb --extract "$packages/${doc}_${version}_all.deb" "$root"
    dpkg-deb --extract "$packages/${dev}_${version}_$arch.deb" "$root"
    for page in "$root/usr/share/doc/$dev"/{*.md,docs/*.md}; do
        while read -r link; do
            target=${link%%#*}
            [[ -z $target ]] && continue
            [[ $target == /* ]] && target=$root$target || target=$(dirname "$page")/$target
            [[ -e $target ]] || fail "$(basename "$page") of $doc: no file $link"
        done < <(sed -e '/^\x60\{3\}/,/^\x60\{3\}/d' -e 's/\x60[^\x60]*\x60//g' "$page" |
            grep -oE '\]\([^) ]+\)' | sed -E 's/^\]\((.*)\)$/\1/' | grep -vE '^[a-z]+:' || true)
    done
}

# What an administrator reads and runs. Every manual page is in one package.
holds_the_tools() {
    local path root=$work/tools pages
    paths_of "$tools" >"$work/paths"
    for path in sbin/qor_doctor lib/systemd/system/qor-doctor.timer share/bash-completion/completions/qor_doctor \
        share/qor_ComLib/lnav/qor_log.json share/doc/$tools/examples/logrotate/qor-comlib share/man/man5/socket.conf.5qor.gz \
        share/man/man7/qor_services.7qor.gz share/man/man8/qor_doctor.8qor.gz; do
        grep -qxE "(/usr)?/$path" <(sed 's|^/usr/|/|' "$work/paths") || fail "$tools lacks $path"
    done
    [[ $(control_file "$tools" postinst) == *qor-doctor.timer* ]] || fail "nothing starts the timer"

    mkdir "$root"
    dpkg-deb --extract "$packages/${tools}_${version}_$arch.deb" "$root"
    dpkg-deb --extract "$packages/${lib}_${version}_$arch.deb" "$root"
    scripts/check-hardening.sh "$root/usr/sbin/qor_doctor" || fail "qor_doctor is not hardened"
    [[ $(LD_LIBRARY_PATH=$root/usr/lib/$triplet "$root/usr/sbin/qor_doctor" --version) == \
        "qor_doctor $version" ]] || fail "qor_doctor prints another version"

    mapfile -t pages < <(for path in docs/*.md; do basename "$path" .md; done)
    (($({ paths_of "$tools"; paths_of "$doc"; } | grep -c '/man7/') == ${#pages[@]})) ||
        fail "a manual page is in no package, or in both"
}

# No path belongs to another package of this machine: such a package could not be installed.
takes_nobody_s_name() {
    local owners package
    owners=$(for package in "$lib" "$dev" "$doc" "$tools"; do paths_of "$package"; done |
        xargs dpkg-query --search 2>/dev/null | grep -vE '^(lib)?qor-comlib' || true)
    [[ -z $owners ]] || fail "paths of other packages: $owners"
}

packages=$work/first
again=$work/second/in/another/folder
mkdir -p "$packages" "$again" "$work/home" "$work/locale"
localedef -i tr_TR -f UTF-8 "$work/locale/tr_TR.UTF-8"

umask 022
build "$packages/libqor-comlib" HOME="$work/home" LC_ALL=C.UTF-8 TZ=UTC
echo "built: $(cd "$packages" && echo *.deb)"
[[ -z $keep ]] || (cd "$packages" && cp ./*.deb ./*.dsc ./*.tar.* ./*.changes ./*.buildinfo "$keep")
umask 002
build "$again/sources" HOME=/nonexistent USER=somebody LOCPATH="$work/locale" LANGUAGE=tr \
    LC_ALL=tr_TR.UTF-8 TZ=Pacific/Kiritimati
umask 022

for check in is_reproducible pleases_lintian holds_the_library lists_each_symbol \
    holds_what_programs_are_built_with holds_the_documents holds_the_tools takes_nobody_s_name; do
    "$check"
    echo "$check: yes"
done
