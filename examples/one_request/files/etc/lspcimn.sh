#!/bin/sh
# lspcimn.sh - the devices of this host for COsInfo::makeDeviceInfo: a line of three words for each,
# slot, vendor id and device id, from the output of lspci(8).
#
# -D shows the domain in front of the slot, "0000:a0:00.0": only records whose first word begins
# with a digit are listed, and buses may begin with a letter.
PATH=/usr/bin:/usr/sbin:/bin:/sbin
lspci -Dn | sed -nE 's/^([^ ]+) [^ ]+ ([0-9a-f]{4}):([0-9a-f]{4}).*$/\1 \2 \3/p'
