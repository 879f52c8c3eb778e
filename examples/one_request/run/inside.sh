#!/usr/bin/env bash
# The example's course of events; run.sh starts it in private mounts.
#   inside.sh show|check STAGE BUILD            STAGE: what is installed in /opt/velmora/qor
#   inside.sh call STAGE BUILD COMMAND...
set -euo pipefail

here=$(dirname "$(realpath "$0")")
# shellcheck source-path=SCRIPTDIR
source "$here/checks.sh"

mode=$1
stage=$2
build=$3

install_privately() {
    # The example may lie below a directory that is covered: it is seen here, too. That is where the
    # counters of a coverage build go, gcov(1).
    exec 8<"$here" 9<"$build"
    mount -t tmpfs -o mode=0755 tmpfs /opt
    mkdir /opt/velmora /opt/run /opt/build
    mount -c --bind /proc/self/fd/8 /opt/run
    mount -c --bind /proc/self/fd/9 /opt/build
    exec 8<&- 9<&-
    here=/opt/run
    export GCOV_PREFIX=/opt/build GCOV_PREFIX_STRIP
    GCOV_PREFIX_STRIP=$(tr -cd / <<<"$build" | wc -c)
    cp -R "$stage" "$root"
    chmod 0755 "$root"
    [[ -z ${QOR_RUN_UNDER:-} ]] || run_under "$QOR_RUN_UNDER"
    # The records that also go to the system log stay here as well.
    [[ ! -e /dev/log ]] || mount --bind /dev/null /dev/log
    # So do the library's scratch files.
    mount -t tmpfs -o mode=1777 tmpfs /var/tmp
}

# As the package makes them.
make_directories() {
    local type path mode rest
    while read -r type path mode rest; do
        [[ $type != d ]] || install -d -m "$mode" "$path"
    done <<<"$directories"
}

# A provider and a vendor without their libraries, for the demo and the checks.
define_broken_entries() {
    sed -i 's/^NumProvider=1$/NumProvider=2/' "$root/som/providers.ini"
    sed -i 's/^SuportDeviceNum=2$/SuportDeviceNum=3/' "$root/etc/vendors.ini"
    cat "$here/broken/providers.ini" >>"$root/som/providers.ini"
    cat "$here/broken/vendors.ini" >>"$root/etc/vendors.ini"
}

# run_under COMMAND: tool and service are run by it, as a script in their place does.
run_under() {
    local program
    mkdir "$root/libexec"
    for program in bin/qor_cli sbin/qor_som; do
        mv "$root/$program" "$root/libexec"
        printf '#!/bin/sh\nexec %s %s "$@"\n' "$1" "$root/libexec/${program##*/}" >"$root/$program"
        chmod 0755 "$root/$program"
    done
}

show_requests() {
    section "A good request"
    expect 0 "HostName +$(uname -n)" qor_cli Inventory Host
    expect_output "KernelRelease +$(uname -r)"
    expect_output "Count +$(grep -c '^processor' /proc/cpuinfo)"
    expect_output "TotalBytes .*\($(($(getconf _PHYS_PAGES) * $(getconf PAGE_SIZE)))\)"

    section "A table: which component needs an update"
    expect 0 'SOM +qor_som +1\.4\.0 +1\.4\.1 +update needed$' qor_cli Inventory Versions
    expect_output 'CLI +qor_cli +1\.10\.0 +1\.9\.2 +current$'
    expect_output 'QORProvider +libqorp_Battery\.so +0\.3 +not in the catalogue$'

    section "The same with a broken catalogue"
    cp "$catalogue" "$catalogue.saved"
    expect 0 '' truncate -s -10 "$catalogue"
    expect 1 'the catalogue /opt/velmora/qor/etc/catalogue\.xml is no well-formed XML$' \
        qor_cli Inventory Versions
    mv "$catalogue.saved" "$catalogue"

    section "A request for a class that no provider serves"
    expect 3 'refused: there is no class "Network"' qor_cli Network Host

    section "A request for a provider that is defined, but not installed"
    expect 1 'libqorp_Battery.so" cannot be loaded as a provider' qor_cli Battery Charge
}

show_logs() {
    section "The operation logs, read back through the library"
    expect 0 'info    Service started, 2 providers defined' qor_cli --log som
    expect_output 'info    Request [0-9]{20}cli\.snd: Inventory\.Host returned 0x00000000'
    expect_output 'fail    Request .* refused: there is no class "Network"'
    expect_output 'fail    Request .* failed: .*libqorp_Battery\.so" cannot be loaded as a provider'
    expect 0 'info    Method Host done' qor_cli --log inventory
    expect_output 'info    2 of 6 components need an update'
    expect_output 'fail    Method Versions returned 0x80041001: the catalogue'
    expect 0 'fail    Network\.Host failed: refused' qor_cli --log cli

    section "The debug log of the channel, the tool's side"
    expect 0 'CFileTransfer::SendMessage.*send file saved to .*/CS/[0-9]{20}cli\.snd' \
        cat "$root"/log/QOR_cli_dbg_*.log
    expect_output ' - client-recv LENGTH='

    section "The debug log of the channel, the service's side"
    expect 0 'CFileTransfer::IsTransFile.*processing file .*/CS/[0-9]{20}cli\.snd' \
        cat "$root"/log/QOR_som_dbg_*.log
    expect_output 'FAIL.*libqorp_Battery\.so: cannot open shared object file'
}

trap stop_service_at_once EXIT
[[ $mode != call ]] || directories=$(<"$here/../../../packaging/tmpfiles.d/qor-comlib.conf")
install_privately
if [[ $mode == call ]]; then
    make_directories
    start_service providers.ini
    expect 0 '^HostName' qor_cli Inventory Host
    "${@:4}"
    exit
fi
define_broken_entries
section "The service starts"
start_service providers.ini
show_requests
show_logs
[[ $mode != check ]] || check_the_rest
section "The service is asked to stop"
stop_service
[[ -z $(spooled_files) ]] || fail "files are left in the spool: $(spooled_files)"
[[ -z $(ls -A /var/tmp) ]] || fail "files are left in /var/tmp: $(ls -A /var/tmp)"
echo
echo "All went as it should."
