#!/usr/bin/env bash
# Reads from finished libraries and programs that they are hardened, and says what one lacks.
#   scripts/check-hardening.sh FILE...
# Each file: full RELRO (all relocations are done at the start, and read-only from then on), no
# memory that is both written and executed, nothing but code in what is executed, stack protector,
# no text relocations. A program: position-independent. A library: fortified calls, no search path
# of its own; on x86-64 its functions begin with endbr64.
set -euo pipefail
[[ $# -gt 0 ]] || { echo "usage: scripts/check-hardening.sh FILE..." >&2; exit 2; }
for tool in readelf objdump; do
    command -v "$tool" >/dev/null || { echo "$tool is missing: install binutils" >&2; exit 2; }
done
export LC_ALL=C

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

# lacks WHAT
lacks() {
    echo "$file: $1"
    failures=$((failures + 1))
}

segments() { awk -v type="$1" '$1 == type' "$work/segments"; }
imports() { grep -qE " UND $1(@|\$)" "$work/symbols"; }
dynamic() { grep -qE "$1" "$work/dynamic"; }

check_every_file() {
    [[ -n $(segments GNU_RELRO) ]] || lacks "relocations stay writable (-z relro)"
    dynamic '\((FLAGS|FLAGS_1|BIND_NOW)\).*NOW' || lacks "is not bound at the start (-z now)"
    [[ -n $(segments GNU_STACK) && $(segments GNU_STACK) != *E* ]] ||
        lacks "has an executable stack (-z noexecstack)"
    ! dynamic '\(TEXTREL\)|\(FLAGS\).*TEXTREL' || lacks "has text relocations (-fPIC)"
    ! segments LOAD | grep -qE ' RWE ' || lacks "has memory that is both written and executed"
    # The first segment begins with the file's headers.
    ! segments LOAD | head -n 1 | grep -qE ' R E ' ||
        lacks "executes more than code (-z separate-code)"
    imports __stack_chk_fail || lacks "has no stack protector (-fstack-protector-strong)"
}

# Exported functions that do not begin with endbr64, by their addresses.
unmarked_functions() {
    objdump --disassemble "$file" | awk '/endbr64/ { sub(":", "", $1); print $1 }' |
        sort -u >"$work/landings"
    awk '$4 == "FUNC" && $7 != "UND" { sub("^0*", "", $2); print $2 }' "$work/symbols" |
        sort -u | comm -23 - "$work/landings"
}

check_library() {
    imports '__[a-z]+_chk' || lacks "has no fortified calls (-D_FORTIFY_SOURCE=2)"
    ! dynamic '\((RPATH|RUNPATH)\)' || lacks "has a search path of its own"
    if grep -q 'Machine: *Advanced Micro Devices X86-64' "$work/header"; then
        [[ -z $(unmarked_functions) ]] || lacks "jumps may lead anywhere (-fcf-protection)"
    fi
}

check_file() {
    readelf --wide --file-header "$file" >"$work/header"
    readelf --wide --segments "$file" >"$work/segments"
    readelf --wide --dynamic "$file" >"$work/dynamic"
    readelf --wide --dyn-syms "$file" >"$work/symbols"
    check_every_file
    if [[ -n $(segments INTERP) ]]; then
        grep -qE 'Type: *DYN' "$work/header" || lacks "lies at a fixed address (-pie)"
    else
        check_library
    fi
}

for file in "$@"; do
    before=$failures
    check_file
    ((failures > before)) || echo "$file: hardened"
done
exit $((failures > 0))
