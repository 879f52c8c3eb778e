# shellcheck shell=bash
# The cases of the inventory's methods System, Devices, Versions and Vendors. To be sourced.

# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/helpers.sh"

dmidecode=/usr/sbin/dmidecode
catalogue=$root/etc/catalogue.xml

# without FILE COMMAND...: runs the command while the file is away.
without() {
    local file=$1
    shift
    mv "$file" "$file.away"
    "$@"
    mv "$file.away" "$file"
}

# instead_of FILE COMMAND...: runs the command while the file holds what comes in.
instead_of() {
    local file=$1
    shift
    cp -p "$file" "$file.saved"
    cat >"$file"
    "$@"
    mv "$file.saved" "$file"
}

# with_firmware COMMAND...: runs the command while dmidecode prints what comes in, and complains.
with_firmware() {
    local stub=$root/dmidecode.stub
    printf '#!/bin/sh\necho "no such device" >&2\ncat %s.out\n' "$stub" >"$stub"
    cat >"$stub.out"
    chmod 0755 "$stub"
    mount --bind "$stub" "$dmidecode"
    "$@"
    umount "$dmidecode"
}

check_system() {
    section "System"
    expect 0 "^Version +$(uname -r)$" qor_cli Inventory System
    expect_output "^Name +$(uname -i)$"
    expect_output '^Firmware$'
    expect_output '^  UUID +[^ ]'
    expect_output '^  Manufacturer +[^ ]'
    expect_output '^  Product +[^ ]'
    expect_output '^  Version +[^ ]'

    with_firmware expect 0 '^  Product +Node 7$' qor_cli Inventory System <<'END'
# dmidecode 3.4
Handle 0x0001, DMI type 1, 27 bytes
System Information
	Manufacturer: Example Ltd.
	Product Name: Node 7
	Version:
	Serial Number: 1
END
    expect_output '^  Manufacturer +Example Ltd\.$'
    expect_output '^  Version +unknown$'
    expect_output '^  UUID +unknown$'
    with_firmware expect 0 '^  Product +unknown$' qor_cli Inventory System </dev/null
}

check_devices() {
    local script=$root/etc/lspcimn.sh slot
    section "Devices"
    expect 0 "^Count +$(lspci -D 2>/dev/null | wc -l)$" qor_cli Inventory Devices
    while read -r slot _; do
        expect_output "^  $slot +[0-9A-F]{4} +[0-9A-F]{4}$"
    done < <(lspci -D 2>/dev/null)

    instead_of "$script" expect 0 '^  0000:a0:00\.0 +ABCD +12EF$' qor_cli Inventory Devices <<'END'
echo '0000:a0:00.0 abcd 12ef'; echo 'a complaint' >&2
END
    without "$script" expect 1 \
        "0x80041002: the script $script cannot be run: No such file or directory$" \
        qor_cli Inventory Devices
    chmod 0644 "$script"
    expect 1 'lspcimn\.sh cannot be run: Permission denied$' qor_cli Inventory Devices
    chmod 0755 "$script"
    rm "$root/etc/devices.tmp"
    mkdir "$root/etc/devices.tmp"
    expect 1 '0x80041001: .*/devices\.tmp cannot be written$' qor_cli Inventory Devices
    rmdir "$root/etc/devices.tmp"
    expect 0 '^Devices$' qor_cli Inventory Devices
}

check_versions() {
    local versions=$root/etc/qorversion.ver
    section "Versions"
    expect 0 '^  Section +Component +Installed +Wanted +State$' qor_cli Inventory Versions
    expect_output '^  QORProvider +libqorp_Inventory\.so +2\.0 +2\.0\.0 +current$'
    expect_output '^  VendorModule +libqorp_Sysfs\.so +1\.0 +1\.2 +update needed$'
    expect_no_output 'libqorp_Network'
    expect 0 ' qor_cli ' qor_cli Inventory Versions Section=CLI
    expect_no_output ' qor_som '
    expect 0 ' qor_som ' qor_cli Inventory Versions Component=qor_som
    expect_no_output ' qor_cli '
    expect 1 '0x80041008: Section must be Integrated' qor_cli Inventory Versions Section=Disk
    expect 1 '0x80041008: Component must be one that is listed in .*/qorversion\.ver$' \
        qor_cli Inventory Versions Component=qorum
    expect 1 '0x80041008: Component must be' \
        qor_cli Inventory Versions Section=CLI Component=qor_som

    without "$versions" expect 1 "0x80041002: there is no file $versions$" qor_cli Inventory Versions
    without "$catalogue" expect 1 "0x80041002: the catalogue $catalogue cannot be opened$" \
        qor_cli Inventory Versions
    instead_of "$catalogue" expect 1 '0x80041001: a component in .* lacks name or version$' \
        qor_cli Inventory Versions <<<'<catalogue><component name="qor_cli"/></catalogue>'
    instead_of "$catalogue" expect 1 '0x80041001: .* is no well-formed XML$' \
        qor_cli Inventory Versions </dev/null
    expect 0 'update needed' qor_cli Inventory Versions
}

check_vendors() {
    local vendors=$root/etc/vendors.ini interfaces
    section "Vendors"
    interfaces=$(find /sys/class/net -type l -printf '%f\n' | LC_ALL=C sort | paste -sd, |
        sed 's/,/, /g')
    expect 0 "^  Network +libqorp_Sysfs\.so +CNetworkDevice +ready +$interfaces$" \
        qor_cli Inventory Vendors
    expect_output '^  Disk +libqorp_Sysfs\.so +CDiskDevice +ready'
    expect_output '^  Tape +libqorp_Tape\.so +CTapeDevice +library cannot be loaded$'
    expect 0 '^  Disk ' qor_cli Inventory Vendors Device=Disk
    expect_no_output 'Network|Tape'
    expect 1 '0x80041008: Device must be one that is listed in .*/vendors\.ini$' \
        qor_cli Inventory Vendors Device=disk

    without "$vendors" expect 1 "0x80041002: there is no file $vendors$" qor_cli Inventory Vendors
    instead_of "$vendors" expect 1 '0x80041001: .*/vendors\.ini lists no device$' \
        qor_cli Inventory Vendors <<<'garbage'
    instead_of "$vendors" expect 0 '^  Disk .* CTapeDevice +no such class$' \
        qor_cli Inventory Vendors <<<$'[Disk]\nDllName=Sysfs.dll\nClassName=CTapeDevice'

    cp "$root/provider/libqorp_Inventory.so" "$root/lib/libqorp_NoVendor.so"
    instead_of "$vendors" expect 0 '^  Disk .* library cannot be loaded$' \
        qor_cli Inventory Vendors <<<$'[Disk]\nDllName=NoVendor.dll\nClassName=CDiskDevice'
    rm "$root/lib/libqorp_NoVendor.so"
}
