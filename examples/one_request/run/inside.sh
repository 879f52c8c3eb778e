#!/usr/bin/env bash
# The example's course of events; run.sh starts it in private mounts.
#   inside.sh show|check STAGE    STAGE: what is to be installed in /opt/velmora/qor
set -euo pipefail

here=$(dirname "$(realpath "$0")")
# shellcheck source-path=SCRIPTDIR
source "$here/checks.sh"

mode=$1
stage=$2

install_privately() {
    mount -t tmpfs -o mode=0755 tmpfs /opt
    mkdir /opt/velmora
    cp -R "$stage" "$root"
    chmod 0755 "$root"
    # The records that also go to the system log stay here as well.
    [[ ! -e /dev/log ]] || mount --bind /dev/null /dev/log
}

show_requests() {
    section "A good request"
    expect 0 "HostName +$(uname -n)" qor_cli Inventory Host
    expect_output "KernelRelease +$(uname -r)"
    expect_output "Count +$(grep -c '^processor' /proc/cpuinfo)"
    expect_output "TotalBytes .*\($(($(getconf _PHYS_PAGES) * $(getconf PAGE_SIZE)))\)"

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
install_privately
section "The service starts"
start_service providers.ini
show_requests
show_logs
[[ $mode != check ]] || check_the_rest
section "The service is told to stop"
stop_service
[[ -z $(spooled_files) ]] || fail "files are left in the spool: $(spooled_files)"
echo
echo "All went as it should."
