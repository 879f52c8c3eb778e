#!/usr/bin/env bash
# The static checks: clang-tidy and cppcheck look at the library, clang-format at all C++ files, and
# all scripts go through shellcheck. Prints what they find, and fails if it is anything.
#   scripts/check-static.sh BUILD_DIR    BUILD_DIR: configured with clang++, for its flags
set -euo pipefail
build=$(cd "${1:?BUILD_DIR is missing}" && pwd)
cd "$(dirname "$0")/.."
failures=0

# check NAME COMMAND...
check() {
    local name=$1
    shift
    if "$@" >"$build/$name.log" 2>&1; then
        echo "$name: clean"
    else
        cat "$build/$name.log"
        echo "$name: see above"
        failures=$((failures + 1))
    fi
}

# shellcheck disable=SC2317 # called through check
run_tidy() {
    find src -name '*.cpp' -print0 |
        xargs -0 -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet
}

# shellcheck disable=SC2317 # called through check
run_format() {
    git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
}

# shellcheck disable=SC2317 # called through check
run_shellcheck() {
    git grep -lzE '^#!.*\b(bash|sh)$' -- ':!*.md' | xargs -0 shellcheck -x
}

check clang-tidy run_tidy
# Parameters by value are a contract with programs that exist.
check cppcheck cppcheck --std=c++17 --language=c++ --enable=warning,performance,portability \
    --suppress=passedByValue --inline-suppr --error-exitcode=1 --quiet -j "$(nproc)" \
    -I include -I src src
check clang-format run_format
check shellcheck run_shellcheck
exit $((failures > 0))
