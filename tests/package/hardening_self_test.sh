#!/usr/bin/env bash
# Proves that the check of hardening can fail: a small library and a small program that have all of
# it are built again without one thing at a time.
#   hardening_self_test.sh CHECK_HARDENING
set -euo pipefail
check_hardening=$1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The copy can overrun its room, as the compiler sees: it is fortified, and has a protected stack.
cat >"$work/sample.cpp" <<'END'
#include <cstring>

int Sample(const char* text)
{
    char room[16];
    std::strcpy(room, text);
    return room[3];
}
int main(int, char** arguments)
{
    return Sample(arguments[0]);
}
END
cat >"$work/text_relocation.cpp" <<'END'
asm(".pushsection .text\n.quad main\n.popsection");
END

cat >"$work/written_code.cpp" <<'END'
asm(".pushsection .written_code, \"awx\"\n.quad 0\n.popsection");
END

# build FLAG...
build() {
    g++ -O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong \
        -Wl,-z,relro,-z,now,-z,noexecstack,-z,separate-code "$work/sample.cpp" "$@" \
        -o "$work/built" 2>"$work/log" || { cat "$work/log"; exit 1; }
}

# expect TEXT FLAG...: with the flags behind the good ones the check tells the text, and fails.
expect() {
    local text=$1
    shift
    build "$@"
    if "$check_hardening" "$work/built" >"$work/log" || ! grep -qF -- "$text" "$work/log"; then
        cat "$work/log"
        echo "$*: expected to lack: $text" >&2
        exit 1
    fi
    echo "found: $text"
}

library=(-fPIC -shared)
program=(-fPIE -pie)
if [[ $(uname -m) == x86_64 ]]; then
    library+=(-fcf-protection)
    program+=(-fcf-protection)
    expect "jumps may lead anywhere" "${library[@]}" -fcf-protection=none
fi
for kind in library program; do
    declare -n flags=$kind
    build "${flags[@]}"
    "$check_hardening" "$work/built"
    expect "relocations stay writable" "${flags[@]}" -Wl,-z,norelro
    expect "is not bound at the start" "${flags[@]}" -Wl,-z,lazy
    expect "has an executable stack" "${flags[@]}" -Wl,-z,execstack
    expect "executes more than code" "${flags[@]}" -Wl,-z,noseparate-code
    expect "has no stack protector" "${flags[@]}" -fno-stack-protector
done
expect "has text relocations" "${library[@]}" "$work/text_relocation.cpp" -Wl,-z,notext
expect "both written and executed" "${library[@]}" "$work/written_code.cpp"
expect "has no fortified calls" "${library[@]}" -U_FORTIFY_SOURCE
expect "has a search path" "${library[@]}" -Wl,-rpath,/usr/lib/elsewhere
expect "lies at a fixed address" -fcf-protection -no-pie
