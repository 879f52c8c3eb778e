#!/bin/sh
# An example of the device-listing script: slot, vendor and device of each PCI device.
# LSPCI_DUMP: a recording of "lspci -x" to be listed in place of this machine's devices.
echo Bus Vendor Device
lspci ${LSPCI_DUMP:+-F "$LSPCI_DUMP"} -n |
    sed -n 's/^\([^ ]*\) [^ ]* \([0-9a-f]*\):\([0-9a-f]*\).*/\1 \2 \3/p'
