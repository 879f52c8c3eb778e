#!/usr/bin/env bash
# Proves that the check of the binary interface can fail: a small library takes the place of ours,
# and one change at a time is made to it.
#   abi_self_test.sh CHECK_ABI
set -euo pipefail
check_abi=$1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/include"
header=$work/include/Counter.h

write_original() {
    cat >"$header" <<'END'
class Counter
{
public:
    explicit Counter(int start);
    virtual ~Counter();
    virtual int Next(int step);
    virtual void Reset();
    static int Largest();

private:
    int value_;
};

struct Reading {
    int value;
    long when;
};
END
    cat >"$work/Counter.cpp" <<'END'
#include "Counter.h"
Counter::Counter(int start) : value_(start) {}
Counter::~Counter() = default;
int Counter::Next(int step) { return value_ += step; }
void Counter::Reset() { value_ = 0; }
int Counter::Largest() { return 9; }
END
}

build() {
    g++ -g -shared -fPIC -I"$work/include" "$work/Counter.cpp" -o "$work/libcounter.so"
}

check() {
    "$check_abi" "$work/libcounter.so" "$work/baseline.abi.xz" "$work/include" >"$work/log" 2>&1
}

# expect pass|fail NAME SED_SCRIPT: makes the change in the header and the source.
expect() {
    local wanted=$1 name=$2 change=$3 got=pass
    write_original
    cp "$header" "$work/before"
    sed -E -i "$change" "$header" "$work/Counter.cpp"
    ! cmp -s "$header" "$work/before" || [[ $name == unchanged ]] || {
        echo "$name: nothing was changed" >&2
        exit 1
    }
    build
    check || got=fail
    [[ $got == "$wanted" ]] || {
        cat "$work/log"
        echo "$name: expected to $wanted" >&2
        exit 1
    }
    echo "$name: ${got}es" | sed 's/failes/fails/; s/passes/passes/'
}

write_original
build
"$check_abi" --store "$work/libcounter.so" "$work/baseline.abi.xz" "$work/include" >/dev/null

expect pass "unchanged" ""
expect pass "a function is added" \
    's/^(    static int )Largest\(\);/&\n\1Smallest();/; s/^int Counter::Largest.*/&\nint Counter::Smallest() { return 1; }/'
expect fail "a function is removed" '/Largest/d'
expect fail "a parameter's type changes" 's/(Next\()int step/\1long step/; s/value_ \+= step/value_ += int(step)/'
expect fail "a result's type changes" 's/int (Counter::)?Largest/long \1Largest/'
expect fail "an object grows" 's/    int value_;/&\n    int last_ = 0;/'
expect fail "a virtual function is inserted" \
    's/    virtual int Next.*/    virtual void Step() {}\n&/'
expect fail "virtual functions change places" \
    's/    virtual int Next\(int step\);/    virtual void Reset();\n&/; /^    virtual void Reset\(\);$/{N;/static/s/^[^\n]*\n//}'
expect fail "a record that no function takes grows" 's/^    long when;/&\n    int unit;/'
expect fail "a record's members change places" \
    '/^    int value;$/d; s/^    long when;/&\n    int value;/'
