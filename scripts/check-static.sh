#!/usr/bin/env bash
# The static checks. Prints what they find, and fails if it is anything. A check is skipped (status 77)
# where its tool is of another version than the check was written for; with QOR_ANY_VERSION=yes it runs.
#   scripts/check-static.sh SOURCE_DIR [CHECK...]    CHECK: all of them unless named
#     format      clang-format: every C++ file is laid out as .clang-format says
#     shell       shellcheck: every script
#     cppcheck    src/ and include/
#     tidy        clang-tidy: src/ and include/, what .clang-tidy switches on
#     analyzer    g++ -fanalyzer: who frees and closes what the C library's calls give
set -euo pipefail
# shellcheck source=require.sh source-path=SCRIPTDIR
source "$(dirname "$0")/require.sh"
config=$(realpath "$(dirname "$0")/../.clang-tidy")
cd "${1:?SOURCE_DIR is missing}"
shift
[[ $# -gt 0 ]] || set -- format shell cppcheck tidy analyzer
jobs=$(nproc)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The library's sources that hold the pattern, with a NUL after each.
sources() { { grep -rlZE "$1" src --include='*.cpp' || true; } | sort -z; }

# for_each COMMAND...: {} is a source; the compiler's flags follow.
for_each() {
    local flags
    read -ra flags < <(pkg-config --cflags-only-I libxml-2.0 | sed 's/-I/-isystem /g')
    flags+=(-std=c++17 -Iinclude -Isrc)
    # shellcheck disable=SC2016 # the inner shell's
    xargs -0 -r -P "$jobs" -I{} "$@" "${flags[@]}"
}

check_format() {
    find . -path './build*' -prune -o \( -name '*.cpp' -o -name '*.h' \) -print0 |
        xargs -0 clang-format --dry-run --Werror
}

check_shell() {
    grep -rlIZE '^#!.*\b(bash|sh)$|^# shellcheck shell' . --exclude-dir={'build*',.git} --exclude='*.md' |
        xargs -0 shellcheck -x
}

# Parameters by value are a contract with programs that exist.
check_cppcheck() {
    cppcheck --std=c++17 --language=c++ --enable=warning,performance,portability \
        --suppress=passedByValue --inline-suppr --error-exitcode=1 --quiet -j "$jobs" \
        -I include -I src src
}

# Each folder as one source: nearly all of the time goes to the headers of the system.
check_tidy() {
    local folder
    while read -r folder; do
        printf "#include \"$PWD/%s\"  // NOLINT(bugprone-suspicious-include)\n" "$folder"/*.cpp \
            >"$work/${folder//\//_}.cpp"
    done < <(find src -name '*.cpp' -printf '%h\n' | sort -u)
    find "$work" -name '*.cpp' -print0 |
        for_each clang-tidy --quiet "--config-file=$config" {} --
}

# Where sources call the C library's allocator and streams; of C++ objects g++ 12 understands too
# little. For the same reason it is not asked for
#   use-of-uninitialized-value   it loses sight of what a function returns in its caller's memory,
#                                as each std::string is, and reports every use of it
#   malloc-leak, file-leak       it does not follow an owner's destructor, and all streams of ours
#                                have owners; sanitizers and the proof of leaks look for leaks
# Without optimisation: with it, possible failures of operator new are null pointers.
check_analyzer() {
    sources '\b(malloc|calloc|realloc|free|strn?dup|fopen|fdopen|fclose|popen|pclose)\(' |
        for_each g++ -O0 -fanalyzer -Wno-analyzer-use-of-uninitialized-value \
            -Wno-analyzer-malloc-leak -Wno-analyzer-file-leak -Werror -S -o /dev/null {}
}

# use TOOL VERSION
use() {
    if [[ ${QOR_ANY_VERSION:-} == yes ]]; then require "$1"; else require_version "$@"; fi
}

run() {
    case $1 in
    format) use clang-format 14 && check_format ;;
    shell) use shellcheck 0.9 && check_shell ;;
    cppcheck) use cppcheck 2.10 && check_cppcheck ;;
    tidy) use clang-tidy 14 && require pkg-config && check_tidy ;;
    analyzer) use g++ 12 && require pkg-config && check_analyzer ;;
    *) echo "there is no such check" && return 2 ;;
    esac
}

failures=0
for check in "$@"; do
    status=0
    output=$(run "$check" 2>&1) || status=$?
    [[ $status -ne 77 ]] || { echo "$output" >&2; exit 77; }
    if [[ $status -eq 0 ]]; then
        echo "$check: clean"
    else
        printf '%s\n%s: see above\n' "$output" "$check"
        failures=$((failures + 1))
    fi
done
exit $((failures > 0))
