#!/usr/bin/env bash
# Compiles every public header alone, and twice in a row, in C++11 to C++23 with g++, clang and
# a newer clang, free of warnings.
#   scripts/check-headers.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/..}/include"

check() {
    local compiler=$1 standard=$2 header=$3
    local flags=(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Werror)
    printf '#include "%s"\n#include "%s"\n' "$header" "$header" |
        $compiler -x c++ "-std=$standard" "${flags[@]}" -fsyntax-only -I. - ||
        { echo "$header fails with $compiler in $standard" >&2; return 1; }
}
export -f check

headers=(*.h)
for header in "${headers[@]}"; do
    for standard in c++11 c++14 c++17 c++20 c++2b; do
        for compiler in g++ clang++ clang++-16; do
            printf '%s %s %s\n' "$compiler" "$standard" "$header"
        done
    done
done | xargs -P "$(nproc)" -L 1 bash -c 'check "$@"' check
echo "${#headers[@]} headers, 5 standards, 3 compilers: clean"
