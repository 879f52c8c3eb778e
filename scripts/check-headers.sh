#!/usr/bin/env bash
# Compiles the public headers, free of warnings: each alone and twice in a row by g++ in the oldest
# and the newest standard, all together by every g++ and clang++ of the machine in each standard from
# C++11 to C++23.
#   scripts/check-headers.sh [SOURCE_DIR]
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
require g++ clang++
cd "${1:-$(dirname "$0")/..}/include"

compile() {
    local compiler=$1 standard=$2
    shift 2
    printf '#include "%s"\n' "$@" "$@" |
        $compiler -x c++ "-std=$standard" -Wall -Wextra -Wpedantic -Wshadow -Wconversion \
            -Wnon-virtual-dtor -Werror -fsyntax-only -I. - ||
        { echo "$* fails with $compiler in $standard" >&2; return 1; }
}
export -f compile

headers=(*.h)
{
    for header in "${headers[@]}"; do
        printf 'g++ %s %s\n' c++11 "$header" c++2b "$header"
    done
    for compiler in $(compilers); do
        for standard in c++11 c++14 c++17 c++20 c++2b; do
            echo "$compiler $standard ${headers[*]}"
        done
    done
} | xargs -P "$(nproc)" -L 1 bash -c 'compile "$@"' compile
echo "${#headers[@]} headers: clean"
