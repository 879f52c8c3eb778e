#!/usr/bin/env bash
# Proves that each static check can fail: a small tree that all of them find clean gets one fault at
# a time.
#   static_self_test.sh SOURCE_DIR
set -euo pipefail
source_dir=$1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/src" "$work/include" "$work/scripts"
cp "$source_dir/.clang-format" "$source_dir/.clang-tidy" "$work"

# Its script; $1: the last line.
write_script() {
    printf '#!/bin/sh\n%s\n' "$1" >"$work/scripts/sample.sh"
}

# The tree; $1: the body of its function.
write_tree() {
    cat >"$work/src/sample.cpp" <<END
#include <pthread.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

int Sample(const char* text, int number)
{
$1
}
END
    write_script 'exit 0'
}

# expect pass|fail CHECK WHAT TEXT: the outcome, and what a failure tells.
expect() {
    local wanted=$1 check=$2 what=$3 text=$4 got=pass
    "$source_dir/scripts/check-static.sh" "$work" "$check" >"$work/log" 2>&1 || got=fail
    if [[ $got != "$wanted" ]] || ! grep -qF -- "$text" "$work/log"; then
        cat "$work/log"
        echo "$check, $what: expected to $wanted with \"$text\"" >&2
        exit 1
    fi
    echo "$check, $what: $got"
}

# fault CHECK TEXT LINE...: the body's lines, without their blanks.
fault() {
    local check=$1 text=$2
    shift 2
    write_tree "$(printf '    %s\n' "$@")"
    expect fail "$check" "$text" "$text"
}

write_tree '    return text == nullptr ? number : 1;'
for check in format shell cppcheck analyzer tidy; do
    expect pass "$check" "no fault" "$check: clean"
done
expect fail sorcery "unknown" "there is no such check"

write_script 'cd /nowhere'
expect fail shell "a cd that may fail" "SC2164"

fault format "clang-format-violations" ' return text == nullptr ? number : 1;'

fault cppcheck "arrayIndexOutOfBounds" \
    'char room[4] = "";' 'room[4] = text[number];' 'return room[0];'
fault cppcheck "nullPointer" 'const char* end = nullptr;' 'return *end + *text + number;'

fault analyzer "=analyzer-double-free" \
    'void* p = std::malloc(4);' 'std::free(p);' 'std::free(p);' 'return *text + number;'
fault analyzer "=analyzer-double-fclose" \
    'std::FILE* f = std::fopen(text, "re");' 'if (f == nullptr)' '    return number;' \
    '(void)std::fclose(f);' 'return std::fclose(f);'
fault analyzer "=analyzer-use-after-free" \
    'char* p = static_cast<char*>(std::malloc(4));' 'std::free(p);' 'return *text + number + *p;'
fault analyzer "=analyzer-possible-null-dereference" \
    'char* p = static_cast<char*>(std::malloc(4));' 'p[0] = *text;' 'number += p[0];' \
    'std::free(p);' 'return number;'
fault analyzer "=analyzer-possible-null-argument" \
    'char* p = static_cast<char*>(std::malloc(4000));' 'std::memset(p, *text, 4000);' 'number += p[0];' \
    'std::free(p);' 'return number;'
fault analyzer "=analyzer-mismatching-deallocation" \
    'char* p = new char[4];' 'p[0] = *text;' 'number += p[0];' 'std::free(p);' 'return number;'
fault analyzer "=analyzer-null-dereference" \
    'int* p = nullptr;' 'if (number > 3)' '    p = &number;' 'return *text + *p;'
fault analyzer "=analyzer-free-of-non-heap" 'std::free(&number);' 'return *text;'

fault tidy "bugprone-string-integer-assignment" \
    'std::string s(text);' 's = number;' 'return static_cast<int>(s.size());'
fault tidy "cert-err34-c" 'return std::atoi(text) + number;'
fault tidy "performance-for-range-copy" \
    'const std::string all[] = {text, "b"};' 'for (const std::string s : all)' \
    '    number += s[0];' 'return number;'
fault tidy "concurrency-thread-canceltype-asynchronous" \
    'return ::pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, &number) + *text;'
