#!/usr/bin/env bash
# Checks that finished libraries and programs are hardened, by Debian's hardening-check(1). On x86-64
# each exported function also has to begin with endbr64: that tool goes by a note that the C library's
# own objects lack.
#   scripts/check-hardening.sh FILE...
# The linker refuses text relocations itself (-z text), and lintian(1) finds search paths and
# executable stacks in the packages.
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require hardening-check objdump nm readelf

foreign=()
# What only other processors have is not asked for; the option is younger than the tool.
[[ $(hardening-check --help) != *--nobranchprotection* ]] || foreign=(--nobranchprotection)

failures=0
for file in "$@"; do
    options=(--nocfprotection "${foreign[@]}")
    # A program may call nothing that could be fortified.
    [[ $(readelf --segments "$file") != *INTERP* ]] || options+=(--nofortify)
    hardening-check "${options[@]}" "$file" || failures=$((failures + 1))
    [[ $(uname -m) == x86_64 ]] || continue
    functions=$(nm --dynamic --defined-only "$file" | awk '/ [TW] / { print $1 }' | sort -u | wc -l)
    landings=$(objdump --disassemble "$file" | grep -c 'endbr64' || true)
    ((landings >= functions && landings > 0)) || {
        echo "$file: jumps may lead anywhere (-fcf-protection)"
        failures=$((failures + 1))
    }
done
exit $((failures > 0))
